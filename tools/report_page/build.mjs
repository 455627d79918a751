// Bundles the page: node build.mjs [MODULES [OUTPUT]]
//
// MODULES is the folder node_modules that has the packages of package-lock.json, OUTPUT the folder that gets page.html
// and page_template.cpp. The defaults are those of this folder.

import { createHash } from "node:crypto";
import { existsSync, mkdirSync, readdirSync, readFileSync, writeFileSync } from "node:fs";
import { createRequire } from "node:module";
import { dirname, join, resolve } from "node:path";
import { fileURLToPath } from "node:url";

const folder = dirname(fileURLToPath(import.meta.url));
const modules = resolve(process.argv[2] ?? join(folder, "node_modules"));
const output = resolve(process.argv[3] ?? join(folder, "out"));
const esbuild = createRequire(join(modules, "index.js"))("esbuild");

/** Name, version and licence of each package that the bundle contains. */
function licences(inputs) {
  const names = new Set();
  for (const input of inputs) {
    const match = /node_modules\/((?:@[^/]+\/)?[^/]+)\//.exec(input);
    if (match) {
      names.add(match[1]);
    }
  }
  return [...names].sort().map((name) => {
    const at = join(modules, name);
    const description = JSON.parse(readFileSync(join(at, "package.json"), "utf8"));
    const file = readdirSync(at).find((entry) => /^licen[sc]e/i.test(entry));
    const text = file ? readFileSync(join(at, file), "utf8") : `${description.license}, ${description.author?.name ?? description.author}`;
    return { name, version: description.version, licence: description.license, text };
  });
}

async function bundle(list) {
  return esbuild.build({
    absWorkingDir: folder,
    entryPoints: ["src/app.tsx"],
    bundle: true,
    minify: true,
    write: false,
    metafile: true,
    charset: "ascii",
    legalComments: "none",
    format: "iife",
    target: "es2022",
    jsx: "automatic",
    jsxImportSource: "preact",
    nodePaths: [modules],
    define: { LICENCES: JSON.stringify(list), "process.env.NODE_ENV": '"production"' },
    outfile: "page.js",
  });
}

const { metafile } = await bundle([]);
const list = licences(Object.keys(metafile.inputs));
const script = (await bundle(list)).outputFiles[0].text.replaceAll("</script", "<\\/script").replaceAll("<!--", "<\\!--");
const style = (await esbuild.transform(readFileSync(join(folder, "src/style.css"), "utf8"), { loader: "css", minify: true })).code;

function hash(text) {
  return "sha256-" + createHash("sha256").update(text).digest("base64");
}

// Functions as replacements, so that "$&" and the like in the texts keep their meaning.
const page = readFileSync(join(folder, "src/page.html"), "utf8")
  .replace("%SCRIPT_HASH%", () => hash(script))
  .replace("%STYLE_HASH%", () => hash(style))
  .replace("%STYLE%", () => style)
  .replace("%SCRIPT%", () => script);
for (const marker of ["%CONNECT%", "%DATA%"]) {
  if (page.split(marker).length !== 2) {
    throw new Error(`the page has the marker ${marker} not exactly once`);
  }
}

if (!existsSync(output)) {
  mkdirSync(output, { recursive: true });
}
writeFileSync(join(output, "page.html"), page);
const bytes = Buffer.from(page, "utf8");
const lines = [];
for (let i = 0; i < bytes.length; i += 32) {
  lines.push("    " + Array.from(bytes.subarray(i, i + 32), (byte) => (byte < 128 ? byte : byte - 256)).join(", ") + ",");
}
writeFileSync(
  join(output, "page_template.cpp"),
  `// Written by tools/report_page/build.mjs.

#include <kiln_prefab/report/page_template.h>

namespace Kiln::PrefabTool {

const char PAGE_TEMPLATE[] = {
${lines.join("\n")}
};
const std::size_t PAGE_TEMPLATE_SIZE = sizeof PAGE_TEMPLATE;

} // namespace Kiln::PrefabTool
`,
);
console.log(`bundled ${list.map(({ name, version }) => `${name} ${version}`).join(", ")}: ${bytes.length} bytes`);
