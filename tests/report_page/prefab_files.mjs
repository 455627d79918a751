// Writes prefab files for the tests of the page.

import { mkdirSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";

/** The UUID with that number. */
export function id(number) {
  return "00000000-0000-4000-8000-" + number.toString(16).padStart(12, "0");
}

export function escaped(text) {
  return text.replaceAll("&", "&amp;").replaceAll("<", "&lt;").replaceAll(">", "&gt;");
}

const TRANSFORM = (x) => `<local>1 0 0 0 0 1 0 0 0 0 1 0 ${x} 0 0 1</local>`;

/**
 * The text of a prefab: `objects` have a number, a name, the number or UUID of the parent (none for the root), and
 * optionally `nests` with the path of a prefab, `overrides` with override data, `x` with a position.
 */
export function prefabText(objects) {
  const lines = ['<?xml version="1.0" encoding="utf-8"?>', "<prefab>", "<formatVersion>1</formatVersion>", "<gameObjects>"];
  for (const { number, name } of objects) {
    lines.push(`<gameObject><uuid>${id(number)}</uuid><name>${escaped(name)}</name><flags>0</flags></gameObject>`);
  }
  lines.push("</gameObjects>", "<components>");
  const pool = (type, items) => {
    lines.push(`<pool><type>${type}</type><version>1</version>`);
    for (const [index, properties] of items) {
      lines.push(`<item><gameObject>${index}</gameObject><properties>${properties}</properties></item>`);
    }
    lines.push("</pool>");
  };
  const indexed = objects.map((object, index) => ({ ...object, index }));
  pool("HierarchyComponent", indexed.filter(({ parent, parentUuid }) => parent !== undefined || parentUuid)
    .map(({ index, parent, parentUuid }) => [index, `<parent>${parentUuid ?? id(parent)}</parent>`]));
  pool("TransformComponent", indexed.filter(({ x }) => x !== undefined).map(({ index, x }) => [index, TRANSFORM(x)]));
  pool("PrefabComponent", indexed.filter(({ nests }) => nests !== undefined).map(({ index, nests, overrides }) =>
    [index, `<resource>${escaped(nests)}</resource><overridesData>${escaped(overrides ?? "")}</overridesData>`]));
  lines.push("</components>", "</prefab>", "");
  return lines.join("\n");
}

/** Override data that sets the position of an object. */
export function positionOverride(number, x) {
  return `<overrides><gameObject><uuid>${id(number)}</uuid><component><type>TransformComponent</type>` +
    `<properties>${TRANSFORM(x)}</properties></component></gameObject></overrides>`;
}

export function writePrefab(folder, path, objects) {
  const name = join(folder, path);
  mkdirSync(dirname(name), { recursive: true });
  writeFileSync(name, prefabText(objects));
}

/** `count` small prefabs in layers; each nests two of the next layer. */
export function writeManyFiles(folder, count) {
  const layers = 8;
  const perLayer = Math.ceil(count / layers);
  for (let file = 0; file < count; ++file) {
    const layer = Math.floor(file / perLayer);
    const objects = [{ number: 1, name: `Root of ${file}` }, { number: 2, name: "Part", parent: 1, x: file }];
    for (const offset of [0, 7]) {
      const nested = (layer + 1) * perLayer + ((file + offset) % perLayer);
      if (nested < count) {
        objects.push({ number: 10 + offset, name: `Nested ${offset}`, parent: 1, nests: `file${nested}.prefab` });
      }
    }
    writePrefab(folder, `file${file}.prefab`, objects);
  }
}

/** One prefab with `count` objects, ten below each. */
export function writeLargeFile(folder, path, count) {
  const objects = [{ number: 1, name: "Root" }];
  for (let i = 1; i < count; ++i) {
    objects.push({ number: i + 1, name: `Object ${i}`, parent: Math.floor((i - 1) / 10) + 1, x: i });
  }
  writePrefab(folder, path, objects);
}
