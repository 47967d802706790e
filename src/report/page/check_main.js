import { atoms, residueName } from "./model.js";
import { dateText, fixed, plural } from "./words.js";
import { SortableTable } from "./sortable_table.js";
import { add, byId, el } from "./dom.js";
import { deviationPlot, offsetPlot } from "./check_plots.js";

/** The page of a shift check. */

const nuclei = ["CA/CB", "CA", "CB", "C", "HA", "N", "HN"];
const levelWords = { good: "Good", note: "Remark", bad: "Attention" };

function digitsOf(name) {
  return name.startsWith("H") ? 3 : 2;
}

function offsetRows(check) {
  const offsets = check.by_prediction?.offsets ?? {};
  return nuclei.map((name) => ({ name, offset: null, error: null, count: null, to_correct: false, ...(offsets[name] ?? {}) }));
}

/** What was found, in words, the worst first. */
function statements(check) {
  const found = check.by_prediction;
  const list = [];
  for (const row of offsetRows(check)) {
    if (!row.to_correct || row.name === "CA" || row.name === "CB") continue;
    const size = `${fixed(Math.abs(row.offset), digitsOf(row.name))} ± ${fixed(row.error, digitsOf(row.name))} ppm`;
    list.push({ level: "bad", text: `${row.name} shifts are ${size} too ${row.offset > 0 ? "high" : "low"}: correct the referencing, or predict with --reference auto.` });
  }
  const pairs = found?.misassignments ?? [];
  if (pairs.length > 0) {
    list.push({ level: "bad", text: `${plural(pairs.length, "pair")} of residues with shifts that fit the other one better: look at the assignment.` });
  }
  const gross = check.outliers.filter((one) => one.gross);
  if (gross.length > 0) list.push({ level: "bad", text: `${plural(gross.length, "gross outlier")}.` });
  if (check.sequence_mismatches.length > 0) {
    list.push({ level: "bad", text: `${plural(check.sequence_mismatches.length, "residue")} with a name that is not that of the sequence.` });
  }
  if (found?.deuteration?.looks_deuterated) {
    list.push({ level: "note", text: "The sample looks deuterated: CA and CB are low as deuterium makes them, with hardly any HA. If it is, use --iso." });
  }
  if (check.outliers.length > gross.length) {
    list.push({ level: "note", text: `${plural(check.outliers.length - gross.length, "shift")} slightly outside of the usual range.` });
  }
  for (const remark of check.remarks) list.push({ level: "note", text: remark });
  if (!found) list.push({ level: "note", text: "Checked without a prediction: no expected shifts." });
  if (!list.some((one) => one.level === "bad")) list.push({ level: "good", text: "Nothing that has to be corrected." });
  return list;
}

function completenessCard(check) {
  return el("div", { class: "card", id: "completeness" }, el("h2", { text: "Assigned shifts" }),
    el("table", { class: "plain" }, el("caption", { class: "off-screen", text: "Assigned of expected shifts by nucleus" }),
      el("tbody", {}, atoms.filter((atom) => check.completeness[atom]).map((atom) => {
        const { assigned, expected } = check.completeness[atom];
        const share = expected > 0 ? (100 * assigned) / expected : 0;
        return el("tr", {}, el("th", { scope: "row", text: atom }),
          el("td", { class: "bar" }, el("span", { class: "bar-track" }, el("span", { class: "bar-part", style: `width:${share.toFixed(1)}%` }))),
          el("td", { class: "number", text: `${assigned} of ${expected}` }));
      }))));
}

function head(container, record) {
  const check = record.check;
  const list = statements(check);
  const level = list.some((one) => one.level === "bad") ? "bad" : "good";
  const facts = [["Source", check.input.file], ["Residues", `${check.input.residue_count} from ${check.input.first_residue} on`],
    ["Checked", dateText(record.written)], ["Program", `${record.program.name} ${record.program.version}`]];
  add(container, el("p", { class: "kicker", text: "Check of chemical shifts" }),
    el("h1", { text: check.input.title || check.input.file || "Untitled" }),
    el("dl", { class: "provenance" }, facts.filter(([, text]) => text).map(([name, text]) =>
      el("div", {}, el("dt", { text: name }), el("dd", { text })))),
    el("div", { class: "cards" },
      el("div", { class: `card verdict level-${level}`, id: "verdict" },
        el("h2", { text: level === "bad" ? "These shifts need a look" : "These shifts look sound" }),
        el("ul", {}, list.map((one) => el("li", { class: `level-${one.level}` },
          el("span", { class: "level-word", text: levelWords[one.level] }), el("span", { text: one.text }))))),
      completenessCard(check)));
}

function referencing(container, check) {
  const rows = offsetRows(check);
  const number = (row, key) => el("td", { class: "number", text: fixed(row[key], digitsOf(row.name)) });
  const table = el("table", { id: "offsets" },
    el("caption", { text: "Offsets against the predicted conformation, ppm" }),
    el("thead", {}, el("tr", {}, ["Nucleus", "Offset", "Error", "Shifts", "Finding"].map((text, place) =>
      el("th", { scope: "col", class: place > 0 && place < 4 ? "number" : null, text })))),
    el("tbody", {}, rows.map((row) => el("tr", { class: row.to_correct ? "outlier" : null, "data-nucleus": row.name },
      el("th", { scope: "row", text: row.name }), number(row, "offset"), number(row, "error"),
      el("td", { class: "number", text: row.count ?? "–" }),
      el("td", { text: row.offset === null ? "too few shifts" : row.to_correct ? "correct it" : "sound" })))));
  add(container, el("div", { class: "columns" }, el("div", { class: "table-frame" }, table),
    el("div", { class: "offset-frame" }, offsetPlot(rows),
      el("p", { class: "hint", text: "Thick: one standard error, thin: two. CA and CB are corrected together." }))));
}

/** "CA 3.1 → 0.4, CB −4.0 → 0.2": spreads off at the residue's own place and at the other. */
function evidence(shifts) {
  return Object.entries(shifts).map(([atom, [own, other]]) => `${atom} ${fixed(own, 1)} → ${fixed(other, 1)}`).join(", ");
}

function misassignments(container, check) {
  const pairs = check.by_prediction?.misassignments ?? [];
  if (pairs.length === 0) {
    add(container, el("p", { text: check.by_prediction ? "None found." : "Not looked for." }));
    return;
  }
  const names = new Map(check.by_prediction.residues.map((residue) => [residue.resid, residueName(residue)]));
  const table = new SortableTable({
    id: "pairs", caption: "Residues whose shifts fit better exchanged, or at one without shifts", items: pairs, fileName: "misassignments.csv",
    rowOf: (pair) => ({ "data-resid": pair.resid, "data-with": pair.with }),
    columns: [
      { key: "resid", text: "Residue", value: (pair) => pair.resid, show: (pair) => names.get(pair.resid) ?? pair.resid },
      { key: "with", text: "with", value: (pair) => pair.with, show: (pair) => `${names.get(pair.with) ?? pair.with}${pair.exchanged ? "" : ", without shifts"}` },
      { key: "log_likelihood_ratio", text: "Log likelihood ratio", number: true, value: (pair) => pair.log_likelihood_ratio, show: (pair) => fixed(pair.log_likelihood_ratio, 1) },
      { key: "shifts", text: "Its shifts: spreads off here → there", value: (pair) => evidence(pair.shifts), show: (pair) => evidence(pair.shifts) },
      { key: "shifts_of_other", text: "The other's", value: (pair) => evidence(pair.shifts_of_other), show: (pair) => evidence(pair.shifts_of_other) },
    ],
  });
  add(container, el("div", { class: "toolbar" }, table.csvButtons()), el("div", { class: "table-frame" }, table.table));
}

function outliers(container, check) {
  if (check.outliers.length === 0) {
    add(container, el("p", { text: "None." }));
    return;
  }
  const table = new SortableTable({
    id: "outlier-table", caption: "Secondary shifts beyond the limit of their residue and atom, ppm", items: check.outliers, fileName: "outliers.csv",
    rowOf: (one) => ({ class: one.gross ? "outlier" : null }),
    columns: [
      { key: "resid", text: "Residue", value: (one) => one.resid, show: residueName },
      { key: "atom", text: "Atom", value: (one) => one.atom, show: (one) => one.atom },
      { key: "secondary_shift", text: "Secondary shift", number: true, value: (one) => one.secondary_shift, show: (one) => fixed(one.secondary_shift, 2) },
      { key: "limit", text: "Limit", number: true, value: (one) => one.limit, show: (one) => fixed(one.limit, 2) },
      { key: "gross", text: "Finding", value: (one) => (one.gross ? "gross" : ""), show: (one) => (one.gross ? "gross" : "") },
    ],
  });
  add(container, el("div", { class: "table-frame" }, table.table));
}

function start() {
  const record = JSON.parse(byId("record").textContent);
  const check = record.check;
  const found = check.by_prediction;
  document.title = `Shift check of ${check.input.title || check.input.file || "shifts"}`;
  head(byId("head"), record);
  referencing(byId("referencing-frame"), check);
  misassignments(byId("misassignments-frame"), check);
  if (found) {
    const suspects = new Set(found.misassignments.flatMap((pair) => [pair.resid, pair.with]));
    add(byId("deviations-frame"),
      el("div", { class: "table-frame" }, deviationPlot(found.residues, found.offsets, suspects)),
      el("p", { class: "hint", text: "Measured less expected shift in spreads, offsets taken off, cut at six. Pale: the conformation is not predicted. " +
        "Coloured: more than four spreads. Shaded: possible misassignments." }));
  } else {
    add(byId("deviations-frame"), el("p", { text: "Not looked for." }));
  }
  outliers(byId("outliers-frame"), check);
}

start();
