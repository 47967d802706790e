/** The record behind the page, with what every part of the page derives from it. */

export const atoms = ["HN", "N", "HA", "C", "CA", "CB"];
export const classes = ["Strong", "Generous", "Warn", "Dyn", "Bad", "None"];
export const classMeaning = {
  Strong: "all best matches agree",
  Generous: "at least the ten best matches agree",
  Warn: "matches do not agree, do not use",
  Dyn: "mobile, do not restrain",
  Bad: "far from the reference structure",
  None: "no prediction",
};
export const structures = { H: "helix", E: "strand", L: "coil" };
export const rotamers = [
  { key: "g_minus", word: "g-", label: "g−" },
  { key: "g_plus", word: "g+", label: "g+" },
  { key: "trans", word: "t", label: "t" },
];

const longNames = {
  A: "Ala", R: "Arg", N: "Asn", D: "Asp", C: "Cys", Q: "Gln", E: "Glu", G: "Gly", H: "His", I: "Ile",
  L: "Leu", K: "Lys", M: "Met", F: "Phe", P: "Pro", S: "Ser", T: "Thr", W: "Trp", Y: "Tyr", V: "Val",
};

/** A class word of the record, or None for a word that is not known. */
export function classOf(residue) {
  return classes.includes(residue.class) ? residue.class : "None";
}

/** "Arg 41", or the letter as it stands where it is none of the twenty. */
export function residueName(residue) {
  const name = longNames[String(residue.resname).toUpperCase()] ?? residue.resname;
  return `${name} ${residue.resid}`;
}

/** What the letter that the run worked with adds to the name, or nothing. */
export function stateNote(residue) {
  if (residue.state_letter === residue.resname) return "";
  if (residue.state_letter === "c") return "oxidised cysteine by its CB shift";
  if (residue.state_letter === "C") return "reduced cysteine by its CB shift";
  return residue.state_letter ? `taken as ${residue.state_letter}` : "";
}

/** The difference of two angles, degrees, from -180 up to 180. */
export function angleDifference(a, b) {
  const turned = (((a - b) % 360) + 540) % 360;
  return turned - 180;
}

/** The reference's chi1 in the convention of the prediction: a valine's is turned by -120 degrees. */
export function referenceChi1(residue) {
  const angle = residue.reference?.chi1 ?? null;
  return angle !== null && residue.chi1?.turned ? angleDifference(angle, 120) : angle;
}

/**
 * Bars of an angle with its spread, cut at the ends of the circle: [low, high] pairs within
 * -180..180.
 */
export function spreadBars(angle, spread) {
  if (angle === null || spread === null) return [];
  if (spread >= 180) return [[-180, 180]];
  const low = angle - spread;
  const high = angle + spread;
  if (low < -180) return [[-180, high], [low + 360, 180]];
  if (high > 180) return [[low, 180], [-180, high - 360]];
  return [[low, high]];
}

function known(value) {
  return value !== null && value !== undefined;
}

/** Completeness from the record, or counted where an older record does not hold it. */
function completenessOf(results) {
  if (results.completeness) return results.completeness;
  const counted = {};
  for (const atom of atoms) {
    counted[atom] = { assigned: 0, expected: 0 };
    results.residues.forEach((residue, place) => {
      const letter = String(residue.resname).toUpperCase();
      if (letter === "X" || letter === "?") return;
      if (letter === "P" && (atom === "N" || atom === "HN")) return;
      if ((atom === "HN" && place === 0) || (atom === "CB" && letter === "G")) return;
      counted[atom].expected += 1;
      if (known(residue.shifts[atom])) counted[atom].assigned += 1;
    });
  }
  return counted;
}

/** Models of the comparison by rank, with the names that the page shows; `place` is that of the record. */
function readModels(compare) {
  if (!compare) return [];
  const many = new Set();
  for (const model of compare.models) if (model.number > 1) many.add(model.file);
  return compare.models
    .map((model, place) => ({
      ...model,
      place,
      name: [model.file.split(/[\\/]/).pop(), many.has(model.file) ? `#${model.number}` : "", model.chain].filter(Boolean).join(" "),
    }))
    .sort((a, b) => (a.rank?.misfit ?? Infinity) - (b.rank?.misfit ?? Infinity) || a.place - b.place);
}

/** What the models say of each residue: residue number -> list of {place, name, phi, psi, deviation, bad}. */
function modelsByResidue(models) {
  const found = new Map();
  for (const { place, name, residues } of models) {
    residues.resid.forEach((resid, row) => {
      if (!found.has(resid)) found.set(resid, []);
      found.get(resid).push({
        place, name, phi: residues.phi[row], psi: residues.psi[row], deviation: residues.deviation[row], bad: residues.bad[row],
      });
    });
  }
  return found;
}

/** Takes the record of the page apart. */
export function readModel(record) {
  const results = record.results;
  const compare = record.compare ?? null;
  const models = readModels(compare);
  const ofResidue = modelsByResidue(models);
  const residues = results.residues.map((residue) => ({ ...residue, models: ofResidue.get(residue.resid) ?? [] }));
  const place = new Map(residues.map((residue, index) => [residue.resid, index]));
  const outliers = new Map();
  for (const outlier of results.outliers ?? []) {
    outliers.set(`${outlier.resid} ${outlier.atom}`, outlier);
  }
  const counts = Object.fromEntries(classes.map((word) => [word, 0]));
  for (const residue of residues) counts[classOf(residue)] += 1;
  return {
    record,
    results,
    residues,
    compare,
    models,
    counts,
    outlierList: results.outliers ?? null,
    completeness: completenessOf(results),
    hasReference: residues.some((residue) => known(residue.reference)),
    hasMaps: residues.some((residue) => known(residue.map)),
    title: results.input.title || results.input.file || "Untitled",
    at: (resid) => residues[place.get(resid)],
    placeOf: (resid) => place.get(resid) ?? -1,
    outlier: (resid, atom) => outliers.get(`${resid} ${atom}`) ?? null,
    limits: (residue, atom) => results.shift_limits?.[residue.state_letter]?.[atom] ?? null,
  };
}

/** Runs of one secondary structure: {state, first, last} by residue number. */
export function structureRuns(residues) {
  const runs = [];
  for (const residue of residues) {
    const state = residue.secondary_structure?.state ?? null;
    const last = runs[runs.length - 1];
    if (last && last.state === state && last.last === residue.resid - 1) last.last = residue.resid;
    else runs.push({ state, first: residue.resid, last: residue.resid });
  }
  return runs.filter((run) => run.state !== null);
}
