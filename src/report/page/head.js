import { atoms, classes, classMeaning } from "./model.js";
import { classIcon } from "./marks.js";
import { dateText, percent, plural, verdictOf } from "./words.js";
import { add, download, el } from "./dom.js";

/** Head of the page, restraint files and provenance. */

function provenance(model) {
  const { results, record } = model;
  const program = results.program ?? {};
  const rows = [
    ["Source", results.input.file],
    ["Residues", `${model.residues.length}, ${results.input.first_residue} to ${model.residues[model.residues.length - 1].resid}`],
    ["Predicted", dateText(record.predicted)],
    ["Program", `${program.name ?? ""} ${program.version ?? ""}`.trim()],
    ["Data", results.data?.version ?? ""],
    ["Reference", results.settings.reference ?? ""],
  ];
  return el("dl", { class: "provenance" }, rows.filter(([, text]) => text).map(([name, text]) =>
    el("div", {}, el("dt", { text: name }), el("dd", { text }))));
}

function classCounts(model) {
  const present = classes.filter((word) => model.counts[word] > 0);
  return el("div", { class: "card", id: "classes" },
    el("h2", { text: "Prediction" }),
    el("div", { class: "class-bar", "aria-hidden": "true" },
      present.map((word) => el("span", { class: `class-${word}`, style: `flex-grow:${model.counts[word]}` }))),
    el("ul", { class: "class-list" }, present.map((word) =>
      el("li", {}, classIcon(word), el("span", {}, el("b", { text: model.counts[word] }), ` ${word}`,
        el("small", { text: `${percent(model.counts[word], model.residues.length)}, ${classMeaning[word]}` }))))));
}

function completeness(model) {
  return el("div", { class: "card", id: "completeness" },
    el("h2", { text: "Assigned shifts" }),
    el("table", { class: "plain" },
      el("caption", { class: "off-screen", text: "Assigned of expected shifts by nucleus" }),
      el("tbody", {}, atoms.filter((atom) => model.completeness[atom]).map((atom) => {
        const { assigned, expected } = model.completeness[atom];
        const share = expected > 0 ? (100 * assigned) / expected : 0;
        return el("tr", {}, el("th", { scope: "row", text: atom }),
          el("td", { class: "bar" }, el("span", { class: "bar-track" }, el("span", { class: "bar-part", style: `width:${share.toFixed(1)}%` }))),
          el("td", { class: "number", text: `${assigned} of ${expected}` }));
      }))));
}

const levelWords = { good: "Good", note: "Remark", bad: "Attention" };

function verdict(model) {
  const { level, headline, statements } = verdictOf(model);
  return el("div", { class: `card verdict level-${level}`, id: "verdict" },
    el("h2", { text: headline }),
    el("ul", {}, statements.map((one) => el("li", { class: `level-${one.level}` },
      el("span", { class: "level-word", text: levelWords[one.level] }), el("span", { text: one.text })))));
}

export function pageHead(container, model) {
  container.append(
    el("p", { class: "kicker", text: "Backbone prediction from chemical shifts" }),
    el("h1", { text: model.title }),
    provenance(model),
    el("div", { class: "cards" }, verdict(model), classCounts(model), completeness(model)));
}

const formatNames = { cyana: "CYANA", cns: "CNS / Xplor", nef: "NEF", nmrstar: "NMR-STAR" };

/** Buttons for the restraint files; they hold the bytes of the export. */
export function restraintFiles(container, model) {
  const files = model.record.restraints ?? [];
  if (files.length === 0) {
    container.append(el("p", { class: "hint", text: "This page holds no restraint files." }));
    return;
  }
  add(container,
    el("p", { text: "Dihedral restraints of the residues of class Strong, the same files that orvix export writes." }),
    el("div", { class: "toolbar" }, files.map((file) =>
      el("button", { type: "button", "data-format": file.format, onclick: () => download(file.file, file.text) },
        `Save ${formatNames[file.format] ?? file.format}`, el("small", { text: ` ${file.file}` })))),
    files.map((file) => el("details", { class: "preview" },
      el("summary", { text: `${file.file}, ${plural(file.text.split("\n").length - 1, "line")}` }),
      el("pre", { tabindex: 0, text: file.text }))));
}

/** Every setting of the run. */
export function settingsTable(container, model) {
  const show = (value) => (value === null ? "–" : typeof value === "boolean" ? (value ? "yes" : "no") : String(value));
  const { results, record } = model;
  const rows = [
    ...Object.entries(results.settings).map(([key, value]) => [key.replaceAll("_", " "), show(value)]),
    ["sequence", results.input.sequence],
    ["page written", dateText(record.written) || "–"],
    ["page written by", `${record.program?.name ?? ""} ${record.program?.version ?? ""}`.trim()],
  ];
  container.append(el("table", { class: "plain settings" },
    el("caption", { class: "off-screen", text: "Settings of the run" }),
    el("tbody", {}, rows.map(([name, text]) => el("tr", {}, el("th", { scope: "row", text: name }), el("td", { text }))))));
}
