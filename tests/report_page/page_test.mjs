// Tests of the page in headless Chromium. The environment names what they need:
// KILN_PREFAB (the program), KILN_MODULES (a folder node_modules with playwright-core and axe-core), KILN_CHROMIUM,
// KILN_SAMPLES (the folder of the samples) and KILN_HARBOUR_COMPONENTS (their library).

import assert from "node:assert/strict";
import { mkdtempSync, readFileSync, rmSync, statSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, before, describe, it } from "node:test";
import { pathToFileURL } from "node:url";
import { id, positionOverride, writeLargeFile, writeManyFiles, writePrefab } from "./prefab_files.mjs";
import { dump, HARBOUR, report, requirePackage } from "./tool.mjs";

const { chromium } = requirePackage("playwright-core");
const axeScript = readFileSync(requirePackage.resolve("axe-core/axe.min.js"), "utf8");

const WAIT = 60_000; // Only a failing test waits that long.
const folder = mkdtempSync(join(tmpdir(), "kiln_report_page_"));
let browser;

/** Opens a page and collects what must not happen. */
async function open(file, options = {}) {
  const page = await browser.newPage({ viewport: { width: 1280, height: 800 }, ...options });
  page.setDefaultTimeout(WAIT);
  const problems = [];
  page.on("console", (message) => {
    if (message.type() === "error" || message.type() === "warning") {
      problems.push(`console: ${message.text()}`);
    }
  });
  page.on("pageerror", (error) => problems.push(`error: ${error.message}`));
  page.on("dialog", (dialog) => {
    problems.push(`dialog: ${dialog.message()}`);
    void dialog.dismiss();
  });
  page.on("request", (request) => {
    const url = request.url();
    if (url !== pathToFileURL(file).href && !url.startsWith("data:")) {
      problems.push(`request: ${url}`);
    }
  });
  await page.goto(pathToFileURL(file).href);
  await page.getByRole("tree").waitFor();
  return { page, problems };
}

const tab = (page, name) => page.getByRole("tab", { name: new RegExp(`^${name}`) }).click();
const row = (page, name) => page.getByRole("treeitem").filter({ has: page.getByText(name, { exact: true }) });
const chosen = (page) => page.getByRole("complementary", { name: "Chosen object" });
const choose = (page, path) => page.getByLabel("Prefab", { exact: true }).selectOption({ label: path });

async function expectNoSeriousProblem(page, where) {
  await page.evaluate(axeScript);
  const { violations } = await page.evaluate(() => globalThis.axe.run(document));
  const serious = violations.filter(({ impact }) => impact === "serious" || impact === "critical");
  assert.deepEqual(
    serious.map(({ id: rule, nodes }) => `${where}: ${rule}: ${nodes.slice(0, 3).map((node) => node.html).join(" ")}`),
    [],
  );
}

before(async () => {
  browser = await chromium.launch({ executablePath: process.env.KILN_CHROMIUM, args: ["--no-sandbox"] });
});

after(async () => {
  await browser?.close();
  rmSync(folder, { recursive: true, force: true });
});

describe("the page of the harbour", () => {
  let file;

  before(() => {
    file = report(folder, "harbour", ["harbour"], HARBOUR);
  });

  it("opens from a file address without a console error or a request", async () => {
    const { page, problems } = await open(file);
    for (const name of ["Graph", "Findings", "Prefabs", "About", "Objects"]) {
      await tab(page, name);
    }
    assert.deepEqual(problems, []);
    await page.close();
  });

  it("begins with the prefab that nests the others", async () => {
    const { page } = await open(file);
    assert.equal(await page.getByLabel("Prefab", { exact: true }).locator("option:checked").innerText(),
      "harbour/harbour.prefab");
    assert.equal(await row(page, "Harbour").getAttribute("aria-level"), "1");
    await page.close();
  });

  it("unfolds and folds nested prefabs", async () => {
    const { page } = await open(file);
    await page.getByRole("button", { name: "Fold all", exact: true }).click();
    assert.equal(await page.getByRole("treeitem").count(), 1);
    await row(page, "Harbour").dblclick();
    await row(page, "North quay").dblclick();
    assert.equal(await row(page, "North quay").getAttribute("aria-expanded"), "true");
    await row(page, "North quay").dblclick();
    assert.equal(await row(page, "North quay").getAttribute("aria-expanded"), "false");
    await page.close();
  });

  it("narrows the tree to the objects that a search finds by name, by component and by UUID", async () => {
    const { page } = await open(file);
    const search = page.getByLabel("Search");
    const rows = page.getByRole("treeitem");
    await search.fill("storm warn");
    await page.getByText("1 object found").waitFor();
    assert.deepEqual(await rows.locator(".name").allInnerTexts(), ["Harbour", "Breakwater", "Lighthouse", "Tower", "Gallery", "Signal mast", "Storm warning"]);
    assert.equal(await page.locator(".row.match").count(), 1);
    assert.equal(await page.locator(".row.match .name").innerText(), "Storm warning");

    await page.getByLabel("in", { exact: true }).selectOption("component");
    await search.fill("LampComponent");
    await page.getByText(/^\d+ objects found$/).waitFor();
    assert.ok((await page.locator(".row.match").count()) > 1);

    await page.getByLabel("in", { exact: true }).selectOption("uuid");
    await search.fill("a23cac8b-352d-4282-a70e-88c5a2ef9d95");
    await page.getByText("1 object found").waitFor();
    assert.equal(await page.locator(".row.match .name").innerText(), "Storm warning");
    await page.close();
  });

  it("finds an object of a nested prefab by its live UUID", async () => {
    const { page } = await open(file);
    const nested = dump(folder, "harbour/harbour.prefab", HARBOUR).filter(({ file: path }) => path === "harbour/props/lamp.prefab");
    assert.ok(nested.length > 0);
    await page.getByLabel("Search").fill(nested.at(-1).uuid);
    await page.getByText("1 object found").waitFor();
    await page.locator(".row.match").click();
    await chosen(page).getByText(nested.at(-1).uuid, { exact: true }).waitFor();
    await page.close();
  });

  it("has no serious accessibility problem, light and dark", async () => {
    for (const colorScheme of ["light", "dark"]) {
      const { page } = await open(file, { colorScheme });
      await row(page, "North quay").click();
      for (const name of ["Objects", "Graph", "Findings", "Prefabs", "About"]) {
        await tab(page, name);
        await expectNoSeriousProblem(page, `${name}, ${colorScheme}`);
      }
      await page.close();
    }
  });

  it("is light or dark as the system, until the switch is used", async () => {
    const { page } = await open(file, { colorScheme: "dark" });
    const background = () => page.evaluate(() => getComputedStyle(document.body).backgroundColor);
    const expectBackground = async (wanted) => {
      for (let tries = 0; tries < 100 && (await background()) !== wanted; ++tries) {
        await page.waitForTimeout(20);
      }
      assert.equal(await background(), wanted);
    };
    const DARK = "rgb(20, 23, 27)";
    const LIGHT = "rgb(255, 255, 255)";
    await expectBackground(DARK);
    await page.getByLabel("Colours").selectOption("light");
    await expectBackground(LIGHT);
    await page.getByLabel("Colours").selectOption("dark");
    await expectBackground(DARK);
    await page.emulateMedia({ colorScheme: "light" });
    await expectBackground(DARK);
    await page.getByLabel("Colours").selectOption("auto");
    await expectBackground(LIGHT);
    await page.close();
  });

  it("fits a narrow window without scrolling sideways", async () => {
    const { page } = await open(file, { viewport: { width: 360, height: 720 } });
    for (const name of ["Objects", "Graph", "Findings", "Prefabs", "About"]) {
      await tab(page, name);
      const [scroll, client] = await page.evaluate(() => [document.documentElement.scrollWidth, document.documentElement.clientWidth]);
      assert.ok(scroll <= client, `${name}: ${scroll} > ${client}`);
    }
    await page.close();
  });

  it("draws the neighbourhood of a file, and the whole graph on demand", async () => {
    const { page } = await open(file);
    await tab(page, "Graph");
    await choose(page, "harbour/lighthouse.prefab");
    await page.getByText("harbour/lighthouse.prefab nests").waitFor();
    const near = await page.locator("svg .node").count();
    assert.ok(near >= 2 && near < 10, String(near));
    await page.getByLabel("Whole graph").check();
    await page.waitForFunction(() => document.querySelectorAll("svg .node").length === 10);
    await page.locator("svg .node", { hasText: "crane" }).click();
    assert.equal(await page.getByLabel("Prefab", { exact: true }).locator("option:checked").innerText(), "harbour/crane.prefab");
    await page.close();
  });

  it("zooms and moves the graph", async () => {
    const { page } = await open(file);
    await tab(page, "Graph");
    const transform = () => page.locator("svg > g").getAttribute("transform");
    const first = await transform();
    await page.getByRole("button", { name: "Larger" }).click();
    const zoomed = await transform();
    assert.notEqual(zoomed, first);
    const box = await page.locator("svg").boundingBox();
    await page.mouse.move(box.x + 10, box.y + 10);
    await page.mouse.down();
    await page.mouse.move(box.x + 60, box.y + 40);
    await page.mouse.up();
    const moved = await transform();
    assert.notEqual(moved, zoomed);
    await page.mouse.wheel(0, -200);
    await page.waitForFunction((old) => document.querySelector("svg > g").getAttribute("transform") !== old, moved);
    await page.close();
  });

  it("sorts the numbers of the prefabs and shows the ten heaviest as bars", async () => {
    const { page } = await open(file);
    await tab(page, "Prefabs");
    assert.equal(await page.locator(".bars li").count(), 10);
    const first = page.locator(".rows > .table-row").first();
    assert.match(await first.innerText(), /harbour\/harbour\.prefab/);
    await page.getByRole("button", { name: "Prefab", exact: true }).click();
    await page.waitForFunction(() => document.querySelector(".rows > .table-row").textContent.includes("crane"));
    await page.getByRole("button", { name: "Bytes", exact: true }).click();
    await page.waitForFunction(() => document.querySelector(".rows > .table-row").textContent.includes("harbour.prefab"));
    assert.equal(await page.getByRole("columnheader", { name: "Bytes" }).getAttribute("aria-sort"), "descending");
    await page.close();
  });

  it("names the bundled libraries with their licences", async () => {
    const { page } = await open(file);
    await tab(page, "About");
    for (const library of ["preact", "d3-zoom", "@tanstack/virtual-core"]) {
      assert.ok(await page.locator("summary", { hasText: library }).count(), library);
    }
    await page.locator("summary", { hasText: "preact" }).click();
    await page.locator("details[open] pre", { hasText: "Permission is hereby granted" }).waitFor();
    await page.close();
  });
});

describe("values and findings", () => {
  let file;

  before(() => {
    const root = join(folder, "values");
    writePrefab(root, "lamp.prefab", [
      { number: 1, name: "Lamp" },
      { number: 2, name: "Bulb", parent: 1, x: 5 },
      { number: 3, name: "Cable", parent: 77, x: 1 },
    ]);
    writePrefab(root, "quay.prefab", [
      { number: 1, name: "Quay" },
      { number: 2, name: "Plain lamp", parent: 1, nests: "lamp.prefab" },
      { number: 3, name: "Moved lamp", parent: 1, nests: "lamp.prefab", overrides: positionOverride(2, 8) },
    ]);
    file = report(folder, "values", ["."], ["--root", root]);
  });

  const bulbBelow = async (page, lamp) => {
    await page.getByRole("button", { name: "Unfold all" }).click();
    const rows = await page.getByRole("treeitem").locator(".name").allInnerTexts();
    await page.getByRole("treeitem").nth(rows.indexOf("Bulb", rows.indexOf(lamp))).click();
    await chosen(page).getByRole("heading", { name: "Bulb" }).waitFor();
    return chosen(page).getByRole("row").filter({ hasText: "local" });
  };

  it("a value of a nested file is shown with that file and its line", async () => {
    const { page } = await open(file);
    await choose(page, "quay.prefab");
    const value = await bulbBelow(page, "Plain lamp");
    assert.equal(await value.locator("td.value").innerText(), "1 0 0 0 0 1 0 0 0 0 1 0 5 0 0 1");
    assert.equal(await value.locator("td.layer").innerText(), "lamp.prefab:15");
    await page.close();
  });

  it("an overridden value is shown with the override that set it and the value that it replaces", async () => {
    const { page } = await open(file);
    await choose(page, "quay.prefab");
    const value = await bulbBelow(page, "Moved lamp");
    assert.equal(await value.locator("td.value").innerText(), "1 0 0 0 0 1 0 0 0 0 1 0 8 0 0 1");
    assert.match(await value.locator("td.layer").innerText(), /^override in quay\.prefab:\d+\s+overridden: .* 5 0 0 1 \(lamp\.prefab:15\)$/);
    await page.close();
  });

  it("a finding's link opens its object", async () => {
    const { page } = await open(file);
    await tab(page, "Findings");
    await page.getByLabel("Search").fill("KP0408");
    await page.getByText("1 finding", { exact: true }).waitFor();
    await page.getByRole("listitem").getByRole("button").click();
    await chosen(page).getByRole("heading", { name: "Cable" }).waitFor();
    assert.equal(await page.getByLabel("Prefab", { exact: true }).locator("option:checked").innerText(), "lamp.prefab");
    assert.equal(await row(page, "Cable").getAttribute("aria-selected"), "true");
    await page.close();
  });

  it("the keyboard alone reaches every view, unfolds the tree, chooses an object and walks through the graph", async () => {
    const { page } = await open(file);
    const focused = () => page.evaluate(() => document.activeElement.getAttribute("role") ?? document.activeElement.tagName);
    const tabTo = async (role) => {
      for (let presses = 0; presses < 60; ++presses) {
        await page.keyboard.press("Tab");
        await page.evaluate(() => new Promise((resolve) => requestAnimationFrame(resolve)));
        if ((await focused()) === role) {
          return;
        }
      }
      assert.fail(`Tab does not reach ${role}`);
    };
    await page.keyboard.press("Tab");
    assert.equal(await page.evaluate(() => document.activeElement.textContent.trim()), "Skip to the view");
    await page.keyboard.press("Enter");
    assert.equal(await page.evaluate(() => document.activeElement.id), "view");
    await tabTo("treeitem");
    await page.keyboard.press("ArrowLeft");
    assert.equal(await page.getByRole("treeitem").count(), 1);
    await page.keyboard.press("ArrowRight");
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("ArrowDown");
    await page.keyboard.press("Enter");
    await chosen(page).getByRole("heading", { name: "Bulb" }).waitFor();
    await page.keyboard.press("ArrowLeft");
    await page.keyboard.press("ArrowLeft");
    assert.deepEqual(await page.getByRole("treeitem").locator(".name").allInnerTexts(),
      ["Quay", "Plain lamp", "Moved lamp", "Bulb"]);
    await page.keyboard.press("End");
    await page.keyboard.press("ArrowLeft");
    assert.equal(await page.evaluate(() => document.activeElement.querySelector(".name").textContent), "Moved lamp");

    await page.getByRole("tab", { name: "Objects" }).focus();
    await page.keyboard.press("ArrowRight");
    await page.locator('svg .node[tabindex="0"]').waitFor();
    await tabTo("button");
    while ((await page.evaluate(() => document.activeElement.classList.contains("node"))) === false) {
      await page.keyboard.press("Tab");
    }
    await page.keyboard.press("ArrowRight");
    await page.locator('svg .node:focus[aria-label="lamp.prefab, nests 0, nested by 1"]').waitFor();
    await page.keyboard.press("Enter");
    await page.getByText("lamp.prefab nests 0 prefabs").waitFor();
    for (const [name, title] of [["Findings", "Findings"], ["Prefabs", "Prefabs"], ["About", "About"]]) {
      await page.locator('[role="tab"][aria-selected="true"]').focus();
      await page.keyboard.press("ArrowRight");
      assert.match(await page.locator('[role="tab"][aria-selected="true"]').innerText(), new RegExp(`^${title}`), name);
    }
    await page.close();
  });
});

describe("names that could do harm", () => {
  const NAMES = [
    "</script><script>alert(1)</script>",
    "<!-- <script>",
    "<img src=x onerror=alert(2)>",
    `quotes " ' \` \\ \\u0022`,
    "line\u2028separator\u2029",
    "escape \u009b31m ]0;title",
    "%DATA% $& &lt;&amp;",
    "]]> ${1+1} {{x}}",
    "\u202eright to left",
  ];

  it("are shown as they are", async () => {
    const root = join(folder, "harm");
    writePrefab(root, "a&'b.prefab", [
      { number: 1, name: "Root" },
      ...NAMES.map((name, i) => ({ number: 2 + i, name, parent: 1, x: i })),
      { number: 100, name: "Nested", parent: 1, nests: "</script><b>.prefab" },
    ]);
    const file = report(folder, "harm", ["."], ["--root", root]);
    const { page, problems } = await open(file);
    await choose(page, "a&'b.prefab");
    const shown = await page.getByRole("treeitem").locator(".name").evaluateAll((spans) => spans.map((span) => span.textContent));
    assert.deepEqual(shown, ["Root", ...NAMES, "Nested"]);
    for (const name of ["Graph", "Findings", "Prefabs"]) {
      await tab(page, name);
    }
    assert.deepEqual(problems, []);
    await page.close();
  });
});

// The limits are those of a machine that does nothing else. Without KILN_STRICT_LIMITS, another one may be three times as
// slow, so that the tests only find what is wrong on any machine; they print what they measure.
const SLACK = process.env.KILN_STRICT_LIMITS ? 1 : 3;
const MAX_TIME = 2000 * SLACK; // In ms.
const MIN_FRAMES = 30 / SLACK; // Per second.

describe("large folders", () => {
  it("2 000 files are usable within 2 s, and their whole graph is drawn within 2 s", async () => {
    const root = join(folder, "many");
    writeManyFiles(root, 2000);
    const file = report(folder, "many", ["."], ["--root", root]);
    let usable = Infinity;
    let drawn = Infinity;
    for (let round = 0; round < 4 && (usable > MAX_TIME || drawn > MAX_TIME); ++round) {
      const { page, problems } = await open(file);
      // The time since the navigation began, when an object has been chosen and its values are shown.
      usable = Math.min(usable, await page.evaluate(async () => {
        document.querySelectorAll('[role="treeitem"]')[1].click();
        while (!document.querySelector(".details h2")) {
          await new Promise(requestAnimationFrame);
        }
        return performance.now();
      }));
      await tab(page, "Graph");
      drawn = Math.min(drawn, await page.evaluate(async () => {
        const start = performance.now();
        document.getElementById("whole").click();
        while (document.querySelectorAll("svg .node").length !== 2000) {
          await new Promise(requestAnimationFrame);
        }
        await new Promise(requestAnimationFrame);
        return performance.now() - start;
      }));
      assert.deepEqual(problems, []);
      await page.close();
    }
    console.log(`2 000 files: usable after ${usable.toFixed(0)} ms, whole graph drawn after ${drawn.toFixed(0)} ms`);
    assert.ok(usable <= MAX_TIME, `usable after ${usable} ms`);
    assert.ok(drawn <= MAX_TIME, `drawn after ${drawn} ms`);
  });

  describe("with 50 000 objects", () => {
    let page;

    before(async () => {
      const root = join(folder, "large");
      writeLargeFile(root, "large.prefab", 50_000);
      const file = report(folder, "large", ["."], ["--root", root]);
      console.log(`50 000 objects: the page has ${(statSync(file).size / 1e6).toFixed(1)} MB`);
      ({ page } = await open(file));
      await page.getByRole("button", { name: "Unfold all" }).click();
      await page.getByText("50,000 rows of 50,000 objects").waitFor();
    });

    after(() => page.close());

    it("only the rows that are visible are in the document", async () => {
      const count = await page.getByRole("treeitem").count();
      assert.ok(count > 10 && count < 100, String(count));
    });

    it("the tree scrolls at more than 30 frames a second", async () => {
      const measure = () => page.evaluate(() => new Promise((resolve) => {
        const scroller = document.querySelector(".tree-view .scroller");
        const frames = [];
        const step = (time) => {
          frames.push(time);
          scroller.scrollTop = (frames.length * 1700) % (scroller.scrollHeight - scroller.clientHeight);
          if (frames.length <= 120) {
            requestAnimationFrame(step);
          } else {
            resolve(1000 * (frames.length - 1) / (frames.at(-1) - frames[0]));
          }
        };
        requestAnimationFrame(step);
      }));
      let best = 0;
      for (let round = 0; round < 3 && best <= MIN_FRAMES; ++round) {
        best = Math.max(best, await measure());
      }
      console.log(`50 000 objects: ${best.toFixed(0)} frames a second`);
      assert.ok(best > MIN_FRAMES, `${best} frames a second`);
      assert.ok((await page.getByRole("treeitem").count()) > 10);
    });

    it("a search narrows the tree", async () => {
      await page.getByLabel("Search").fill("object 49999");
      await page.getByText("1 object found").waitFor();
      assert.equal(await page.locator(".row.match .name").innerText(), "Object 49999");
      await page.getByLabel("Search").fill(id(40_001));
      await page.getByText("1 object found").waitFor();
      assert.equal(await page.locator(".row.match .name").innerText(), "Object 40000");
    });
  });
});
