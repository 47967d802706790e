import { angleDifference, atoms, classOf, referenceChi1, rotamers, spreadBars, structureRuns } from "./model.js";
import { classOfMark, classShape } from "./marks.js";

/**
 * The tracks along the sequence. A track has a caption, a height in pixels and `draw(layer, scene)`,
 * which brings the marks in the d3 selection `layer` up to date. The scene holds the model, the
 * residues in view, the scale `x` of residue numbers, `step` (pixels a residue) and `left`, `right`.
 */

const captionSpace = 17;
const gap = 9;

function barWidth(step) {
  return Math.max(0.7, step > 4 ? step - 1 : step * 0.85);
}

function keyed(layer, selector, data, element) {
  return layer.selectAll(selector).data(data, (d) => d.key).join(element);
}

/** The mark of the reference: a dash that leaves the answer's own mark to be seen. */
function dash(step) {
  const half = Math.min(7, Math.max(1.2, step * 0.46));
  return `M${-half},-1H${half}V1H${-half}Z`;
}

function valueAxis(layer, y, values, scene, format = d3.format("d")) {
  const axis = d3.axisLeft(y).tickValues(values).tickSize(-(scene.right - scene.left)).tickPadding(5)
    .tickFormat((value) => format(value).replace("-", "−"));
  layer.selectAll("g.axis").data([0]).join((enter) => enter.insert("g", ":first-child"))
    .attr("class", "axis value").attr("transform", `translate(${scene.left},0)`).call(axis);
}

/** The part of a layer that the plot area clips. */
function marksOf(layer, scene) {
  return layer.selectAll("g.marks").data([0]).join("g")
    .attr("class", "marks").attr("clip-path", `url(#${scene.clip})`);
}

const letters = {
  id: "letters",
  caption: "Sequence and class",
  height: 27,
  draw(layer, scene) {
    const marks = marksOf(layer, scene);
    const data = scene.residues.map((residue) => ({ key: residue.resid, residue }));
    keyed(marks, "rect.cell", data, "rect")
      .attr("class", (d) => `cell class-${classOf(d.residue)}`)
      .attr("data-resid", (d) => d.key)
      .attr("x", (d) => scene.x(d.key - 0.5)).attr("width", Math.max(0.7, scene.step - (scene.step > 4 ? 0.6 : 0)))
      .attr("y", 18).attr("height", 8);
    const readable = scene.step >= 5.6;
    keyed(marks, "text.letter", readable ? data : [], "text")
      .attr("class", "letter").attr("font-size", Math.min(13, scene.step * 1.5))
      .attr("x", (d) => scene.x(d.key)).attr("y", 13)
      .text((d) => [...String(d.residue.resname)][0] ?? "?");
    // Without room for letters the class cells take the whole track.
    marks.selectAll("rect.cell").attr("y", readable ? 18 : 4).attr("height", readable ? 8 : 22);
  },
};

function arrowPath(x0, x1, middle, half) {
  const head = Math.min(9, (x1 - x0) * 0.6);
  const body = half * 0.6;
  return `M${x0},${middle - body}H${x1 - head}V${middle - half}L${x1},${middle}L${x1 - head},${middle + half}` +
    `V${middle + body}H${x0}Z`;
}

const structure = {
  id: "structure",
  caption: "Secondary structure, bars: confidence",
  height: 48,
  draw(layer, scene) {
    const y = d3.scaleLinear([0, 1], [48, 22]);
    valueAxis(layer, y, [0, 1], scene);
    const marks = marksOf(layer, scene);
    const [first, last] = scene.x.domain();
    const runs = structureRuns(scene.model.residues)
      .filter((run) => run.last >= first && run.first <= last)
      .map((run) => ({ ...run, key: `${run.state}${run.first}` }));
    keyed(marks, "path.run", runs, "path")
      .attr("class", (run) => `run structure-${run.state}`)
      .attr("d", (run) => {
        const x0 = scene.x(run.first - 0.5) + 0.5;
        const x1 = Math.max(x0 + 1, scene.x(run.last + 0.5) - 0.5);
        if (run.state === "E") return arrowPath(x0, x1, 9, 8);
        if (run.state === "H") {
          const r = Math.min(6, (x1 - x0) / 2);
          return `M${x0 + r},3H${x1 - r}A${r},6 0 0 1 ${x1 - r},15H${x0 + r}A${r},6 0 0 1 ${x0 + r},3Z`;
        }
        return `M${x0},8H${x1}V10H${x0}Z`;
      });
    const data = scene.residues.filter((residue) => residue.secondary_structure)
      .map((residue) => ({ key: residue.resid, call: residue.secondary_structure }));
    keyed(marks, "rect.confidence", data, "rect")
      .attr("class", (d) => `confidence structure-${d.call.state}${d.call.source === "sequence" ? " guessed" : ""}`)
      .attr("data-resid", (d) => d.key)
      .attr("x", (d) => scene.x(d.key) - barWidth(scene.step) / 2).attr("width", barWidth(scene.step))
      .attr("y", (d) => y(d.call.confidence)).attr("height", (d) => 48 - y(d.call.confidence));
  },
};

function angleTrack(angle, caption) {
  return {
    id: angle,
    caption,
    height: 108,
    draw(layer, scene) {
      const y = d3.scaleLinear([-180, 180], [108, 0]);
      valueAxis(layer, y, [-180, -90, 0, 90, 180], scene);
      const marks = marksOf(layer, scene);
      const data = scene.residues.filter((residue) => residue[angle] !== null)
        .map((residue) => ({ key: residue.resid, residue, angle: residue[angle] }));
      const bars = data.flatMap((d) => spreadBars(d.angle, d.residue[`${angle}_spread`])
        .map((bar, part) => ({ key: `${d.key} ${part}`, resid: d.key, bar, residue: d.residue })));
      keyed(marks, "line.spread", bars, "line")
        .attr("class", (d) => `spread class-${classOf(d.residue)}`)
        .attr("x1", (d) => scene.x(d.resid)).attr("x2", (d) => scene.x(d.resid))
        .attr("y1", (d) => y(d.bar[0])).attr("y2", (d) => y(d.bar[1]))
        .attr("stroke-width", Math.min(3, Math.max(0.8, scene.step * 0.28)));
      const size = Math.min(60, Math.max(9, scene.step * 4));
      keyed(marks, "path.mark", data, "path")
        .attr("class", (d) => classOfMark(d.residue)).attr("data-resid", (d) => d.key)
        .attr("d", (d) => classShape(classOf(d.residue), size))
        .attr("transform", (d) => `translate(${scene.x(d.key)},${y(d.angle)})`);
      const references = scene.residues.filter((residue) => (residue.reference?.[angle] ?? null) !== null)
        .map((residue) => ({ key: residue.resid, angle: residue.reference[angle] }));
      keyed(marks, "path.reference", references, "path")
        .attr("class", "reference").attr("data-resid", (d) => d.key)
        .attr("d", dash(scene.step))
        .attr("transform", (d) => `translate(${scene.x(d.key)},${y(d.angle)})`);
    },
  };
}

/** The rotamer that an angle (degrees) lies in. */
function rotamerOf(angle) {
  return rotamers.reduce((best, one, place) => {
    const centre = [-60, 60, 180][place];
    const distance = Math.abs(angleDifference(angle, centre));
    return distance < best.distance ? { distance, key: one.key } : best;
  }, { distance: Infinity, key: null }).key;
}

const chi1 = {
  id: "chi1",
  caption: "χ1 rotamer probabilities, full colour: predicted rotamer",
  height: 58,
  draw(layer, scene) {
    const y = d3.scaleLinear([0, 1], [58, 8]);
    valueAxis(layer, y, [0, 1], scene);
    const marks = marksOf(layer, scene);
    const parts = [];
    const references = [];
    for (const residue of scene.residues) {
      const call = residue.chi1;
      if (!call || call.g_minus === null) continue;
      const angle = referenceChi1(residue);
      const observed = angle === null ? null : rotamerOf(angle);
      let sum = 0;
      for (const { key, word } of rotamers) {
        const part = { key: `${residue.resid} ${word}`, resid: residue.resid, word, low: sum, high: sum + call[key] };
        part.called = call.rotamer === word;
        parts.push(part);
        if (observed === key) references.push({ key: residue.resid, at: sum + call[key] / 2 });
        sum += call[key];
      }
    }
    const width = barWidth(scene.step);
    const names = { "g-": "gm", "g+": "gp", t: "t" };
    keyed(marks, "rect.rotamer", parts, "rect")
      .attr("class", (d) => `rotamer rotamer-${names[d.word]}${d.called ? " called" : ""}`)
      .attr("data-resid", (d) => d.resid)
      .attr("x", (d) => scene.x(d.resid) - width / 2).attr("width", width)
      .attr("y", (d) => y(d.high)).attr("height", (d) => Math.max(0, y(d.low) - y(d.high)));
    keyed(marks, "path.reference", references, "path")
      .attr("class", "reference").attr("data-resid", (d) => d.key)
      .attr("d", dash(scene.step))
      .attr("transform", (d) => `translate(${scene.x(d.key)},${y(d.at)})`);
  },
};

const order = {
  id: "s2",
  caption: "Order parameter S²",
  height: 58,
  draw(layer, scene) {
    const y = d3.scaleLinear([0, 1], [58, 4]);
    valueAxis(layer, y, [0, 0.5, 1], scene, d3.format("~g"));
    const marks = marksOf(layer, scene);
    const limit = scene.model.results.settings.s2_threshold;
    marks.selectAll("line.limit").data(limit === null || limit === undefined ? [] : [limit]).join("line")
      .attr("class", "limit").attr("x1", scene.left).attr("x2", scene.right)
      .attr("y1", (d) => y(d)).attr("y2", (d) => y(d));
    const line = d3.line().defined((d) => d.s2 !== null).x((d) => scene.x(d.resid)).y((d) => y(d.s2));
    marks.selectAll("path.curve").data([scene.residues]).join("path").attr("class", "curve").attr("d", line);
    const data = scene.residues.filter((residue) => residue.s2 !== null).map((residue) => ({ key: residue.resid, residue }));
    keyed(marks, "circle.order", data, "circle")
      .attr("class", (d) => `order${limit !== null && d.residue.s2 < limit ? " mobile" : ""}`)
      .attr("data-resid", (d) => d.key)
      .attr("cx", (d) => scene.x(d.key)).attr("cy", (d) => y(d.residue.s2))
      .attr("r", Math.min(2.8, Math.max(1, scene.step * 0.3)));
  },
};

function shiftTrack(atom) {
  return {
    id: `shift-${atom}`,
    caption: `${atom} secondary shift, ppm`,
    height: 52,
    draw(layer, scene) {
      const values = scene.model.residues.map((residue) => Math.abs(residue.secondary_shifts[atom] ?? 0));
      const widest = d3.max(values) || 1;
      const y = d3.scaleLinear([-1.2 * widest, 1.2 * widest], [52, 0]);
      const tick = d3.ticks(0, widest, 2).filter((value) => value > 0).pop() ?? widest;
      valueAxis(layer, y, [-tick, 0, tick], scene, d3.format("~g"));
      const marks = marksOf(layer, scene);
      const width = barWidth(scene.step);
      const data = scene.residues.filter((residue) => (residue.secondary_shifts[atom] ?? null) !== null)
        .map((residue) => ({
          key: residue.resid,
          value: residue.secondary_shifts[atom],
          outlier: scene.model.outlier(residue.resid, atom),
        }));
      keyed(marks, "rect.shift", data, "rect")
        .attr("class", (d) => `shift${d.outlier ? " outlier" : ""}`)
        .attr("data-resid", (d) => d.key)
        .attr("x", (d) => scene.x(d.key) - width / 2).attr("width", width)
        .attr("y", (d) => y(Math.max(0, d.value))).attr("height", (d) => Math.abs(y(d.value) - y(0)));
      const shape = (d) => d3.symbol().type(d.outlier.serious ? d3.symbolCross : d3.symbolTriangle).size(30)();
      keyed(marks, "path.outlier-sign", data.filter((d) => d.outlier), "path")
        .attr("class", "outlier-sign").attr("data-resid", (d) => d.key).attr("d", shape)
        .attr("transform", (d) => {
          const end = y(d.value) + (d.value > 0 ? -5 : 5);
          return `translate(${scene.x(d.key)},${end})${d.value < 0 ? " rotate(180)" : ""}`;
        });
    },
  };
}

export const tracks = [
  letters,
  structure,
  angleTrack("phi", "φ and its spread, degrees"),
  angleTrack("psi", "ψ and its spread, degrees"),
  chi1,
  order,
  ...atoms.map(shiftTrack),
];

/** Places of the tracks from the top down, and the height of all with both axes. */
export function trackLayout() {
  let y = 24;
  const places = tracks.map((track) => {
    const place = { track, top: y + captionSpace };
    y += captionSpace + track.height + gap;
    return place;
  });
  return { places, height: y + 22 };
}

/**
 * Draws all tracks of the residues of `domain` ([first, last] by number) into an svg node that is
 * `width` pixels wide. Returns the scale of residue numbers.
 */
export function drawTracks(node, model, domain, width) {
  const margin = { left: 36, right: 8 };
  const { places, height } = trackLayout();
  const left = margin.left;
  const right = Math.max(left + 10, width - margin.right);
  const x = d3.scaleLinear([domain[0] - 0.5, domain[1] + 0.5], [left, right]);
  const clip = `${node.id}-clip`;
  const scene = {
    model, x, left, right, clip,
    step: (right - left) / (domain[1] - domain[0] + 1),
    residues: model.residues.filter((r) => r.resid >= domain[0] - 1 && r.resid <= domain[1] + 1),
  };
  const root = d3.select(node).attr("viewBox", `0 0 ${width} ${height}`).attr("width", width).attr("height", height);
  root.selectAll("defs").data([0]).join("defs").selectAll("clipPath").data([0]).join("clipPath")
    .attr("id", clip).selectAll("rect").data([0]).join("rect")
    .attr("x", left).attr("y", -12).attr("width", right - left).attr("height", 200);

  const span = domain[1] - domain[0];
  const count = Math.max(2, Math.min(span, (right - left) / 70));
  const values = x.ticks(count).filter((value) => Number.isInteger(value));
  const axes = [
    { name: "top", make: d3.axisTop(x), y: 22 },
    { name: "bottom", make: d3.axisBottom(x), y: height - 22 },
  ];
  root.selectAll("g.grid").data([0]).join((enter) => enter.insert("g", "g")).attr("class", "grid")
    .selectAll("line").data(values).join("line")
    .attr("x1", (d) => x(d)).attr("x2", (d) => x(d)).attr("y1", 24).attr("y2", height - 24);
  root.selectAll("g.residues").data(axes).join("g").attr("class", "axis residues")
    .attr("transform", (d) => `translate(0,${d.y})`)
    .each(function draw(d) {
      d3.select(this).call(d.make.tickValues(values).tickFormat((value) => String(value).replace("-", "−")).tickSizeOuter(0));
    });
  root.selectAll("g.track").data(places, (d) => d.track.id).join("g")
    .attr("class", "track").attr("data-track", (d) => d.track.id)
    .attr("transform", (d) => `translate(0,${d.top})`)
    .each(function draw(d) {
      const layer = d3.select(this);
      layer.selectAll("text.caption").data([0]).join("text")
        .attr("class", "caption").attr("x", left).attr("y", -5).text(d.track.caption);
      d.track.draw(layer, scene);
    });
  return x;
}
