import { fixed, offsetNuclei } from "./words.js";
import { residueName } from "./model.js";
import { el, hideTip, showTip, svg } from "./dom.js";

/** Referencing: secondary shifts against CA - CB with the lines of both groups, and the offsets. */

/** Points of a nucleus as the check saw them: before offsets were applied. */
function pointsOf(model, atom) {
  const offsets = model.results.shift_offsets ?? {};
  const applied = offsets[atom]?.applied ? offsets[atom].offset : 0;
  const left = new Set(["P", "c", "C"]);
  const points = [];
  for (const residue of model.residues) {
    const shifts = residue.secondary_shifts;
    const [ca, cb, value] = [shifts.CA ?? null, shifts.CB ?? null, shifts[atom] ?? null];
    if (ca === null || cb === null || value === null || left.has(residue.state_letter)) continue;
    points.push({ resid: residue.resid, residue, x: ca - cb, y: value + applied });
  }
  return points;
}

function offsetTable(model) {
  const rows = offsetNuclei.map(({ key, name }) => {
    const estimate = model.results.shift_offsets?.[key] ?? null;
    const finding = estimate === null ? "too few shifts"
      : estimate.applied ? "significant, corrected"
        : estimate.significant ? "significant: correct it" : "not significant";
    return el("tr", { class: estimate?.significant ? "outlier" : null, "data-nucleus": key },
      el("th", { scope: "row", text: name }),
      el("td", { class: "number", text: fixed(estimate?.offset, 2) }),
      el("td", { class: "number", text: fixed(estimate?.error, 2) }),
      el("td", { class: "number", text: estimate?.count ?? "–" }),
      el("td", { text: finding }));
  });
  const head = (text, number) => el("th", { scope: "col", class: number ? "number" : null, text });
  return el("div", { class: "table-frame" }, el("table", { id: "offsets" },
    el("caption", { text: "Referencing offsets, ppm" }),
    el("thead", {}, el("tr", {}, head("Nucleus"), head("Offset", true), head("Error", true), head("Residues", true), head("Finding"))),
    el("tbody", {}, rows)));
}

/** Offsets as points with bars of five errors, the limit of significance. */
function offsetPlot(model) {
  const rows = offsetNuclei.map((one) => ({ ...one, estimate: model.results.shift_offsets?.[one.key] ?? null }))
    .filter((row) => row.estimate !== null);
  if (rows.length === 0) return null;
  const width = 420;
  const height = 34 + rows.length * 30;
  const reach = d3.max(rows, (row) => Math.abs(row.estimate.offset) + 5 * row.estimate.error) || 1;
  const x = d3.scaleLinear([-reach, reach], [62, width - 12]).nice();
  const y = d3.scalePoint(rows.map((row) => row.name), [18, height - 38]);
  const node = svg("svg", { id: "offset-plot", class: "small-plot", role: "img", "aria-label": "Referencing offsets with five times their errors; the table holds the numbers" });
  const root = d3.select(node).attr("viewBox", `0 0 ${width} ${height}`).attr("width", width).attr("height", height);
  root.append("g").attr("class", "axis").attr("transform", `translate(0,${height - 22})`)
    .call(d3.axisBottom(x).ticks(5).tickSize(-(height - 30)).tickFormat((value) => d3.format("~g")(value).replace("-", "−")));
  root.append("line").attr("class", "zero").attr("x1", x(0)).attr("x2", x(0)).attr("y1", 8).attr("y2", height - 22);
  const lines = root.selectAll("g.offset").data(rows).join("g")
    .attr("class", (row) => `offset${row.estimate.significant ? " significant" : ""}`)
    .attr("transform", (row) => `translate(0,${y(row.name)})`);
  lines.append("text").attr("class", "axis-name").attr("x", 0).attr("y", 4).text((row) => row.name);
  const bar = (name, errors) => lines.append("line").attr("class", name)
    .attr("x1", (row) => x(row.estimate.offset - errors * row.estimate.error))
    .attr("x2", (row) => x(row.estimate.offset + errors * row.estimate.error));
  bar("wide", 5);
  bar("narrow", 1);
  lines.append("circle").attr("cx", (row) => x(row.estimate.offset)).attr("r", 4.5);
  return node;
}

function linePlot(model, { key, name }, select) {
  const points = pointsOf(model, key);
  const size = { width: 320, height: 250, left: 42, right: 8, top: 22, bottom: 36 };
  const node = svg("svg", {
    id: `line-${key}`, class: "small-plot", role: "img",
    "aria-label": `${key === "CA" ? "CA" : name} secondary shift against CA minus CB, ${points.length} residues`,
  });
  const root = d3.select(node).attr("viewBox", `0 0 ${size.width} ${size.height}`).attr("width", size.width).attr("height", size.height);
  root.append("text").attr("class", "caption").attr("x", size.left).attr("y", 13).text(`${key}, ${points.length} residues`);
  const x = d3.scaleLinear(d3.extent([0, ...points.map((p) => p.x)]), [size.left, size.width - size.right]).nice();
  const y = d3.scaleLinear(d3.extent([0, ...points.map((p) => p.y)]), [size.height - size.bottom, size.top]).nice();
  const format = (value) => d3.format("~g")(value).replace("-", "−");
  root.append("g").attr("class", "axis").attr("transform", `translate(0,${size.height - size.bottom})`)
    .call(d3.axisBottom(x).ticks(5).tickFormat(format).tickSize(-(size.height - size.top - size.bottom)).tickPadding(6));
  root.append("g").attr("class", "axis").attr("transform", `translate(${size.left},0)`)
    .call(d3.axisLeft(y).ticks(5).tickFormat(format).tickSize(-(size.width - size.left - size.right)).tickPadding(6));
  root.append("text").attr("class", "axis-name").attr("text-anchor", "middle")
    .attr("x", (size.left + size.width) / 2).attr("y", size.height - 4).text("CA − CB secondary shift, ppm");
  root.append("line").attr("class", "zero").attr("x1", x(0)).attr("x2", x(0)).attr("y1", size.top).attr("y2", size.height - size.bottom);
  root.selectAll("circle.point").data(points).join("circle")
    .attr("class", (p) => `point ${p.x < 0 ? "negative" : "positive"}`).attr("data-resid", (p) => p.resid)
    .attr("cx", (p) => x(p.x)).attr("cy", (p) => y(p.y)).attr("r", 2.6)
    .on("pointerenter", (p) => showTip([
      el("strong", { text: residueName(p.residue) }),
      el("div", { text: `CA − CB ${fixed(p.x, 2)}, ${key} ${fixed(p.y, 2)} ppm` }),
    ], d3.event.clientX, d3.event.clientY))
    .on("pointerleave", hideTip)
    .on("click", (p) => { hideTip(); select(p.resid); });
  const lines = model.results.referencing?.[key] ?? {};
  for (const group of ["negative", "positive"]) {
    const line = lines[group];
    if (!line) continue;
    if (line.slope !== null && line.slope !== undefined) {
      const end = group === "negative" ? x.domain()[0] : x.domain()[1];
      root.append("line").attr("class", `fit ${group}`)
        .attr("x1", x(0)).attr("y1", y(line.intercept)).attr("x2", x(end)).attr("y2", y(line.intercept + line.slope * end));
    }
    const side = group === "negative" ? -12 : 12;
    root.append("line").attr("class", "expected").attr("x1", x(0)).attr("x2", x(0) + side).attr("y1", y(line.expected)).attr("y2", y(line.expected));
  }
  return el("figure", { class: "line-plot" }, node);
}

export function referencing(container, model, select) {
  container.append(
    el("div", { class: "columns" }, offsetTable(model), el("div", { class: "offset-frame" }, offsetPlot(model),
      el("p", { class: "hint", text: "Thick: one error, thin: five errors. An offset is significant when the thin bar does not reach 0." }))),
    el("div", { class: "line-plots" }, offsetNuclei.map((nucleus) => linePlot(model, nucleus, select))),
    el("p", { class: "hint", text: "Well referenced shifts meet the short ticks at CA − CB = 0, whatever the structure; what a line misses its tick by " +
      "is the offset. Prolines and cysteines do not count." }));
}
