// pdf.js peer: `node peer_pdfjs.mjs <node_modules-dir> annots|text <book.pdf>`.
// annots reads every page's annotations (getAnnotations), text every page's text items with
// their transforms and widths (getTextContent). Prints a count, so the work cannot be skipped.
import { readFile } from "node:fs/promises";
import { pathToFileURL } from "node:url";
import path from "node:path";

const [modules, mode, file] = process.argv.slice(2);
const pdfjs = await import(
  pathToFileURL(path.join(modules, "pdfjs-dist/legacy/build/pdf.mjs")).href);
const data = new Uint8Array(await readFile(file));
const doc = await pdfjs.getDocument({ data, verbosity: 0, isEvalSupported: false }).promise;
let count = 0;
for (let n = 1; n <= doc.numPages; ++n) {
  const page = await doc.getPage(n);
  if (mode === "annots") {
    count += (await page.getAnnotations()).length;
  } else {
    count += (await page.getTextContent()).items.length;
  }
  page.cleanup();
}
await doc.destroy();
console.log(count);
