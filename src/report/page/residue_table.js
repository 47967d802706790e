import { atoms, classOf, residueName, rotamers, structures } from "./model.js";
import { classBadge, classFilter } from "./marks.js";
import { fixed } from "./words.js";
import { SortableTable, searchField } from "./sortable_table.js";
import { el } from "./dom.js";

/** The table of all residues. */

function angleColumn(key, text, digits) {
  return { key, text, number: true, value: (r) => r[key], show: (r) => fixed(r[key], digits) };
}

function columnsOf(model, select) {
  const columns = [
    {
      key: "resid", text: "Residue", value: (r) => r.resid,
      show: (r) => el("button", { type: "button", class: "link", onclick: () => select(r.resid), text: residueName(r) }),
    },
    { key: "class", text: "Class", value: (r) => classOf(r), show: (r) => classBadge(classOf(r)) },
    angleColumn("phi", "φ", 1), angleColumn("phi_spread", "± φ", 1),
    angleColumn("psi", "ψ", 1), angleColumn("psi_spread", "± ψ", 1),
    {
      key: "chi1_rotamer", text: "χ1", value: (r) => r.chi1?.rotamer ?? null,
      show: (r) => r.chi1?.rotamer?.replace("-", "−") ?? "–",
    },
    {
      key: "chi1_probability", text: "p(χ1)", number: true, title: "probability of the likeliest rotamer",
      value: (r) => (r.chi1 && r.chi1.g_minus !== null ? Math.max(...rotamers.map((one) => r.chi1[one.key])) : null),
      show(r) { return fixed(this.value(r), 2); },
    },
    {
      key: "secondary_structure", text: "SS", title: "secondary structure",
      value: (r) => r.secondary_structure?.state ?? null,
      show: (r) => structures[r.secondary_structure?.state] ?? "–",
    },
    {
      key: "ss_confidence", text: "conf.", number: true, title: "confidence of the secondary structure",
      value: (r) => r.secondary_structure?.confidence ?? null, show: (r) => fixed(r.secondary_structure?.confidence, 2),
    },
    { key: "s2", text: "S²", number: true, value: (r) => r.s2, show: (r) => fixed(r.s2, 2) },
    { key: "match_count", text: "Matches", number: true, value: (r) => r.match_count, show: (r) => String(r.match_count ?? "–") },
    { key: "score", text: "Score", number: true, title: "mean score of the matches, lower is better", value: (r) => r.score, show: (r) => fixed(r.score, 3) },
    {
      key: "outliers", text: "Outliers", value: (r) => atoms.filter((atom) => model.outlier(r.resid, atom)).join(" "),
      show(r) { return this.value(r); },
    },
  ];
  if (model.hasReference) {
    for (const angle of ["phi", "psi"]) {
      columns.push({
        key: `reference_${angle}`, text: `ref. ${angle === "phi" ? "φ" : "ψ"}`, number: true,
        value: (r) => r.reference?.[angle] ?? null, show: (r) => fixed(r.reference?.[angle], 1),
      });
    }
  }
  // The letter goes into copies, where the number alone would stand.
  columns.splice(1, 0, { key: "resname", text: "Letter", value: (r) => r.resname, show: (r) => r.resname });
  return columns;
}

export function residueTable(container, model, select, fileName) {
  const table = new SortableTable({
    id: "residues", caption: "All residues", columns: columnsOf(model, select), items: model.residues, fileName,
    rowOf: (residue) => ({ "data-resid": residue.resid, class: `row-${classOf(residue)}` }),
  });
  let chosen = null;
  let wanted = "";
  const apply = () => table.filter((residue) =>
    (chosen === null || chosen.has(classOf(residue))) &&
    (wanted === "" || `${residueName(residue)} ${residue.resname}${residue.resid}`.toLowerCase().includes(wanted)));
  container.append(
    el("div", { class: "toolbar" },
      classFilter(model.counts, "Classes shown", (set) => { chosen = set; apply(); }),
      searchField("Find residue", (text) => { wanted = text; apply(); })),
    el("div", { class: "toolbar" }, table.csvButtons(), table.count),
    el("div", { class: "table-frame tall", tabindex: 0, role: "region", "aria-label": "Table of all residues" }, table.table));
  return table;
}
