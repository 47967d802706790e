import {
  angleDifference, atoms, classMeaning, classOf, referenceChi1, residueName, rotamers, stateNote, structures,
} from "./model.js";
import { classBadge, classIcon, referenceShape } from "./marks.js";
import { fixed, plural, withSpread } from "./words.js";
import { mapPlot, matchRows } from "./map_plot.js";
import { add, byId, el, svg } from "./dom.js";

/** A residue's sheet, beside the page where there is room for it, else over it. */

function fact(name, value, note) {
  return el("div", { class: "fact" }, el("dt", { text: name }), el("dd", {}, value, note ? el("small", { text: note }) : null));
}

function versus(predicted, observed) {
  if (observed === null || observed === undefined) return null;
  const off = predicted === null ? "" : `, off by ${fixed(Math.abs(angleDifference(predicted, observed)), 0)}°`;
  return `reference ${fixed(observed, 0)}°${off}`;
}

function facts(residue) {
  const reference = residue.reference;
  const list = [
    fact("φ", withSpread(residue.phi, residue.phi_spread), versus(residue.phi, reference?.phi)),
    fact("ψ", withSpread(residue.psi, residue.psi_spread), versus(residue.psi, reference?.psi)),
  ];
  const chi1 = residue.chi1;
  if (chi1) {
    const value = chi1.rotamer ? `${chi1.rotamer.replace("-", "−")}, ${withSpread(chi1.angle, chi1.spread)}` : "no call";
    const shares = chi1.g_minus === null
      ? "" : rotamers.map((one) => `${one.label}\u00a0${fixed(chi1[one.key], 2)}`).join(" · ");
    const observed = versus(chi1.angle, referenceChi1(residue));
    list.push(fact("χ1", value, [shares, observed].filter(Boolean).join("; ")));
  }
  const structure = residue.secondary_structure;
  if (structure) {
    const by = structure.source === "sequence" ? ", from the sequence" : structure.source === "chain end" ? ", end of the chain" : "";
    list.push(fact("structure", structures[structure.state] ?? structure.state,
      `confidence ${fixed(structure.confidence, 2)}${by}`));
  }
  list.push(fact("S²", fixed(residue.s2, 2)));
  list.push(fact("evidence", plural(residue.match_count, "match", "matches") + " agree",
    `mean score ${fixed(residue.score, 3)}; ${residue.shift_count ?? "–"} of 18 shifts of the residue and its neighbours`));
  return el("dl", { class: "facts" }, list);
}

function table(caption, heads, rows) {
  return el("div", { class: "table-frame" },
    el("table", {}, el("caption", { text: caption }),
      el("thead", {}, el("tr", {}, heads.map((head) => el("th", { scope: "col", class: head.number ? "number" : null, text: head.text, title: head.title })))),
      el("tbody", {}, rows)));
}

function shiftTable(model, residue) {
  const rows = atoms.map((atom) => {
    const shift = residue.shifts[atom] ?? null;
    const secondary = residue.secondary_shifts[atom] ?? null;
    const matched = residue.matched_shifts?.[atom] ?? null;
    const limits = model.limits(residue, atom);
    const outlier = model.outlier(residue.resid, atom);
    const off = secondary !== null && matched ? secondary - matched.mean : null;
    const cell = (text) => el("td", { class: "number", text });
    const finding = outlier ? (outlier.serious ? "far outside" : "outside") : "";
    return el("tr", { class: outlier ? "outlier" : null, "data-atom": atom },
      el("th", { scope: "row", text: atom }),
      cell(fixed(shift, 2)),
      cell(fixed(secondary, 2)),
      cell(matched ? `${fixed(matched.mean, 2)} ± ${fixed(matched.spread, 2)}` : "–"),
      cell(fixed(off, 2)),
      cell(limits ? `${fixed(limits[0], 1)} to ${fixed(limits[1], 1)}` : "–"),
      el("td", { text: finding }));
  });
  return table("Shifts, ppm", [
    { text: "Atom" },
    { text: "Shift", number: true },
    { text: "Secondary", number: true, title: "shift less its reference value" },
    { text: "Matches", number: true, title: "mean and spread of the secondary shifts of the matches" },
    { text: "Deviation", number: true, title: "secondary shift less the mean of the matches" },
    { text: "Usual range", number: true, title: "limits of the secondary shift of this residue type" },
    { text: "Outlier" },
  ], rows);
}

function windowText(text) {
  const letters = [...String(text)];
  const middle = Math.floor(letters.length / 2);
  return el("code", {}, letters.slice(0, middle).join(""), el("b", { text: letters[middle] ?? "" }), letters.slice(middle + 1).join(""));
}

function matchTable(residue, mark) {
  const rows = matchRows(residue).map((row) =>
    el("tr", {
      "data-rank": row.rank, class: row.used ? null : "left-out",
      onpointerenter: () => mark(row.rank), onpointerleave: () => mark(null),
    },
    el("td", { class: "number", text: row.rank }),
    el("td", { class: "source", text: row.source }),
    el("td", { class: "number", text: row.resid }),
    el("td", {}, windowText(row.window)),
    el("td", { class: "number", text: fixed(row.phi, 0) }),
    el("td", { class: "number", text: fixed(row.psi, 0) }),
    el("td", { class: "number", text: fixed(row.chi1, 0) }),
    el("td", { class: "number", text: fixed(row.score, 3) }),
    el("td", { text: row.used ? "yes" : "no" })));
  return table("Database matches, best first", [
    { text: "#", number: true }, { text: "Source" }, { text: "Residue", number: true }, { text: "Window" },
    { text: "φ", number: true }, { text: "ψ", number: true }, { text: "χ1", number: true },
    { text: "Score", number: true, title: "lower is better" }, { text: "Used", title: "in the group that made the answer" },
  ], rows);
}

function mapLegend(residue) {
  const dot = (name) => svg("svg", { class: "icon", width: 14, height: 14, viewBox: "-7 -7 14 14", "aria-hidden": "true" },
    svg("circle", { class: `match ${name}`, r: 4 }));
  const item = (icon, text) => el("li", {}, icon, text);
  return el("ul", { class: "legend" },
    residue.phi !== null ? item(classIcon(classOf(residue)), "answer with its spread") : null,
    item(dot("used"), "match in the answer"),
    item(dot("left-out"), "match left out"),
    residue.reference ? item(svg("svg", { class: "icon", width: 14, height: 14, viewBox: "-7 -7 14 14", "aria-hidden": "true" },
      svg("path", { class: "reference", d: referenceShape(50) })), "reference") : null,
    residue.models.length > 0 ? item(svg("svg", { class: "icon", width: 14, height: 14, viewBox: "-7 -7 14 14", "aria-hidden": "true" },
      svg("path", { class: "model", transform: "rotate(45)", d: d3.symbol().type(d3.symbolCross).size(50)() })), "models") : null,
    residue.clusters?.length ? item(el("span", { class: "swatch cluster-swatch" }), plural(residue.clusters.length, "cluster") + " of the map") : null);
}

export class ResidueSheet {
  /** `changed(resid or null)` is called when the sheet opens, changes its residue or closes. */
  constructor(model, changed) {
    this.model = model;
    this.changed = changed;
    this.resid = null;
    this.box = byId("sheet");
    this.box.addEventListener("close", () => this.closed());
    this.box.addEventListener("keydown", (event) => this.key(event));
    this.narrow = window.matchMedia("(max-width: 1099px)");
    this.narrow.addEventListener("change", () => this.resid !== null && this.reopen());
  }

  reopen() {
    const resid = this.resid;
    const opener = this.opener;
    this.box.close();
    // The close event of the old form comes later and finds the sheet open again.
    this.open(resid, opener);
  }

  open(resid, opener = document.activeElement) {
    const residue = this.model.at(resid);
    if (!residue) return;
    if (!this.box.open) {
      this.opener = opener;
      document.body.classList.add("with-sheet");
      if (this.narrow.matches) this.box.showModal();
      else this.box.show();
    }
    this.resid = resid;
    this.fillIn(residue);
    this.box.scrollTop = 0;
    this.changed(resid);
  }

  close() {
    if (this.box.open) this.box.close();
  }

  closed() {
    if (this.box.open) return;
    document.body.classList.remove("with-sheet");
    this.resid = null;
    this.changed(null);
    if (this.opener instanceof Element && this.opener.isConnected) this.opener.focus({ preventScroll: true });
  }

  move(by) {
    const next = this.model.residues[this.model.placeOf(this.resid) + by];
    if (next) this.open(next.resid);
  }

  key(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const actions = { ArrowRight: () => this.move(1), ArrowLeft: () => this.move(-1), Escape: () => this.close() };
    if (actions[event.key]) {
      event.preventDefault();
      actions[event.key]();
    }
  }

  mark(rank) {
    for (const node of this.box.querySelectorAll("[data-rank]")) {
      node.classList.toggle("marked", rank !== null && Number(node.dataset.rank) === rank);
    }
  }

  fillIn(residue) {
    const model = this.model;
    const place = model.placeOf(residue.resid);
    const button = (text, label, action, off) =>
      el("button", { type: "button", "aria-label": label, title: label, disabled: off, onclick: action, text });
    const heading = el("h2", { id: "sheet-title", tabindex: -1, text: residueName(residue) });
    const word = classOf(residue);
    const author = residue.author_resid !== null && residue.author_resid !== undefined && String(residue.author_resid) !== String(residue.resid)
      ? `numbered ${residue.author_resid} in the deposited file` : "";
    const notes = [stateNote(residue), author].filter(Boolean).join("; ");
    const size = Math.max(240, Math.min(470, this.box.clientWidth - 40));
    const evidence = residue.map || residue.matches
      ? [el("div", { class: "map-frame" }, mapPlot(residue, size, (rank) => this.mark(rank))), mapLegend(residue)]
      : [el("p", { class: "hint", text: model.hasMaps
        ? "No map: the residue has no prediction."
        : "This record holds no maps and matches; predict again with a current version to see them." })];
    this.box.replaceChildren();
    add(this.box,
      el("header", {},
        heading, classBadge(word),
        el("div", { class: "sheet-buttons" },
          button("‹", "Previous residue", () => this.move(-1), place === 0),
          button("›", "Next residue", () => this.move(1), place === model.residues.length - 1),
          button("✕", "Close the sheet", () => this.close(), false))),
      el("p", { class: "hint", text: `${word}: ${classMeaning[word]}${notes ? `; ${notes}` : ""}.` }),
      facts(residue),
      residue.chi1?.turned && residue.chi1.angle !== null
        ? el("p", { class: "hint", text: `Valine's χ1 is turned by −120° as in the tables; N-CA-CB-CG1 is ${fixed(angleDifference(residue.chi1.angle, -120), 0)}°.` })
        : null,
      evidence,
      shiftTable(model, residue),
      residue.matches ? matchTable(residue, (rank) => this.mark(rank)) : null);
    heading.focus({ preventScroll: true });
  }
}
