import { angleDifference, classOf, residueName } from "./model.js";
import { classBadge, classFilter, classOfMark, classShape, referenceShape } from "./marks.js";
import { anglePlane } from "./map_plot.js";
import { fixed } from "./words.js";
import { residueTip } from "./tracks.js";
import { el, hideTip, showTip, svg } from "./dom.js";

/** All residues in one phi/psi plane, by class. */

/** Ends of the shortest way between two points of the periodic plane, within it or a little beyond. */
function shortWay(from, to) {
  const turn = (a, b) => (b - a > 180 ? b - 360 : b - a < -180 ? b + 360 : b);
  return { phi: turn(from.phi, to.phi), psi: turn(from.psi, to.psi) };
}

function shortTable(id, caption, heads, rows) {
  return el("div", { class: "table-frame" }, el("table", { id }, el("caption", { text: caption }),
    el("thead", {}, el("tr", {}, heads.map((text, place) => el("th", { scope: "col", class: place > 1 ? "number" : null, text })))),
    el("tbody", {}, rows.map((cells) => el("tr", {}, cells.map((cell, place) => el("td", { class: place > 1 ? "number" : null }, cell)))))));
}

/** Residues that deserve a look: far from the reference, and positive phi where it is rare. */
function lookAt(model, predicted, select) {
  const link = (residue) => el("button", { type: "button", class: "link", onclick: () => select(residue.resid), text: residueName(residue) });
  const trusted = predicted.filter((residue) => !["Warn", "Dyn", "None"].includes(classOf(residue)));
  const parts = [];
  if (model.hasReference) {
    const far = trusted.filter((r) => (r.reference?.phi ?? null) !== null && (r.reference?.psi ?? null) !== null)
      .map((residue) => ({
        residue,
        phi: Math.abs(angleDifference(residue.phi, residue.reference.phi)),
        psi: Math.abs(angleDifference(residue.psi, residue.reference.psi)),
      }))
      .sort((a, b) => Math.hypot(b.phi, b.psi) - Math.hypot(a.phi, a.psi)).slice(0, 7);
    parts.push(shortTable("farthest", "Farthest from the reference, of the trusted classes",
      ["Residue", "Class", "off in φ", "off in ψ"],
      far.map((one) => [link(one.residue), classBadge(classOf(one.residue)), fixed(one.phi, 0, "°"), fixed(one.psi, 0, "°")])));
  }
  const rare = trusted.filter((residue) => residue.phi > 0 && !["G", "N", "D"].includes(String(residue.resname).toUpperCase()));
  parts.push(rare.length === 0
    ? el("p", { class: "hint", text: "No trusted residue but glycine, asparagine and aspartate has a positive φ." })
    : shortTable("positive-phi", "Positive φ, other than glycine, asparagine and aspartate", ["Residue", "Class", "φ", "ψ"],
      rare.slice(0, 12).map((residue) => [link(residue), classBadge(classOf(residue)), fixed(residue.phi, 0, "°"), fixed(residue.psi, 0, "°")])));
  return el("div", { class: "look-at" }, parts);
}

export function ramachandran(container, model, select) {
  const predicted = model.residues.filter((residue) => residue.phi !== null && residue.psi !== null);
  const counts = {};
  for (const residue of predicted) counts[classOf(residue)] = (counts[classOf(residue)] ?? 0) + 1;
  const node = svg("svg", { id: "ramachandran-plot", class: "plane", role: "img", "aria-label": `Ramachandran plot of ${predicted.length} residues; the table of all residues holds the angles` });
  const plane = anglePlane(node, 460);
  const { x, y, front } = plane;

  const pairs = predicted.filter((r) => (r.reference?.phi ?? null) !== null && (r.reference?.psi ?? null) !== null);
  const links = front.append("g").attr("class", "links").attr("hidden", "");
  links.selectAll("line").data(pairs).join("line").attr("class", "link")
    .attr("x1", (r) => x(r.phi)).attr("y1", (r) => y(r.psi))
    .attr("x2", (r) => x(shortWay(r, r.reference).phi)).attr("y2", (r) => y(shortWay(r, r.reference).psi));
  links.selectAll("path").data(pairs).join("path").attr("class", "reference").attr("d", referenceShape(26))
    .attr("transform", (r) => `translate(${x(r.reference.phi)},${y(r.reference.psi)})`);

  const marks = front.selectAll("path.mark").data(predicted).join("path")
    .attr("class", classOfMark).attr("data-resid", (residue) => residue.resid)
    .attr("d", (residue) => classShape(classOf(residue), 46))
    .attr("transform", (residue) => `translate(${x(residue.phi)},${y(residue.psi)})`)
    .on("pointerenter", (residue) => showTip(residueTip(model, residue), d3.event.clientX, d3.event.clientY))
    .on("pointerleave", hideTip)
    .on("click", (residue) => { hideTip(); select(residue.resid); });
  marks.append("title").text(residueName);

  const filter = classFilter(counts, "Classes shown", (chosen) => {
    const show = (residue) => (chosen.has(classOf(residue)) ? null : "none");
    marks.style("display", show);
    links.selectAll("*").style("display", show);
  });
  container.append(el("div", { class: "toolbar" }, filter));
  if (pairs.length > 0) {
    container.append(el("label", { class: "check" },
      el("input", { type: "checkbox", id: "show-links", onchange: (event) => links.attr("hidden", event.target.checked ? null : "") }),
      "join each residue with its reference"));
  }
  container.append(el("div", { class: "columns" }, el("div", { class: "map-frame" }, node), lookAt(model, predicted, select)));
}
