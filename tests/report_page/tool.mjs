// Runs kiln-prefab and reads what it has written.

import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { createRequire } from "node:module";
import { join } from "node:path";

export const requirePackage = createRequire(join(process.env.KILN_MODULES, "index.js"));

export const HARBOUR = ["--root", process.env.KILN_SAMPLES, "--load", process.env.KILN_HARBOUR_COMPONENTS];

/** The standard output of the program. */
export function run(folder, args) {
  return execFileSync(process.env.KILN_PREFAB, args, { cwd: folder, encoding: "utf8", maxBuffer: 1 << 28 });
}

/** Writes the page of the paths and returns its name. */
export function report(folder, name, paths, options = []) {
  const file = join(folder, `${name}.html`);
  run(folder, ["report", "--quiet", ...options, ...paths, "-o", file]);
  return file;
}

/** The data that a page contains. */
export function dataOf(file) {
  const text = /<script id="data" type="application\/json">([^<]*)<\/script>/.exec(readFileSync(file, "utf8"))[1];
  return JSON.parse(text);
}

/** What `dump --composed` prints about an instance. */
export function dump(folder, path, options = []) {
  return JSON.parse(run(folder, ["dump", "--quiet", "--composed", "--format", "json", ...options, path])).objects;
}
