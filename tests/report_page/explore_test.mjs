// Tests of the page that `kiln-prefab explore` serves, in headless Chromium. The environment is that of page_test.mjs.

import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { once } from "node:events";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { createInterface } from "node:readline";
import { after, before, describe, it } from "node:test";
import { writePrefab } from "./prefab_files.mjs";
import { requirePackage } from "./tool.mjs";

const { chromium } = requirePackage("playwright-core");

const WAIT = 60_000; // Only a failing test waits that long.
const folder = mkdtempSync(join(tmpdir(), "kiln_explore_page_"));
let browser;
let program;
let page;
const problems = [];

const LAMP = [
  { number: 1, name: "Lamp" },
  { number: 2, name: "Post", parent: 1, x: 1 },
];

const row = (name) => page.getByRole("treeitem").filter({ has: page.getByText(name, { exact: true }) });
const chosen = () => page.getByRole("complementary", { name: "Chosen object" });
const tab = (name) => page.getByRole("tab", { name });

describe("the served page", () => {
  before(async () => {
    writePrefab(folder, "lamp.prefab", LAMP);
    program = spawn(process.env.KILN_PREFAB, ["explore", "--spawn", "lamp.prefab", "lamp.prefab"], { cwd: folder });
    const [address] = await once(createInterface({ input: program.stdout }), "line");
    browser = await chromium.launch({ executablePath: process.env.KILN_CHROMIUM, args: ["--no-sandbox"] });
    page = await browser.newPage();
    page.setDefaultTimeout(WAIT);
    page.on("console", (message) => {
      if (message.type() === "error" || message.type() === "warning") {
        problems.push(message.text());
      }
    });
    page.on("pageerror", (error) => problems.push(error.message));
    page.on("request", (request) => {
      if (!request.url().startsWith(new URL(address).origin + "/") && !request.url().startsWith("data:")) {
        problems.push(`request: ${request.url()}`);
      }
    });
    await page.goto(address);
    await page.getByRole("tree").waitFor();
  });

  after(async () => {
    await browser?.close();
    if (program && program.exitCode === null) {
      program.kill("SIGINT");
      await once(program, "exit");
    }
    rmSync(folder, { recursive: true });
  });

  it("shows changes and keeps the selection", async () => {
    await row("Post").click();
    await chosen().getByRole("heading", { name: "Post" }).waitFor();
    writePrefab(folder, "lamp.prefab", [...LAMP, { number: 3, name: "Bulb", parent: 1 }, { number: 4, name: "Odd", parent: 99 }]);
    await row("Bulb").waitFor();
    await tab(/^Findings \([1-9]/).waitFor();
    await chosen().getByRole("heading", { name: "Post" }).waitFor();
    assert.equal(await row("Post").getAttribute("aria-selected"), "true");
  });

  it("shows live objects and pools, again after a change", async () => {
    await tab("Live").click();
    await page.getByText("lamp.prefab: active").waitFor();
    await page.getByText("3 of 256").waitFor();
    writePrefab(folder, "lamp.prefab", LAMP);
    await page.getByRole("heading", { name: "2 objects" }).waitFor();
  });

  it("says so when a file is broken, and recovers", async () => {
    writeFileSync(join(folder, "lamp.prefab"), "<prefab>");
    await tab(/^Findings \([1-9]/).waitFor();
    writePrefab(folder, "lamp.prefab", LAMP);
    await tab("Findings (0)").waitFor();
    await tab("Objects").click();
    await row("Lamp").waitFor();
  });

  it("needs nothing from elsewhere and has no error", () => {
    assert.deepEqual(problems, []);
  });
});
