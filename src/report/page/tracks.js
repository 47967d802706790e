import { atoms, classOf, residueName, rotamers, structures } from "./model.js";
import { fixed, residueSentence, withSpread } from "./words.js";
import { classBadge } from "./marks.js";
import { drawTracks, trackLayout } from "./track_kinds.js";
import { byId, el, hideTip, showTip, svg } from "./dom.js";

/** The tracks along the sequence with zoom, cursor and keys. */

function tipRow(name, value) {
  return [el("dt", { text: name }), el("dd", { text: value })];
}

/** What the tip says of a residue. */
export function residueTip(model, residue) {
  const rows = [];
  if (residue.phi !== null) {
    rows.push(tipRow("φ", withSpread(residue.phi, residue.phi_spread)));
    rows.push(tipRow("ψ", withSpread(residue.psi, residue.psi_spread)));
  }
  if (residue.reference && (residue.reference.phi !== null || residue.reference.psi !== null)) {
    rows.push(tipRow("reference", `${fixed(residue.reference.phi, 0)}°, ${fixed(residue.reference.psi, 0)}°`));
  }
  const structure = residue.secondary_structure;
  if (structure) rows.push(tipRow("structure", `${structures[structure.state] ?? structure.state}, ${fixed(structure.confidence, 2)}`));
  const chi1 = residue.chi1;
  if (chi1 && chi1.g_minus !== null) {
    const shares = rotamers.map((one) => `${one.label} ${fixed(chi1[one.key], 2)}`).join(", ");
    rows.push(tipRow("χ1", chi1.rotamer ? `${chi1.rotamer.replace("-", "−")} (${shares})` : shares));
  }
  if (residue.s2 !== null) rows.push(tipRow("S²", fixed(residue.s2, 2)));
  const wrong = atoms.map((atom) => model.outlier(residue.resid, atom)).filter(Boolean);
  for (const outlier of wrong) {
    rows.push(tipRow(`${outlier.atom} outlier`, `${fixed(outlier.secondary_shift, 2)} ppm, limit ${fixed(outlier.limit, 2)}`));
  }
  return [
    el("div", { class: "tip-head" }, el("strong", { text: residueName(residue) }), classBadge(classOf(residue))),
    el("dl", {}, rows),
  ];
}

export class TrackView {
  /** `select(resid)` is called when the user opens a residue. */
  constructor(container, model, select) {
    this.model = model;
    this.select = select;
    const residues = model.residues;
    this.first = residues[0].resid;
    this.last = residues[residues.length - 1].resid;
    this.domain = [this.first, this.last];
    this.cursor = this.first;
    this.chosen = null;
    this.container = container;
    this.build();
    new ResizeObserver(() => this.resize()).observe(container);
    this.resize();
  }

  build() {
    const button = (text, label, action) => el("button", { type: "button", "aria-label": label, title: label, onclick: action, text });
    this.range = el("output", { class: "range" });
    this.overview = svg("svg", { id: "overview", class: "overview", "aria-hidden": "true" });
    this.main = svg("svg", { id: "tracks-plot", class: "tracks", "aria-hidden": "true" });
    this.frame = el("div", {
      id: "tracks", class: "plot-frame", tabindex: 0, role: "slider", "aria-label": "Residue along the sequence",
      "aria-valuemin": this.first, "aria-valuemax": this.last, "aria-describedby": "tracks-keys",
    }, this.main);
    this.container.append(
      el("div", { class: "toolbar" },
        button("+", "Zoom in", () => this.zoomBy(2)),
        button("−", "Zoom out", () => this.zoomBy(0.5)),
        button("All", "Show all residues", () => this.setDomain(this.first, this.last)),
        this.range),
      this.overview, this.frame,
      el("p", { class: "hint", id: "tracks-keys" },
        "Drag in the strip above to zoom, drag the tracks to move, Ctrl and wheel or pinch to zoom. ",
        "Keys: arrows move the cursor, + and − zoom, 0 shows all, Enter opens the residue."));

    this.brush = d3.brushX().on("brush end", () => this.brushed());
    this.zoom = d3.zoom()
      .filter(() => (d3.event.type === "wheel" ? d3.event.ctrlKey || d3.event.metaKey : !d3.event.button))
      .on("zoom", () => this.zoomed());
    d3.select(this.main).call(this.zoom).on("dblclick.zoom", null);
    this.main.addEventListener("pointermove", (event) => this.pointed(event));
    this.main.addEventListener("pointerleave", () => { hideTip(); this.drawCursor(null); });
    this.main.addEventListener("click", (event) => {
      const residue = this.residueAt(event);
      if (residue) {
        hideTip();
        this.select(residue.resid);
      }
    });
    this.frame.addEventListener("keydown", (event) => this.key(event));
    this.frame.addEventListener("focus", () => this.moveCursor(this.cursor));
    this.frame.addEventListener("blur", () => { hideTip(); this.drawCursor(null); });
    this.nameCursor();
  }

  resize() {
    const width = Math.floor(this.container.clientWidth);
    if (width === 0 || width === this.width) return;
    this.width = width;
    this.drawOverview();
    const { height } = trackLayout();
    this.zoom.extent([[36, 0], [width - 8, height]]).translateExtent([[36, 0], [width - 8, height]])
      .scaleExtent([1, Math.max(1, (this.last - this.first + 1) / 8)]);
    this.setDomain(...this.domain);
  }

  drawOverview() {
    const height = 30;
    const x = d3.scaleLinear([this.first - 0.5, this.last + 0.5], [36, this.width - 8]);
    this.whole = x;
    const root = d3.select(this.overview).attr("viewBox", `0 0 ${this.width} ${height}`)
      .attr("width", this.width).attr("height", height);
    root.selectAll("rect.cell").data(this.model.residues).join("rect")
      .attr("class", (residue) => `cell class-${classOf(residue)}`)
      .attr("x", (residue) => x(residue.resid - 0.5)).attr("width", x(1) - x(0) + 0.3)
      .attr("y", 8).attr("height", 14);
    this.brush.extent([[36, 2], [this.width - 8, height - 2]]);
    root.selectAll("g.brush").data([0]).join("g").attr("class", "brush").call(this.brush);
  }

  draw() {
    this.x = drawTracks(this.main, this.model, this.domain, this.width);
    const [first, last] = this.domain.map((value) => Math.round(value));
    this.range.textContent = `Residues ${first} to ${last} of ${this.first} to ${this.last}`;
    this.drawChosen();
    this.drawCursor(this.shown ?? null);
  }

  /** Shows the residues from `first` to `last`, at least eight of them. */
  setDomain(first, last) {
    if (!this.width) return;
    const least = Math.min(8, this.last - this.first + 1);
    let low = Math.max(this.first, Math.min(first, last));
    let high = Math.min(this.last, Math.max(first, last));
    if (high - low + 1 < least) {
      low = Math.max(this.first, Math.min((low + high) / 2 - (least - 1) / 2, this.last - least + 1));
      high = low + least - 1;
    }
    this.domain = [low, high];
    const k = (this.last - this.first + 1) / (high - low + 1);
    const transform = d3.zoomIdentity.translate(36 - this.whole(low - 0.5) * k, 0).scale(k);
    this.silent = true;
    d3.select(this.main).call(this.zoom.transform, transform);
    this.moveBrush();
    this.silent = false;
    this.draw();
  }

  moveBrush() {
    const all = this.domain[0] <= this.first && this.domain[1] >= this.last;
    d3.select(this.overview).select("g.brush")
      .call(this.brush.move, all ? null : [this.whole(this.domain[0] - 0.5), this.whole(this.domain[1] + 0.5)]);
  }

  brushed() {
    if (this.silent || !d3.event.sourceEvent) return;
    const selection = d3.event.selection;
    if (selection === null) {
      if (d3.event.type === "end") this.setDomain(this.first, this.last);
      return;
    }
    if (d3.event.type === "end") {
      this.setDomain(this.whole.invert(selection[0]) + 0.5, this.whole.invert(selection[1]) - 0.5);
    }
  }

  zoomed() {
    if (this.silent) return;
    const seen = d3.event.transform.rescaleX(this.whole).domain();
    this.domain = [Math.max(this.first, seen[0] + 0.5), Math.min(this.last, seen[1] - 0.5)];
    cancelAnimationFrame(this.frameRequest);
    this.frameRequest = requestAnimationFrame(() => {
      this.silent = true;
      this.moveBrush();
      this.silent = false;
      this.draw();
    });
  }

  zoomBy(factor, centre = this.chosen ?? (this.domain[0] + this.domain[1]) / 2) {
    const half = (this.domain[1] - this.domain[0] + 1) / factor / 2;
    const middle = Math.max(this.first - 0.5 + half, Math.min(this.last + 0.5 - half, centre));
    this.setDomain(middle - half + 0.5, middle + half - 0.5);
  }

  residueAt(event) {
    const box = this.main.getBoundingClientRect();
    const place = ((event.clientX - box.left) / box.width) * this.width;
    if (place < this.x.range()[0]) return null;
    return this.model.at(Math.round(this.x.invert(place))) ?? null;
  }

  pointed(event) {
    const residue = this.residueAt(event);
    this.drawCursor(residue?.resid ?? null);
    if (residue === null || event.buttons) hideTip();
    else showTip(residueTip(this.model, residue), event.clientX, event.clientY);
  }

  band(name, resid) {
    const { height } = trackLayout();
    d3.select(this.main).selectAll(`rect.${name}`).data(resid === null ? [] : [resid]).join((enter) => enter.insert("rect", "g"))
      .attr("class", name).attr("x", (d) => this.x(d - 0.5)).attr("width", Math.max(1.5, this.x(1) - this.x(0)))
      .attr("y", 24).attr("height", height - 46);
  }

  drawCursor(resid) {
    this.shown = resid;
    this.band("cursor", resid !== null && this.inView(resid) ? resid : null);
  }

  drawChosen() {
    this.band("chosen", this.chosen !== null && this.inView(this.chosen) ? this.chosen : null);
  }

  inView(resid) {
    return resid >= this.domain[0] - 0.5 && resid <= this.domain[1] + 0.5;
  }

  /** Marks the residue whose sheet is open; null for none. */
  choose(resid) {
    this.chosen = resid;
    if (resid !== null) {
      this.cursor = resid;
      this.nameCursor();
      if (!this.inView(resid)) this.bringIntoView(resid);
    }
    this.drawChosen();
  }

  bringIntoView(resid) {
    const span = this.domain[1] - this.domain[0];
    const low = Math.max(this.first, Math.min(resid - span / 2, this.last - span));
    this.setDomain(low, low + span);
  }

  nameCursor() {
    const residue = this.model.at(this.cursor);
    this.frame.setAttribute("aria-valuenow", this.cursor);
    this.frame.setAttribute("aria-valuetext", residueSentence(residue));
  }

  moveCursor(resid) {
    const place = Math.max(0, Math.min(this.model.residues.length - 1, this.model.placeOf(resid)));
    const residue = this.model.residues[place];
    this.cursor = residue.resid;
    this.nameCursor();
    if (!this.inView(this.cursor)) this.bringIntoView(this.cursor);
    this.drawCursor(this.cursor);
    const box = this.main.getBoundingClientRect();
    const top = Math.max(box.top + 40, 60);
    showTip(residueTip(this.model, residue), box.left + this.x(this.cursor) * (box.width / this.width), top);
  }

  step(by) {
    const place = this.model.placeOf(this.cursor) + by;
    const residues = this.model.residues;
    this.moveCursor(residues[Math.max(0, Math.min(residues.length - 1, place))].resid);
  }

  key(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const actions = {
      ArrowRight: () => this.step(1), ArrowLeft: () => this.step(-1),
      ArrowUp: () => this.step(1), ArrowDown: () => this.step(-1),
      PageUp: () => this.step(10), PageDown: () => this.step(-10),
      Home: () => this.moveCursor(this.first), End: () => this.moveCursor(this.last),
      "+": () => this.zoomBy(2, this.cursor), "=": () => this.zoomBy(2, this.cursor),
      "-": () => this.zoomBy(0.5, this.cursor), 0: () => this.setDomain(this.first, this.last),
      Enter: () => { hideTip(); this.select(this.cursor); }, " ": () => { hideTip(); this.select(this.cursor); },
      Escape: () => hideTip(),
    };
    const action = actions[event.key];
    if (action) {
      action();
      event.preventDefault();
    }
  }
}

/** Tracks for paper: all residues, in even rows of at most `most` residues. */
export function printTracks(container, model, most = 90, width = 780) {
  const residues = model.residues;
  const rows = Math.max(1, Math.ceil(residues.length / most));
  const size = Math.ceil(residues.length / rows);
  const pictures = [];
  for (let row = 0; row < rows; row += 1) {
    const first = residues[0].resid + row * size;
    const last = Math.min(first + size - 1, residues[residues.length - 1].resid);
    if (first > last) break;
    const node = svg("svg", { id: `print-tracks-${row}`, class: "tracks", role: "img", "aria-label": `Residues ${first} to ${last}` });
    // Rows have one scale: a short last row ends early.
    drawTracks(node, model, [first, first + size - 1], width);
    pictures.push(node);
  }
  container.replaceChildren(...pictures);
}

export function clearPrintTracks() {
  byId("print-tracks").replaceChildren();
}
