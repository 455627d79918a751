// Makes the pictures of docs/images/ from the harbour sample: node pictures.mjs [BUILD [CHROMIUM [OUTPUT]]]
//
// BUILD is a build folder with kiln-prefab and the components of the harbour. The findings are those of a copy of the
// sample with typical mistakes.

import { execFileSync } from "node:child_process";
import { cpSync, mkdirSync, mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath, pathToFileURL } from "node:url";
import { chromium } from "playwright-core";

const project = resolve(dirname(fileURLToPath(import.meta.url)), "../..");
const build = resolve(process.argv[2] ?? join(project, "build/release"));
const executablePath = process.argv[3] ?? "/usr/bin/chromium";
const output = resolve(process.argv[4] ?? join(project, "docs/images"));
mkdirSync(output, { recursive: true });

const MISTAKES = [
  ["harbour/quay.prefab", "harbour/props/lamp.prefab", "harbour/props/Lamp.prefab"],
  ["harbour/props/lamp.prefab", "<brightness>", "<brightnes>"],
  ["harbour/props/lamp.prefab", "</brightness>", "</brightnes>"],
  ["harbour/props/floodlight.prefab", "<isLit>true", "<isLit>yes"],
  ["harbour/crane.prefab", "<load>18db1094", "<load>ffffffff"],
];

const folder = mkdtempSync(join(tmpdir(), "kiln_pictures_"));

/** Writes a page of the harbour below a root. */
function report(name, root) {
  const page = join(folder, `${name}.html`);
  const library = join(build, "lib/libharbour_components.so");
  execFileSync(join(build, "bin/kiln-prefab"), ["report", "--root", root, "--load", library, "harbour", "-o", page]);
  return page;
}

const samples = join(project, "samples");
const mistaken = join(folder, "samples");
cpSync(join(samples, "harbour"), join(mistaken, "harbour"), { recursive: true });
for (const [file, wanted, written] of MISTAKES) {
  const name = join(mistaken, file);
  const text = readFileSync(name, "utf8");
  if (!text.includes(wanted)) {
    throw new Error(`${file} does not contain ${wanted}`);
  }
  writeFileSync(name, text.replace(wanted, written));
}
const pages = { harbour: report("harbour", samples), mistaken: report("mistaken", mistaken) };

const VIEWS = {
  async tree(shown) {
    await shown.getByLabel("Search").fill("bulb");
    const bulbs = shown.locator(".row.match", { hasText: "Bulb" });
    await bulbs.first().waitFor();
    await bulbs.nth(Math.min(2, (await bulbs.count()) - 1)).click(); // The third one has values that are overridden.
  },
  async graph(shown) {
    await shown.getByRole("tab", { name: "Graph" }).click();
    await shown.getByLabel("Whole graph").check();
  },
  async findings(shown) {
    await shown.getByRole("tab", { name: /^Findings/ }).click();
  },
};

const browser = await chromium.launch({ executablePath, args: ["--no-sandbox", "--font-render-hinting=none"] });
async function picture(name, view, options) {
  const page = view === "findings" ? pages.mistaken : pages.harbour;
  const shown = await browser.newPage(options);
  await shown.goto(pathToFileURL(page).href);
  await shown.getByRole("tree").waitFor();
  await VIEWS[view](shown);
  await shown.mouse.move(0, 0);
  await shown.screenshot({ path: join(output, `report-${name}.png`) });
  await shown.close();
}
for (const view of Object.keys(VIEWS)) {
  for (const colorScheme of ["light", "dark"]) {
    await picture(`${view}-${colorScheme}`, view, { viewport: { width: 1100, height: 640 }, colorScheme });
  }
}
for (const [name, colorScheme] of [["narrow", "light"], ["narrow-dark", "dark"]]) {
  await picture(name, "tree", { viewport: { width: 380, height: 720 }, colorScheme });
}
await browser.close();
rmSync(folder, { recursive: true });
