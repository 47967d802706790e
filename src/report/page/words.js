import { atoms, classOf, residueName, structures } from "./model.js";

/** Numbers and findings in words. */

export function fixed(value, digits, unit = "") {
  if (value === null || value === undefined) return "–";
  const text = value.toFixed(digits);
  // Rounded to nothing, a number has no sign.
  return (Number(text) === 0 ? text.replace("-", "") : text.replace("-", "−")) + unit;
}

/** "−114 ± 15°" */
export function withSpread(value, spread, digits = 0, unit = "°") {
  if (value === null || value === undefined) return "–";
  const error = spread === null || spread === undefined ? "" : ` ± ${fixed(spread, digits)}`;
  return fixed(value, digits) + error + unit;
}

export function percent(part, whole) {
  return whole > 0 ? `${Math.round((100 * part) / whole)} %` : "–";
}

export function plural(count, word, words = `${word}s`) {
  return `${count.toLocaleString("en")} ${count === 1 ? word : words}`;
}

/** "a, b and c" */
export function listed(parts) {
  if (parts.length < 2) return parts.join("");
  return `${parts.slice(0, -1).join(", ")} and ${parts[parts.length - 1]}`;
}

/** A time of the record as a date, or nothing. */
export function dateText(time) {
  const parsed = time ? new Date(time) : null;
  if (parsed === null || Number.isNaN(parsed.getTime())) return "";
  return parsed.toISOString().slice(0, 16).replace("T", " ") + " UTC";
}

export const offsetNuclei = [
  { key: "CA", name: "CA/CB" },
  { key: "HA", name: "HA" },
  { key: "C", name: "C" },
];

/** What the referencing offsets say: {level, text} for each statement. */
function offsetStatements(offsets) {
  const statements = [];
  const unknown = [];
  const sound = [];
  for (const { key, name } of offsetNuclei) {
    const estimate = offsets?.[key] ?? null;
    if (estimate === null) {
      unknown.push(name);
    } else if (estimate.significant) {
      const size = `${fixed(Math.abs(estimate.offset), 2)} ± ${fixed(estimate.error, 2)} ppm`;
      const side = estimate.offset > 0 ? "high" : "low";
      const action = estimate.applied
        ? "the prediction corrected them"
        : "correct the referencing, or predict again with --offset";
      statements.push({
        level: estimate.applied ? "note" : "bad",
        text: `${name} shifts are ${size} too ${side} (${plural(estimate.count, "residue")}): ${action}.`,
      });
    } else {
      sound.push(name);
    }
  }
  if (sound.length > 0) {
    statements.push({ level: "good", text: `No significant referencing offset of ${listed(sound)}.` });
  }
  if (unknown.length > 0) {
    statements.push({ level: "note", text: `Too few shifts to judge the referencing of ${listed(unknown)}.` });
  }
  return statements;
}

function outlierStatement(model) {
  const list = model.outlierList;
  if (list === null) {
    return { level: "note", text: "This record does not say which shifts are outliers; predict again to see them." };
  }
  if (list.length === 0) {
    return { level: "good", text: "No shift lies outside of the usual range of its residue type." };
  }
  const gross = list.filter((outlier) => outlier.serious);
  const named = (gross.length > 0 ? gross : list).slice(0, 4).map((outlier) => {
    const residue = model.at(outlier.resid);
    return `${outlier.atom} of ${residue ? residueName(residue) : outlier.resid}`;
  });
  const more = (gross.length > 0 ? gross : list).length - named.length;
  const names = listed(more > 0 ? [...named, `${more} more`] : named);
  if (gross.length > 0) {
    return {
      level: "bad",
      text: `${plural(list.length, "shift lies", "shifts lie")} outside of the usual range, ` +
        `${gross.length} of them by far (${names}): check these assignments.`,
    };
  }
  return {
    level: "note",
    text: `${plural(list.length, "shift lies", "shifts lie")} slightly outside of the usual range (${names}).`,
  };
}

function completenessStatement(model) {
  let assigned = 0;
  let expected = 0;
  const thin = [];
  for (const atom of atoms) {
    const one = model.completeness[atom];
    if (!one) continue;
    assigned += one.assigned;
    expected += one.expected;
    if (one.expected > 0 && one.assigned < 0.7 * one.expected) {
      thin.push(`${atom} (${percent(one.assigned, one.expected)})`);
    }
  }
  const text = `${percent(assigned, expected)} of the expected shifts are assigned`;
  if (thin.length === 0) return { level: "good", text: `${text}.` };
  return { level: "note", text: `${text}; few of ${listed(thin)}.` };
}

/** The verdict on the shifts: a headline and its statements, worst level first. */
export function verdictOf(model) {
  const statements = [...offsetStatements(model.results.shift_offsets), outlierStatement(model)];
  const mismatches = model.results.sequence_mismatches ?? [];
  if (mismatches.length > 0) {
    statements.push({
      level: "bad",
      text: `${plural(mismatches.length, "residue name")} of the shift table differ from the sequence ` +
        `(${listed(mismatches.slice(0, 4).map((one) => `${one.table} ${one.resid}`))}).`,
    });
  }
  statements.push(completenessStatement(model));
  const rank = { bad: 0, note: 1, good: 2 };
  const level = statements.reduce((worst, one) => (rank[one.level] < rank[worst] ? one.level : worst), "good");
  const headline = {
    bad: "Look at the shifts before you use the angles",
    note: "The shifts look sound, with remarks",
    good: "The shifts look sound",
  }[level];
  statements.sort((a, b) => rank[a.level] - rank[b.level]);
  return { level, headline, statements };
}

/** All of a residue in one sentence, for screen readers. */
export function residueSentence(residue) {
  const parts = [residueName(residue), `class ${classOf(residue)}`];
  if (residue.phi !== null) parts.push(`phi ${fixed(residue.phi, 0)}`, `psi ${fixed(residue.psi, 0)}`);
  const structure = residue.secondary_structure;
  if (structure) parts.push(structures[structure.state] ?? structure.state);
  if (residue.s2 !== null) parts.push(`S2 ${fixed(residue.s2, 2)}`);
  if (residue.chi1?.rotamer) parts.push(`chi1 ${residue.chi1.rotamer}`);
  return parts.join(", ");
}
