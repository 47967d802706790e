import { residueName } from "./model.js";
import { classBadge } from "./marks.js";
import { fixed, plural } from "./words.js";
import { SortableTable } from "./sortable_table.js";
import { el, hideTip, showTip, svg } from "./dom.js";

/** Models of the structure that were held against the prediction. */

/** Models that the picture of residues and models shows at most. */
const mostRows = 60;

function shareColumn(key, text, title, value) {
  return {
    key, text, title, number: true,
    value: (m) => (value(m).count > 0 ? value(m).agree / value(m).count : null),
    show: (m) => (value(m).count > 0 ? `${value(m).agree} / ${value(m).count}` : "–"),
  };
}

function columns() {
  const number = (key, text, title, value, digits) =>
    ({ key, text, title, number: true, value, show: (m) => fixed(value(m), digits) });
  return [
    { key: "model", text: "Model", value: (m) => m.name, show: (m) => el("span", { title: `${m.file}: ${m.placement}`, text: m.name }) },
    number("rank", "Rank", "by the misfit", (m) => m.rank?.place ?? null, 0),
    { key: "rank_range", text: "95 %", title: "places in 95 % of the draws of residues", show: (m) => (m.rank ? `${m.rank.low}–${m.rank.high}` : "–") },
    number("misfit", "Misfit", "mean distance from the prediction in φ and ψ, degrees", (m) => m.rank?.misfit ?? null, 1),
    number("error", "±", "standard error of the misfit", (m) => m.rank?.error ?? null, 1),
    number("best_share", "Best", "share of the draws in which it fits best", (m) => m.rank?.best_share ?? null, 2),
    shareColumn("strong", "Strong", "residues of class Strong that are not far off", (m) => m.strong),
    number("phi_rmsd", "φ rmsd", "Strong and Generous residues, degrees", (m) => m.phi_rmsd, 0),
    number("psi_rmsd", "ψ rmsd", "Strong and Generous residues, degrees", (m) => m.psi_rmsd, 0),
    shareColumn("rotamers", "χ1", "rotamers as predicted", (m) => m.rotamers),
    shareColumn("secondary_structure", "SS", "helix, strand or neither as predicted", (m) => m.secondary_structure),
  ];
}

function disagreement(model, select) {
  const numbers = model.compare.all_disagree;
  if (numbers.length === 0) {
    return el("p", { class: "lead", text: "No residue of class Strong or Generous is far from its shifts in all models." });
  }
  return el("div", { id: "all-disagree" },
    el("p", { class: "lead", text: `${plural(numbers.length, "residue")} far from the shifts in all models:` }),
    el("ul", { class: "class-list wide" }, numbers.map((resid) => {
      const residue = model.at(resid);
      const nearest = d3.min(residue.models, (one) => one.deviation);
      return el("li", {}, el("button", { type: "button", class: "link", onclick: () => select(resid), text: residueName(residue) }),
        el("small", { text: `${fixed(nearest, 0)}° off in the nearest` }));
    })));
}

function tip(residue, one) {
  return [
    el("div", {}, el("strong", { text: residueName(residue) }), " ", classBadge(residue.class)),
    el("div", { text: one.name }),
    el("div", { text: `predicted φ ${fixed(residue.phi, 0)}, ψ ${fixed(residue.psi, 0)}` }),
    el("div", { text: `model φ ${fixed(one.phi, 0)}, ψ ${fixed(one.psi, 0)}, ${fixed(one.deviation, 0)}° off${one.bad ? ": far" : ""}` }),
  ];
}

/** Residues from left to right, models from top to bottom, the best first. */
function picture(model, models, select) {
  const rows = models.slice(0, mostRows);
  const width = 1100;
  const rowHeight = rows.length > 30 ? 10 : 16;
  const margin = { left: 34, right: 8, top: 4, bottom: 24 };
  const height = margin.top + rows.length * rowHeight + margin.bottom;
  const resids = model.residues.map((residue) => residue.resid);
  const x = d3.scaleBand(resids, [margin.left, width - margin.right]).padding(0.08);
  const y = d3.scaleBand(rows.map((one) => one.place), [margin.top, height - margin.bottom]).padding(0.12);
  const shade = d3.scaleLinear([0, 90], [0.06, 0.6]).clamp(true);
  const node = svg("svg", {
    id: "model-residues", role: "img", viewBox: `0 0 ${width} ${height}`, width, height,
    "aria-label": `Distance of ${plural(rows.length, "model")} from the prediction along the sequence; the command orvix compare writes the numbers`,
  });
  const root = d3.select(node);
  const cells = rows.flatMap((row) => model.residues
    .map((residue) => ({ residue, row, one: residue.models.find((found) => found.place === row.place) }))
    .filter((cell) => (cell.one?.deviation ?? null) !== null));
  root.selectAll("rect.model-cell").data(cells).join("rect")
    .attr("class", (cell) => `model-cell ${cell.one.bad === true ? "far" : cell.one.bad === false ? "near" : "untrusted"}`)
    .attr("data-resid", (cell) => cell.residue.resid).attr("data-model", (cell) => cell.row.place)
    .attr("x", (cell) => x(cell.residue.resid)).attr("y", (cell) => y(cell.row.place))
    .attr("width", x.bandwidth()).attr("height", y.bandwidth())
    .attr("fill-opacity", (cell) => (cell.one.bad === true ? 1 : shade(cell.one.deviation)))
    .on("pointermove", (cell) => showTip(tip(cell.residue, cell.one), d3.event.clientX, d3.event.clientY))
    .on("pointerleave", hideTip)
    .on("click", (cell) => { hideTip(); select(cell.residue.resid); });
  root.append("g").attr("class", "axis residues").attr("transform", `translate(0,${height - margin.bottom})`)
    .call(d3.axisBottom(x).tickValues(resids.filter((resid) => resid % 10 === 0)).tickSizeOuter(0));
  root.append("g").attr("class", "axis").attr("transform", `translate(${margin.left},0)`)
    .call(d3.axisLeft(y).tickFormat((place) => place + 1).tickSize(0));
  return node;
}

/** Fills the section of the models, or leaves the page without one. */
export function modelSection(section, container, model, select, fileName) {
  if (!model.compare) {
    section.remove();
    document.querySelector(`nav a[href="#${section.id}"]`)?.closest("li").remove();
    return;
  }
  const models = model.models;
  const table = new SortableTable({
    id: "models-table", caption: "Models, best first", columns: columns(), items: models, fileName,
    rowOf: (one) => ({ "data-model": one.place }),
  });
  const ranked = model.compare.ranking.residues.length;
  container.append(
    disagreement(model, select),
    el("div", { class: "toolbar" }, table.csvButtons()),
    el("div", { class: "table-frame tall", tabindex: 0, role: "region", "aria-label": "Table of the models" }, table.table),
    el("p", {
      class: "hint",
      text: ranked > 0
        ? `Ranks rest on the ${ranked} residues of class Strong or Generous that all ranked models have; the errors come from ${model.compare.ranking.draws} draws of these residues.`
        : "The models share too few residues of class Strong or Generous for ranks.",
    }),
    el("div", { class: "plot-frame" }, picture(model, models, select)),
    el("p", {
      class: "hint",
      text: `Rows are models by their numbers, the best on top${models.length > mostRows ? ` (the first ${mostRows})` : ""}: ` +
        models.slice(0, mostRows).map((one) => `${one.place + 1} ${one.name}`).join("; ") +
        ". Coloured cells are far from the prediction; the darker another, the further off; grey ones are of residues whose prediction is not trusted.",
    }));
}
