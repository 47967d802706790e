import { classOf, residueName } from "./model.js";
import { classShape, referenceShape } from "./marks.js";
import { fixed, withSpread } from "./words.js";
import { el, hideTip, showTip, svg } from "./dom.js";

/** The phi/psi plane: axes for both plots of it, and a residue's map with its evidence. */

const boxes = 18;
const boxWidth = 360 / boxes;

/** Draws the frame of a phi/psi plane of `size` pixels; returns its layers and scales. */
export function anglePlane(node, size) {
  const margin = { left: 44, right: 16, top: 8, bottom: 36 };
  const x = d3.scaleLinear([-180, 180], [margin.left, size - margin.right]);
  const y = d3.scaleLinear([-180, 180], [size - margin.bottom, margin.top]);
  const ticks = d3.range(-180, 181, 60);
  const label = (value) => String(value).replace("-", "−");
  const root = d3.select(node).attr("viewBox", `0 0 ${size} ${size}`).attr("width", size).attr("height", size);
  const clip = `${node.id}-clip`;
  root.append("clipPath").attr("id", clip).append("rect").attr("x", x(-180)).attr("y", y(180))
    .attr("width", x(180) - x(-180)).attr("height", y(-180) - y(180));
  const back = root.append("g").attr("class", "back");
  root.append("g").attr("class", "axis plane").attr("transform", `translate(0,${size - margin.bottom})`)
    .call(d3.axisBottom(x).tickValues(ticks).tickFormat(label).tickSize(-(size - margin.top - margin.bottom)).tickPadding(6));
  root.append("g").attr("class", "axis plane").attr("transform", `translate(${margin.left},0)`)
    .call(d3.axisLeft(y).tickValues(ticks).tickFormat(label).tickSize(-(size - margin.left - margin.right)).tickPadding(6));
  root.append("text").attr("class", "axis-name").attr("text-anchor", "middle")
    .attr("x", (x(-180) + x(180)) / 2).attr("y", size - 4).text("φ, degrees");
  root.append("text").attr("class", "axis-name").attr("text-anchor", "middle")
    .attr("transform", `translate(11,${(y(-180) + y(180)) / 2}) rotate(-90)`).text("ψ, degrees");
  const front = root.append("g").attr("class", "front").attr("clip-path", `url(#${clip})`);
  return { root, back, front, x, y };
}

function boxOf(index) {
  return { phi: -180 + Math.floor(index / boxes) * boxWidth, psi: -180 + (index % boxes) * boxWidth };
}

/** Path along the outer sides of a set of boxes of the periodic grid. */
function outline(members, x, y) {
  const inside = new Set(members);
  const has = (row, column) => inside.has(((row + boxes) % boxes) * boxes + ((column + boxes) % boxes));
  let path = "";
  for (const index of members) {
    const row = Math.floor(index / boxes);
    const column = index % boxes;
    const { phi, psi } = boxOf(index);
    const [x0, x1, y0, y1] = [x(phi), x(phi + boxWidth), y(psi), y(psi + boxWidth)];
    if (!has(row - 1, column)) path += `M${x0},${y0}V${y1}`;
    if (!has(row + 1, column)) path += `M${x1},${y0}V${y1}`;
    if (!has(row, column - 1)) path += `M${x0},${y0}H${x1}`;
    if (!has(row, column + 1)) path += `M${x0},${y1}H${x1}`;
  }
  return path;
}

/** Rows of a residue's matches, best first. */
export function matchRows(residue) {
  const matches = residue.matches;
  if (!matches) return [];
  return matches.source.map((source, place) => ({
    rank: place + 1,
    source,
    resid: matches.resid[place],
    window: matches.window[place],
    phi: matches.phi[place],
    psi: matches.psi[place],
    chi1: matches.chi1[place],
    score: matches.score[place],
    used: matches.used[place],
  }));
}

function drawHeat(plane, residue) {
  const values = residue.map;
  const top = d3.max(values) || 1;
  const shade = d3.scalePow([0, top], [0, 1]).exponent(0.7);
  const { x, y } = plane;
  plane.back.selectAll("rect.box").data(values).join("rect")
    .attr("class", "box").attr("data-box", (_, index) => index)
    .attr("x", (_, index) => x(boxOf(index).phi)).attr("y", (_, index) => y(boxOf(index).psi + boxWidth))
    .attr("width", x(boxWidth) - x(0) + 0.3).attr("height", y(0) - y(boxWidth) + 0.3)
    .attr("fill-opacity", (value) => (value > 0 ? shade(value) : 0))
    .on("pointermove", (value, index) => {
      const { phi, psi } = boxOf(index);
      showTip([
        el("div", { text: `φ ${phi} to ${phi + boxWidth}, ψ ${psi} to ${psi + boxWidth}` }),
        el("div", { text: `map ${fixed(value, 3)}` }),
      ], d3.event.clientX, d3.event.clientY);
    })
    .on("pointerleave", hideTip);
}

/** The map of a residue as a picture. `marked(rank or null)` is called when a match is pointed at. */
export function mapPlot(residue, size, marked) {
  const node = svg("svg", {
    id: "map", class: "plane", role: "img",
    "aria-label": `Phi/psi map of ${residueName(residue)}: ${withSpread(residue.phi, residue.phi_spread)}, ` +
      `${withSpread(residue.psi, residue.psi_spread)}; the tables below hold the matches`,
  });
  const plane = anglePlane(node, size);
  const { x, y, front } = plane;
  if (residue.map) drawHeat(plane, residue);
  plane.back.selectAll("path.cluster").data(residue.clusters ?? []).join("path")
    .attr("class", "cluster").attr("d", (cluster) => outline(cluster.boxes, x, y));

  if (residue.phi !== null && residue.psi !== null) {
    const copies = [-360, 0, 360].flatMap((phi) => [-360, 0, 360].map((psi) => [phi, psi]));
    // Twice: a light ring below keeps the coloured one apart from the map.
    const rings = ["halo", `spread class-${classOf(residue)}`]
      .flatMap((look) => copies.map(([phi, psi]) => ({ look, phi: residue.phi + phi, psi: residue.psi + psi })));
    front.selectAll("ellipse").data(rings).join("ellipse")
      .attr("class", (ring) => ring.look)
      .attr("cx", (ring) => x(ring.phi)).attr("cy", (ring) => y(ring.psi))
      .attr("rx", x(residue.phi_spread ?? 0) - x(0)).attr("ry", y(0) - y(residue.psi_spread ?? 0));
  }
  const placed = residue.models.filter((one) => one.phi !== null && one.psi !== null);
  front.selectAll("path.model").data(placed).join("path")
    .attr("class", "model").attr("data-model", (one) => one.place)
    .attr("d", d3.symbol().type(d3.symbolCross).size(30)())
    .attr("transform", (one) => `translate(${x(one.phi)},${y(one.psi)}) rotate(45)`)
    .on("pointerenter", (one) => showTip([
      el("div", { text: `Model ${one.place + 1}: ${one.name}` }),
      el("div", { text: `φ ${fixed(one.phi, 0)}, ψ ${fixed(one.psi, 0)}` }),
    ], d3.event.clientX, d3.event.clientY))
    .on("pointerleave", hideTip);
  const rows = matchRows(residue).filter((row) => row.phi !== null && row.psi !== null);
  front.selectAll("circle.match").data(rows).join("circle")
    .attr("class", (row) => `match ${row.used ? "used" : "left-out"}`)
    .attr("data-rank", (row) => row.rank)
    .attr("cx", (row) => x(row.phi)).attr("cy", (row) => y(row.psi)).attr("r", 3.6)
    .on("pointerenter", (row) => {
      marked(row.rank);
      showTip([
        el("div", { text: `Match ${row.rank}: ${row.source} ${row.resid}` }),
        el("div", { text: `φ ${fixed(row.phi, 0)}, ψ ${fixed(row.psi, 0)}, score ${fixed(row.score, 3)}` }),
        el("div", { text: row.used ? "in the answer" : "left out of the answer" }),
      ], d3.event.clientX, d3.event.clientY);
    })
    .on("pointerleave", () => { marked(null); hideTip(); });
  if (residue.phi !== null && residue.psi !== null) {
    front.append("path").attr("class", `mark answer class-${classOf(residue)}`)
      .attr("d", classShape(classOf(residue), 150)).attr("transform", `translate(${x(residue.phi)},${y(residue.psi)})`);
  }
  const reference = residue.reference;
  if (reference && reference.phi !== null && reference.psi !== null) {
    front.append("path").attr("class", "reference").attr("d", referenceShape(70))
      .attr("transform", `translate(${x(reference.phi)},${y(reference.psi)})`);
  }
  return node;
}
