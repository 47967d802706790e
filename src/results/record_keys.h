#pragma once

#include "results/finished_prediction.h"

// The keys of the records, each once, with the kind of its value. A record is written by taking
// these lists through a RecordWriter, and read by taking them through a RecordReader.
namespace orvix::results {

template <class Archive, class Record>
void keysOfOutlier(Archive& a, Record& r) {
    a.integer("resid", r.residue);
    a.text("resname", r.name);
    a.text("atom", r.atom);
    a.number("secondary_shift", r.shift);
    a.number("limit", r.limit);
    a.flag("serious", r.serious);
    a.flag("gross", r.gross);
}

template <class Archive, class Record>
void keysOfOffset(Archive& a, Record& r) {
    a.number("offset", r.offset);
    a.number("error", r.error);
    a.number("uncertainty", r.uncertainty);
    a.integer("count", r.count);
    a.flag("significant", r.significant);
    a.flag("applied", r.applied);
}

template <class Archive, class Record>
void keysOfLine(Archive& a, Record& r) {
    a.integer("count", r.count);
    a.number("slope", r.slope);
    a.number("intercept", r.intercept);
    a.number("error", r.error);
    a.number("expected", r.expected);
}

template <class Archive, class Record>
void keysOfLines(Archive& a, Record& r) {
    const auto line = [](auto& below, auto& one) { keysOfLine(below, one); };
    a.object("negative", r.negative, line);
    a.object("positive", r.positive, line);
}

template <class Archive, class Record>
void keysOfCompleteness(Archive& a, Record& r) {
    a.integer("assigned", r.assigned);
    a.integer("expected", r.expected);
}

template <class Archive, class Record>
void keysOfMismatch(Archive& a, Record& r) {
    a.integer("resid", r.residue);
    a.textOrNull("sequence", r.sequenceName);
    a.text("table", r.tableName);
}

/// One key for each of `names`, for the members of an array.
template <class Archive, class Names, class Members, class Keys>
void keysByName(Archive& a, const Names& names, Members& members, Keys keys) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        keys(a, names[i], members[i]);
    }
}

template <class Archive, class Record>
void keysOfShiftReport(Archive& a, Record& r) {
    a.object("shift_offsets", r.offsets, [](auto& offsets, auto& all) {
        keysByName(offsets, offsetNuclei, all, [](auto& at, auto nucleus, auto& one) {
            at.objectOrNull(nucleus, one, [](auto& in, auto& offset) { keysOfOffset(in, offset); });
        });
    });
    a.list("outliers", r.outliers, [](auto& in, auto& one) { keysOfOutlier(in, one); });
    a.object("completeness", r.completeness, [](auto& counts, auto& all) {
        keysByName(counts, shiftAtoms, all, [](auto& at, auto atom, auto& one) {
            at.object(atom, one, [](auto& in, auto& count) { keysOfCompleteness(in, count); });
        });
    });
    a.list("sequence_mismatches", r.mismatches,
           [](auto& in, auto& one) { keysOfMismatch(in, one); });
    a.object("referencing", r.lines, [](auto& lines, auto& all) {
        keysByName(lines, lineNuclei, all, [](auto& at, auto nucleus, auto& one) {
            at.object(nucleus, one, [](auto& in, auto& both) { keysOfLines(in, both); });
        });
    });
    a.map("shift_limits", r.limits, [](auto& letters, const std::string& letter, auto& byAtom) {
        letters.object(letter, byAtom, [](auto& in, auto& all) {
            keysByName(in, shiftAtoms, all,
                       [](auto& at, auto atom, auto& limits) { at.pairOrNull(atom, limits); });
        });
    });
}

template <class Archive, class Record>
void keysOfStructure(Archive& a, Record& r) {
    a.word("state", r.state, {"H", "E", "L"});
    a.number("confidence", r.confidence);
    a.number("helix", r.helix);
    a.number("strand", r.strand);
    a.number("coil", r.coil);
    a.word("source", r.source, {"shifts", "sequence", "chain end"});
}

template <class Archive, class Record>
void keysOfChi1(Archive& a, Record& r) {
    a.angle("angle", r.angle);
    a.spread("spread", r.spread);
    a.wordOrNull("rotamer", r.rotamer, {"g-", "g+", "t", "na"});
    a.number("g_minus", r.gaucheMinus);
    a.number("g_plus", r.gauchePlus);
    a.number("trans", r.trans);
    a.flag("turned", r.turned);
}

template <class Archive, class Record>
void keysOfReference(Archive& a, Record& r) {
    a.angle("phi", r.phi);
    a.angle("psi", r.psi);
    a.angle("chi1", r.chi1);
}

template <class Archive, class Record>
void keysOfCluster(Archive& a, Record& r) {
    a.integer("seed", r.seed);
    a.number("sum", r.sum);
    a.integers("boxes", r.boxes);
}

/// Matches stand as one list for each quantity.
template <class Archive, class Matches>
void keysOfMatches(Archive& a, Matches& r) {
    a.textColumn("source", r, &FinishedMatch::source);
    a.textColumn("window", r, &FinishedMatch::window);
    a.integerColumn("resid", r, &FinishedMatch::residue);
    a.numberColumn("phi", r, &FinishedMatch::phi);
    a.numberColumn("psi", r, &FinishedMatch::psi);
    a.numberColumn("chi1", r, &FinishedMatch::chi1);
    a.numberColumn("score", r, &FinishedMatch::score);
    a.flagColumn("used", r, &FinishedMatch::used);
}

template <class Archive, class Record>
void keysOfMatchedShift(Archive& a, Record& r) {
    a.number("mean", r.mean);
    a.number("spread", r.spread);
    a.integer("count", r.count);
}

template <class Archive, class Record>
void keysOfShifts(Archive& a, Record& r) {
    keysByName(a, shiftAtoms, r, [](auto& at, auto atom, auto& shift) { at.number(atom, shift); });
}

template <class Archive, class Record>
void keysOfResidue(Archive& a, Record& r) {
    a.letter("resname", r.label);
    a.letterOr("state_letter", r.letter, r.label);
    a.textOrNull("author_resid", r.authorNumber);
    a.object("shifts", r.shifts, [](auto& in, auto& all) { keysOfShifts(in, all); });
    a.object("secondary_shifts", r.secondaryShifts,
             [](auto& in, auto& all) { keysOfShifts(in, all); });
    a.angle("phi", r.phi);
    a.angle("psi", r.psi);
    a.spread("phi_spread", r.phiSpread);
    a.spread("psi_spread", r.psiSpread);
    a.number("score", r.score);
    a.integerOrNull("match_count", r.matchCount);
    a.integerOrNull("shift_count", r.shiftCount);
    a.word("class", r.classWord, {"Strong", "Generous", "Warn", "Dyn", "Bad", "None"});
    a.number("s2", r.s2);
    a.objectOrNull("secondary_structure", r.structure,
                   [](auto& in, auto& one) { keysOfStructure(in, one); });
    a.objectOrNull("chi1", r.chi1, [](auto& in, auto& one) { keysOfChi1(in, one); });
    a.objectOrNull("reference", r.reference, [](auto& in, auto& one) { keysOfReference(in, one); });
    a.numbersOrNull("map", r.map);
    a.listOrNull("clusters", r.clusters, [](auto& in, auto& one) { keysOfCluster(in, one); });
    a.columnsOrNull("matches", r.matches, [](auto& in, auto& all) { keysOfMatches(in, all); });
    a.object("matched_shifts", r.matchedShifts, [](auto& in, auto& all) {
        keysByName(in, shiftAtoms, all, [](auto& at, auto atom, auto& one) {
            at.objectOrNull(atom, one,
                            [](auto& of, auto& shift) { keysOfMatchedShift(of, shift); });
        });
    });
}

template <class Archive, class Record>
void keysOfSettings(Archive& a, Record& r) {
    a.textOrNull("data_directory", r.dataDirectory);
    a.textOrNull("reference", r.reference);
    a.flag("no_proton", r.noProton);
    a.flag("isotope_correction", r.isotopeCorrection);
    a.flag("offset_correction", r.offsetCorrection);
    a.flag("auto_reference", r.autoReference);
    a.flag("keep_cysteines", r.keepCysteines);
    a.flag("clip", r.clip);
    a.number("s2_threshold", r.s2Threshold);
    a.textOrNull("exclude", r.exclude);
    a.integerOrNull("first", r.first);
    a.integerOrNull("last", r.last);
    a.integerOrNull("count", r.count);
}

template <class Archive, class Record>
void keysOfPrediction(Archive& a, Record& r) {
    a.object("program", r, [](auto& in, auto& one) {
        in.text("name", one.programName);
        in.text("version", one.programVersion);
    });
    a.object("input", r, [](auto& in, auto& one) {
        in.textOrNull("file", one.inputFile);
        in.textOrNull("title", one.title);
        in.sequence("sequence", one.sequence);
        in.integer("first_residue", one.firstResidue);
    });
    a.object("settings", r.settings, [](auto& in, auto& one) { keysOfSettings(in, one); });
    a.list("corrected_references", r.correctedReferences, [](auto& in, auto& one) {
        in.text("nucleus", one.nucleus);
        in.number("offset", one.offset);
        in.number("error", one.error);
        in.integer("count", one.count);
    });
    keysOfShiftReport(a, r.check);
    a.residues("residues", r);
}

}  // namespace orvix::results
