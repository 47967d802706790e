import { classes, classMeaning, classOf } from "./model.js";
import { el, svg } from "./dom.js";

/** How classes look everywhere: a colour by the style sheet and a shape of its own. */

const shapes = {
  Strong: d3.symbolCircle,
  Generous: d3.symbolDiamond,
  Warn: d3.symbolTriangle,
  Dyn: d3.symbolSquare,
  Bad: d3.symbolCross,
  None: {
    draw(context, size) {
      const half = Math.sqrt(size) * 0.6;
      context.rect(-half, -half / 4, 2 * half, half / 2);
    },
  },
};

/** Path data of a class's mark with an area of `size` square pixels. */
export function classShape(word, size) {
  return d3.symbol().type(shapes[word]).size(size)();
}

export function referenceShape(size) {
  return d3.symbol().type(d3.symbolStar).size(size)();
}

export function classOfMark(residue) {
  return `mark class-${classOf(residue)}`;
}

/** A small picture of a class's mark. */
export function classIcon(word) {
  return svg("svg", { class: "icon", width: 14, height: 14, viewBox: "-7 -7 14 14", "aria-hidden": "true" },
    svg("path", { class: `mark class-${word}`, d: classShape(word, 64) }));
}

/** The class as a word with its mark. */
export function classBadge(word) {
  return el("span", { class: "badge", title: classMeaning[word] }, classIcon(word), word);
}

/** Check boxes of the classes that occur; `changed` gets the set of those that are checked. */
export function classFilter(counts, label, changed) {
  const chosen = new Set(classes);
  const boxes = classes
    .filter((word) => counts[word] > 0)
    .map((word) =>
      el("label", { class: "check", title: classMeaning[word] },
        el("input", {
          type: "checkbox", checked: true, value: word,
          onchange: (event) => {
            if (event.target.checked) chosen.add(word);
            else chosen.delete(word);
            changed(chosen);
          },
        }),
        classIcon(word), `${word} `, el("span", { class: "count", text: counts[word] })));
  return el("fieldset", { class: "filter" }, el("legend", { text: label }), boxes);
}
