// Tests of the data of the page and of the module that unfolds it, without a browser: what the page shows of an
// instance must be what `kiln-prefab dump --composed` prints.

import assert from "node:assert/strict";
import { mkdtempSync, rmSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, describe, it } from "node:test";
import { id, positionOverride, writePrefab } from "./prefab_files.mjs";
import { dataOf, dump, HARBOUR, report, requirePackage, run } from "./tool.mjs";

const folder = mkdtempSync(join(tmpdir(), "kiln_report_model_"));
let Model;
let uuid;

async function load(entry) {
  const { outputFiles } = await requirePackage("esbuild").build({
    entryPoints: [join(process.env.KILN_PAGE_SOURCES, entry)], bundle: true, write: false, format: "esm",
  });
  return import("data:text/javascript;base64," + Buffer.from(outputFiles[0].text).toString("base64"));
}

before(async () => {
  ({ Model } = await load("model.ts"));
  uuid = await load("uuid.ts");
});

after(() => rmSync(folder, { recursive: true, force: true }));

/** All objects of an instance in the order of the tree. */
function objectsOf(model, file) {
  const objects = [];
  const visit = (nodes, parent) => {
    for (const node of nodes) {
      objects.push({ node, parent });
      visit(model.children(node), node);
    }
  };
  visit(model.tops(file), null);
  return objects;
}

function propertyOf(value) {
  if (value.kind === "vector") {
    return (value.children ?? []).map(propertyOf);
  }
  return value.kind === "structure"
    ? Object.fromEntries((value.children ?? []).map((child) => [child.name, propertyOf(child)]))
    : value.text;
}

/** Vectors and structures that only have their default are known by name alone. */
function withoutDefaults(component) {
  return Object.fromEntries(component.values
    .filter(({ layers }) => layers.some(({ kind, effect }) => kind !== "default" && effect === "wins"))
    .map((value) => [value.name, propertyOf(value)]));
}

function expectSameAsDump(model, path, dumped) {
  const shown = new Map(objectsOf(model, model.findFile(path)).map((object) =>
    [uuid.uuidText(model.liveUuid(object.node)), object]));
  assert.deepEqual([...shown.keys()].sort(), dumped.map((object) => object.uuid).sort());
  for (const expected of dumped) {
    const { node, parent } = shown.get(expected.uuid);
    assert.equal(model.name(node), expected.name);
    assert.equal(uuid.uuidText(model.fileUuid(node)), expected.fileUuid, expected.name);
    assert.equal(parent ? uuid.uuidText(model.liveUuid(parent)) : null,
      expected.parent === null ? null : dumped[expected.parent].uuid, expected.name);
    assert.equal(model.nestedFile(node) < 0 ? null : model.path(model.nestedFile(node)), expected.nested);
    const components = model.components(node);
    assert.deepEqual(components.map(({ name }) => name), expected.components.map(({ type }) => type), expected.name);
    components.forEach((component, i) => {
      const properties = withoutDefaults(component);
      for (const [name, value] of Object.entries(properties)) {
        assert.deepEqual(value, expected.components[i].properties[name], `${expected.name} ${component.name}.${name}`);
      }
      assert.equal(component.line, expected.components[i].line ?? 0, `${expected.name} ${component.name}`);
      assert.equal(component.file < 0 ? null : model.path(component.file), expected.components[i].file);
    });
  }
  return dumped.length;
}

describe("the objects of the harbour", () => {
  it("are those of its instance, with the same parents, UUIDs, components and values", () => {
    const model = new Model(dataOf(report(folder, "harbour", ["harbour"], HARBOUR)));
    for (const path of ["harbour/harbour.prefab", "harbour/quay.prefab", "harbour/ships/freighter.prefab"]) {
      const dumped = dump(folder, path, HARBOUR);
      const count = expectSameAsDump(model, path, dumped);
      const file = model.findFile(path);
      assert.equal(model.data.files.objects[file], count);
      assert.equal(model.data.files.components[file], dumped.reduce((sum, { components }) => sum + components.length, 0));
      assert.equal(model.data.files.instances[file], dumped.filter(({ nested }) => nested !== null).length);
    }
  });

  it("have the layers that explain shows", () => {
    const model = new Model(dataOf(report(folder, "layers", ["harbour"], HARBOUR)));
    const file = model.findFile("harbour/harbour.prefab");
    let compared = 0;
    for (const { node } of objectsOf(model, file)) {
      const components = model.components(node).filter(({ values }) =>
        values.some(({ layers }) => layers.some(({ kind }) => kind === "override")));
      for (const component of components) {
        const explained = JSON.parse(run(folder, ["explain", "--quiet", "--format", "json", ...HARBOUR,
          "harbour/harbour.prefab", uuid.uuidText(model.liveUuid(node)), component.name]));
        for (const value of component.values.filter(({ kind }) => kind === "scalar" || kind === "link")) {
          const expected = explained.values.find(({ property, path, name }) => (property ?? path ?? name) === value.name);
          assert.ok(expected, `${value.name}: ${JSON.stringify(explained.values[0])}`);
          assert.deepEqual(value.layers.map(({ kind, effect, text }) => [kind, effect, text]),
            expected.layers.map(({ kind, effect, text }) => [kind, effect, text]));
          ++compared;
        }
      }
    }
    assert.ok(compared > 5, String(compared));
  });
});

describe("nesting", () => {
  const model = (name, paths = ["."]) => new Model(dataOf(report(folder, name, paths, ["--root", join(folder, name)])));

  it("overrides of overrides, and parents inside of nested prefabs, are as in an instance", () => {
    const root = join(folder, "deep");
    writePrefab(root, "lamp.prefab", [{ number: 1, name: "Lamp" }, { number: 2, name: "Bulb", parent: 1, x: 1 }]);
    writePrefab(root, "quay.prefab", [
      { number: 1, name: "Quay" },
      { number: 2, name: "Lamp A", parent: 1, nests: "lamp.prefab", overrides: positionOverride(2, 5) },
      { number: 3, name: "Lamp B", parent: 1, nests: "lamp.prefab" },
    ]);
    const inner = `<overrides><gameObject><uuid>${id(3)}</uuid><component><type>PrefabComponent</type><properties><overridesData>` +
      positionOverride(2, 9).replaceAll("<", "&lt;").replaceAll(">", "&gt;") +
      "</overridesData></properties></component></gameObject></overrides>";
    writePrefab(root, "town.prefab", [
      { number: 1, name: "Town" },
      { number: 2, name: "Quay 1", parent: 1, nests: "quay.prefab", overrides: inner },
      { number: 3, name: "Quay 2", parent: 1, nests: "quay.prefab" },
    ]);
    for (const path of ["lamp.prefab", "quay.prefab", "town.prefab"]) {
      expectSameAsDump(model("deep"), path, dump(folder, path, ["--root", root]));
    }
  });

  it("an object below one inside of a nested prefab is shown there", () => {
    const root = join(folder, "below");
    writePrefab(root, "lamp.prefab", [{ number: 1, name: "Lamp" }, { number: 2, name: "Bulb", parent: 1, x: 1 }]);
    const inner = uuid.combine(id(2).replaceAll("-", ""), id(2).replaceAll("-", ""));
    writePrefab(root, "quay.prefab", [
      { number: 1, name: "Quay" },
      { number: 2, name: "Point", parent: 1, nests: "lamp.prefab" },
      { number: 3, name: "Moth", parentUuid: uuid.uuidText(inner) },
    ]);
    const dumped = dump(folder, "quay.prefab", ["--root", root]);
    assert.equal(dumped[dumped.find(({ name }) => name === "Moth").parent].name, "Bulb");
    expectSameAsDump(model("below"), "quay.prefab", dumped);
    const shown = model("below");
    const moth = objectsOf(shown, shown.findFile("quay.prefab")).find(({ node }) => shown.name(node) === "Moth").node;
    assert.deepEqual(shown.pathTo(moth).map((node) => shown.name(node)), ["Quay", "Point", "Bulb", "Moth"]);
  });

  it("a cycle of prefabs ends", () => {
    const root = join(folder, "cycle");
    writePrefab(root, "a.prefab", [{ number: 1, name: "A" }, { number: 2, name: "B", parent: 1, nests: "b.prefab" }]);
    writePrefab(root, "b.prefab", [{ number: 1, name: "B root" }, { number: 2, name: "A", parent: 1, nests: "a.prefab" }]);
    const shown = model("cycle");
    assert.equal(shown.search(0, "b root", "name").matches, 0); // A nested root is merged with its integration point.
    assert.equal(shown.search(0, "B", "name").matches, 1);
    assert.ok(shown.allKeys(0).size < 10);
  });

  it("selected objects are found again in other data by their key", () => {
    const first = model("deep");
    const file = first.findFile("town.prefab");
    for (const { node } of objectsOf(first, file)) {
      const found = model("deep").find(file, first.key(node));
      assert.equal(first.key(found), first.key(node));
    }
  });
});

describe("the combination of UUIDs", () => {
  it("has the documented values", () => {
    const text = (a, b) => uuid.uuidText(uuid.combine(a.replaceAll("-", ""), b.replaceAll("-", "")));
    const zero = "00000000-0000-0000-0000-000000000000";
    assert.equal(text(zero, zero), "01932ff9-c7a2-e016-a5c9-aeb1e259c4a2");
    assert.equal(text("00000000-0000-0000-0000-000000000001", "00000000-0000-0000-0000-000000000002"),
      "40ca53f6-7cb9-e334-6c14-a91fb35746cb");
    assert.equal(text("5b0f1c2e-6a0d-4f43-9f6e-0d9a35b1c001", "9d1c6c0a-55d1-4c1e-8a52-7f3e6b2d9f10"),
      "dc872d15-239f-5321-c888-8740bbfb47f7");
    assert.equal(text("ffffffff-ffff-ffff-ffff-ffffffffffff", "ffffffff-ffff-ffff-ffff-ffffffffffff"),
      "eb58cd69-d6ee-1355-b107-e9ee1f8b0f06");
  });
});
