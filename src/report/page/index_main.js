import { classes, classMeaning } from "./model.js";
import { dateText, fixed, percent, plural } from "./words.js";
import { SortableTable, compareValues, searchField } from "./sortable_table.js";
import { add, byId, el } from "./dom.js";

/** The page over many predictions. */

const stripLetters = { S: "Strong", G: "Generous", W: "Warn", D: "Dyn", B: "Bad", N: "None" };
const structureLetters = ["H", "E", "L"];

/** Address of a file beside this page; a name can't become another address or scheme. */
function address(path) {
  return "./" + String(path).split("/").map(encodeURIComponent).join("/");
}

function share(protein, words) {
  const all = countAll(protein.classes);
  return all > 0 ? words.reduce((sum, word) => sum + (protein.classes[word] ?? 0), 0) / all : null;
}

function countAll(counts) {
  return Object.values(counts).reduce((sum, count) => sum + count, 0);
}

function drawStrip(canvas, protein, colours) {
  const width = canvas.clientWidth || 160;
  const ratio = window.devicePixelRatio || 1;
  canvas.width = Math.round(width * ratio);
  canvas.height = Math.round(16 * ratio);
  const pen = canvas.getContext("2d");
  const classLetters = protein.strip ?? "";
  const step = canvas.width / Math.max(1, classLetters.length);
  const line = (text, colourOf, top, height) => {
    for (let place = 0; place < text.length; place += 1) {
      const colour = colourOf(text[place]);
      if (!colour) continue;
      pen.fillStyle = colour;
      // Whole pixels, so that no seams show between residues.
      const start = Math.floor(place * step);
      pen.fillRect(start, top * ratio, Math.max(1, Math.ceil((place + 1) * step) - start), height * ratio);
    }
  };
  line(protein.structure ?? "", (letter) => (letter === "L" ? null : colours[`structure-${letter}`]), 0, 5);
  line(classLetters, (letter) => colours[`class-${stripLetters[letter] ?? "None"}`], 7, 9);
}

/** The colours of the style sheet, read where canvas drawing needs them. */
function readColours() {
  const probe = el("span", { hidden: true });
  document.body.append(probe);
  const colours = {};
  const names = [...classes.map((word) => `class-${word}`), ...structureLetters.map((letter) => `structure-${letter}`)];
  for (const name of names) {
    probe.className = name;
    colours[name] = getComputedStyle(probe).color;
  }
  probe.remove();
  return colours;
}

/** Draws strips when they come into view, and anew when the colour scheme changes. */
class Strips {
  constructor() {
    this.colours = readColours();
    this.drawn = new Set();
    this.proteins = new Map();
    this.watch = new IntersectionObserver((entries) => {
      for (const entry of entries) {
        if (entry.isIntersecting) this.draw(entry.target);
      }
    }, { rootMargin: "300px" });
    window.matchMedia("(prefers-color-scheme: dark)").addEventListener("change", () => {
      this.colours = readColours();
      for (const canvas of this.drawn) drawStrip(canvas, this.proteins.get(canvas), this.colours);
    });
  }

  add(protein) {
    const words = classes.filter((word) => protein.classes[word]).map((word) => `${protein.classes[word]} ${word}`).join(", ");
    const canvas = el("canvas", { class: "strip", role: "img", "aria-label": words, title: words, height: 16 });
    this.proteins.set(canvas, protein);
    this.watch.observe(canvas);
    return canvas;
  }

  draw(canvas) {
    if (this.drawn.has(canvas)) return;
    this.drawn.add(canvas);
    drawStrip(canvas, this.proteins.get(canvas), this.colours);
  }

  drawAll() {
    for (const canvas of this.proteins.keys()) this.draw(canvas);
  }
}

function shareColumn(key, text, title, value) {
  return {
    key, text, title, number: true, value,
    show: (protein) => (value(protein) === null ? "–" : `${Math.round(100 * value(protein))} %`),
  };
}

function columnsOf(strips) {
  const structureShare = (letter) => (protein) => {
    const text = protein.structure ?? "";
    return text.length > 0 ? [...text].filter((one) => one === letter).length / text.length : null;
  };
  const offsets = (protein) => ["CA", "HA", "C"].map((atom) => ({ atom, estimate: protein.offsets?.[atom] ?? null }))
    .filter((one) => one.estimate?.significant);
  return [
    {
      key: "name", text: "Protein", value: (p) => p.name,
      show: (p) => (p.report ? el("a", { href: address(p.report), text: p.name }) : p.name),
    },
    { key: "title", text: "Title", value: (p) => p.title, show: (p) => el("span", { class: "title-cell", title: p.title, text: p.title }) },
    { key: "residues", text: "Residues", number: true, value: (p) => p.residues, show: (p) => String(p.residues) },
    {
      key: "strip", text: "Along the chain", title: "above: helix and strand; below: classes", show: (p) => strips.add(p),
    },
    shareColumn("strong", "Strong", "share of residues of class Strong", (p) => share(p, ["Strong"])),
    shareColumn("warn", "Warn", "share of residues of class Warn", (p) => share(p, ["Warn"])),
    shareColumn("dyn", "Dyn", "share of mobile residues", (p) => share(p, ["Dyn"])),
    shareColumn("helix", "Helix", "share of helix", structureShare("H")),
    shareColumn("strand", "Strand", "share of strand", structureShare("E")),
    shareColumn("assigned", "Assigned", "assigned of expected shifts", (p) => p.completeness ?? null),
    {
      key: "outliers", text: "Outliers", number: true, title: "shifts outside of the usual range; in brackets: by far",
      value: (p) => p.outliers ?? null,
      show: (p) => ((p.outliers ?? null) === null ? "–" : `${p.outliers}${p.serious ? ` (${p.serious})` : ""}`),
    },
    {
      key: "offsets", text: "Offsets", title: "significant referencing offsets, ppm",
      value: (p) => offsets(p).map(({ atom, estimate }) => `${atom === "CA" ? "CA/CB" : atom} ${estimate.offset.toFixed(2)}`).join("; "),
      show(p) {
        const text = offsets(p).map(({ atom, estimate }) => `${atom === "CA" ? "CA/CB" : atom} ${fixed(estimate.offset, 2)}`).join(", ");
        return text ? el("span", { class: "warning", text }) : "";
      },
    },
  ];
}

function head(record) {
  const proteins = record.proteins;
  const counts = Object.fromEntries(classes.map((word) => [word, 0]));
  for (const protein of proteins) {
    for (const word of classes) counts[word] += protein.classes[word] ?? 0;
  }
  const residues = countAll(counts);
  const failed = record.failures?.length ?? 0;
  add(byId("head"),
    el("p", { class: "kicker", text: "Backbone predictions from chemical shifts" }),
    el("h1", { text: record.directory || "Predictions" }),
    el("p", { class: "lead", text: `${plural(proteins.length, "protein")} with ${plural(residues, "residue")}; ` +
      `${plural(failed, "input")} failed.` }),
    el("ul", { class: "class-list wide" }, classes.filter((word) => counts[word] > 0).map((word) =>
      el("li", {}, el("span", { class: `swatch class-${word}` }), el("span", {}, el("b", { text: percent(counts[word], residues) }), ` ${word}`,
        el("small", { text: classMeaning[word] }))))),
    record.written ? el("p", { class: "hint", text: `Written ${dateText(record.written)} by ${record.program?.name ?? ""} ${record.program?.version ?? ""}.` }) : null);
}

function failures(record) {
  const list = record.failures ?? [];
  if (list.length === 0) {
    byId("failures-frame").append(el("p", { class: "hint", text: "No input failed." }));
    return;
  }
  const columns = [
    { key: "name", text: "Input", value: (f) => f.name, show: (f) => f.name },
    { key: "reason", text: "Reason", value: (f) => f.reason, show: (f) => f.reason },
  ];
  const table = new SortableTable({ id: "failures", caption: "Inputs that failed", columns, items: list, rowOf: () => ({}), fileName: "failures.csv" });
  byId("failures-frame").append(el("div", { class: "toolbar" }, table.csvButtons(), table.count), el("div", { class: "table-frame" }, table.table));
}

function start() {
  let record = null;
  try {
    record = JSON.parse(byId("record").textContent);
  } catch {
    record = null;
  }
  if (record?.schema !== "orvix-report-index") {
    byId("head").append(el("p", { class: "failure", text: "This page holds no readable record." }));
    return;
  }
  document.title = `${record.directory || "Predictions"} – ORVIX-N`;
  head(record);
  const strips = new Strips();
  const proteins = [...record.proteins].sort((a, b) => compareValues(a.name, b.name, false));
  const table = new SortableTable({
    id: "proteins", caption: "Predicted proteins", columns: columnsOf(strips), items: proteins,
    rowOf: (protein) => ({ "data-name": protein.name }), fileName: "proteins.csv",
  });
  let wanted = "";
  let flagged = false;
  const apply = () => table.filter((protein) =>
    (wanted === "" || `${protein.name} ${protein.title}`.toLowerCase().includes(wanted)) &&
    (!flagged || protein.serious > 0 || Object.values(protein.offsets ?? {}).some((one) => one?.significant)));
  add(byId("proteins-frame"),
    el("div", { class: "toolbar" },
      searchField("Find protein", (text) => { wanted = text; apply(); }),
      el("label", { class: "check" },
        el("input", { type: "checkbox", id: "flagged", onchange: (event) => { flagged = event.target.checked; apply(); } }),
        "only those with gross outliers or offsets"),
      table.csvButtons(), table.count),
    el("div", { class: "table-frame", tabindex: 0, role: "region", "aria-label": "Table of proteins" }, table.table));
  failures(record);
  window.addEventListener("beforeprint", () => strips.drawAll());
}

start();
