import { fixed } from "./words.js";
import { atoms, residueName } from "./model.js";
import { el, hideTip, showTip, svg } from "./dom.js";

/** Plots of the page of a shift check. */

/** How far a shift is from its expectation, in spreads, with the offset taken off; null for none. */
export function deviationOf(residue, atom, offsets) {
  const [observed, expected, spread] = ["observed", "expected", "spread"].map((key) => residue[key]?.[atom] ?? null);
  if (observed === null || expected === null || !spread) return null;
  const offset = (atom === "CA" || atom === "CB" ? offsets["CA/CB"] : offsets[atom])?.offset ?? 0;
  return (observed - offset - expected) / spread;
}

/** Offsets in their errors, so that all nuclei share one axis. */
export function offsetPlot(rows) {
  const known = rows.filter((row) => row.offset !== null);
  if (known.length === 0) return null;
  const width = 420;
  const height = 40 + known.length * 28;
  const reach = Math.max(4, d3.max(known, (row) => Math.abs(row.offset / row.error)) + 1);
  const x = d3.scaleLinear([-reach, reach], [62, width - 12]);
  const y = d3.scalePoint(known.map((row) => row.name), [18, height - 44]);
  const node = svg("svg", { id: "offset-plot", class: "small-plot", role: "img", "aria-label": "Offsets in units of their standard errors; the table holds the numbers" });
  const root = d3.select(node).attr("viewBox", `0 0 ${width} ${height}`).attr("width", width).attr("height", height);
  root.append("g").attr("class", "axis").attr("transform", `translate(0,${height - 28})`)
    .call(d3.axisBottom(x).ticks(7).tickSize(-(height - 36)).tickFormat((value) => d3.format("~g")(value).replace("-", "−")));
  root.append("text").attr("class", "axis-name").attr("text-anchor", "middle")
    .attr("x", (62 + width) / 2).attr("y", height - 2).text("offset in standard errors");
  root.append("line").attr("class", "zero").attr("x1", x(0)).attr("x2", x(0)).attr("y1", 8).attr("y2", height - 28);
  const lines = root.selectAll("g.offset").data(known).join("g")
    .attr("class", (row) => `offset${row.to_correct ? " significant" : ""}`)
    .attr("data-nucleus", (row) => row.name)
    .attr("transform", (row) => `translate(0,${y(row.name)})`);
  lines.append("text").attr("class", "axis-name").attr("x", 0).attr("y", 4).text((row) => row.name);
  for (const [name, errors] of [["wide", 2], ["narrow", 1]]) {
    lines.append("line").attr("class", name)
      .attr("x1", (row) => x(row.offset / row.error - errors)).attr("x2", (row) => x(row.offset / row.error + errors));
  }
  lines.append("circle").attr("cx", (row) => x(row.offset / row.error)).attr("r", 4.5);
  return node;
}

/** One row of bars for each nucleus; residues of `suspects` stand out. */
export function deviationPlot(residues, offsets, suspects) {
  const left = 40;
  const step = 9;
  const row = 74;
  const limit = 6;
  const width = left + step * residues.length + 10;
  const height = atoms.length * row + 26;
  const x = d3.scaleBand(residues.map((residue) => residue.resid), [left, width - 10]).padding(0.15);
  const node = svg("svg", { id: "deviation-plot", role: "img", "aria-label": `Deviations from the expected shifts along ${residues.length} residues, in spreads` });
  const root = d3.select(node).attr("viewBox", `0 0 ${width} ${height}`).attr("width", width).attr("height", height)
    .attr("style", "max-width: none");
  const marked = residues.filter((residue) => suspects.has(residue.resid));
  root.selectAll("rect.chosen").data(marked).join("rect").attr("class", "chosen")
    .attr("x", (residue) => x(residue.resid)).attr("width", x.bandwidth()).attr("y", 0).attr("height", height - 22);
  atoms.forEach((atom, place) => {
    const y = d3.scaleLinear([-limit, limit], [(place + 1) * row - 4, place * row + 6]).clamp(true);
    const group = root.append("g").attr("data-atom", atom);
    group.append("line").attr("class", "zero").attr("x1", left).attr("x2", width - 10).attr("y1", y(0)).attr("y2", y(0));
    group.append("text").attr("class", "axis-name").attr("x", 2).attr("y", y(0) + 4).text(atom);
    const bars = residues.map((residue) => ({ residue, value: deviationOf(residue, atom, offsets) }))
      .filter((bar) => bar.value !== null);
    group.selectAll("rect.shift").data(bars).join("rect")
      .attr("class", (bar) => `shift${Math.abs(bar.value) > 4 ? " outlier" : ""}`)
      .attr("opacity", (bar) => (bar.residue.settled ? 1 : 0.45))
      .attr("x", (bar) => x(bar.residue.resid)).attr("width", x.bandwidth())
      .attr("y", (bar) => Math.min(y(0), y(bar.value))).attr("height", (bar) => Math.max(0.5, Math.abs(y(bar.value) - y(0))))
      .on("pointerenter", (bar) => showTip([
        el("strong", { text: residueName(bar.residue) }),
        el("div", { text: `${atom} ${fixed(bar.residue.observed[atom], 2)} ppm, expected ${fixed(bar.residue.expected[atom], 2)} ± ${fixed(bar.residue.spread[atom], 2)}` }),
        el("div", { text: `${fixed(bar.value, 1)} spreads off` }),
      ], d3.event.clientX, d3.event.clientY))
      .on("pointerleave", hideTip);
  });
  const ticks = residues.filter((residue) => residue.resid % 10 === 0).map((residue) => residue.resid);
  root.append("g").attr("class", "axis residues").attr("transform", `translate(0,${height - 22})`)
    .call(d3.axisBottom(x).tickValues(ticks));
  return node;
}
