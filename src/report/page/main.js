import { classMeaning, classes, readModel } from "./model.js";
import { classIcon } from "./marks.js";
import { pageHead, restraintFiles, settingsTable } from "./head.js";
import { clearPrintTracks, printTracks, TrackView } from "./tracks.js";
import { ResidueSheet } from "./sheet.js";
import { referencing } from "./referencing.js";
import { ramachandran } from "./ramachandran.js";
import { modelSection } from "./models.js";
import { residueTable } from "./residue_table.js";
import { byId, el, svg } from "./dom.js";

/** Puts the page together. */

function legend(model) {
  const swatch = (name, text) => el("li", {}, el("span", { class: `swatch ${name}` }), text);
  const dash = svg("svg", { class: "icon", width: 14, height: 14, viewBox: "-7 -7 14 14", "aria-hidden": "true" },
    svg("path", { class: "reference", d: "M-6,-1.2H6V1.2H-6Z" }));
  const warning = svg("svg", { class: "icon", width: 14, height: 14, viewBox: "-7 -7 14 14", "aria-hidden": "true" },
    svg("path", { class: "outlier-sign", d: d3.symbol().type(d3.symbolTriangle).size(50)() }));
  return el("ul", { class: "legend" },
    classes.filter((word) => model.counts[word] > 0 && word !== "None")
      .map((word) => el("li", { title: classMeaning[word] }, classIcon(word), word)),
    model.hasReference ? el("li", {}, dash, "reference") : null,
    swatch("structure-H", "helix"), swatch("structure-E", "strand"), swatch("structure-L", "coil"),
    swatch("rotamer-gm", "χ1 g−"), swatch("rotamer-gp", "χ1 g+"), swatch("rotamer-t", "χ1 t"),
    el("li", {}, warning, "outlier"));
}

/** A name for files from the title: letters, digits, points and dashes. */
function fileStem(model) {
  const name = (model.results.input.file || model.title).split(/[\\/]/).pop().replace(/\.[A-Za-z0-9]+$/, "");
  return name.replace(/[^A-Za-z0-9._-]+/g, "_").replace(/^[._]+/, "") || "orvix";
}

function build(record) {
  const model = readModel(record);
  document.title = `${model.title} – ORVIX-N report`;
  pageHead(byId("head"), model);
  let view = null;
  const sheet = new ResidueSheet(model, (resid) => view.choose(resid));
  const select = (resid) => sheet.open(resid);
  view = new TrackView(byId("along-plot"), model, select);
  byId("along-plot").append(legend(model));
  referencing(byId("referencing-plots"), model, select);
  ramachandran(byId("ramachandran-frame"), model, select);
  modelSection(byId("models"), byId("models-frame"), model, select, `${fileStem(model)}_models.csv`);
  residueTable(byId("table-frame"), model, select, `${fileStem(model)}_residues.csv`);
  restraintFiles(byId("restraint-files"), model);
  settingsTable(byId("settings"), model);
  window.addEventListener("beforeprint", () => printTracks(byId("print-tracks"), model));
  window.addEventListener("afterprint", clearPrintTracks);
}

function start() {
  let record = null;
  try {
    record = JSON.parse(byId("record").textContent);
  } catch {
    byId("head").append(el("p", { class: "failure", text: "This page holds no readable record." }));
    return;
  }
  if (record.schema !== "orvix-report" || !(record.results?.residues?.length > 0)) {
    byId("head").append(el("p", { class: "failure", text: "This page holds no prediction with residues." }));
    return;
  }
  build(record);
}

start();
