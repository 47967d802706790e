#include "restraints/restraint_file.h"

#include <charconv>
#include <cstdio>
#include <set>

#include "base/run_end.h"
#include "restraints/two_islands.h"

namespace orvix::restraints {

namespace {

std::string shortNumber(double value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.6g", value);
    return text;
}

bool isInteger(const std::string& text) {
    int number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number);
    return result.ec == std::errc() && result.ptr == end;
}

std::string chi1Line(const RestraintFile& file) {
    if (!file.rules.withChi1) {
        return "chi1: not restrained";
    }
    const std::string centre = file.rules.chi1Centre == Chi1Centre::rotamer
                                   ? "centre of the predicted rotamer (g- -60, g+ 60, t 180)"
                                   : "centre is the predicted angle";
    return "chi1: " + centre + "; valine's turned back to N-CA-CB-CG1";
}

}  // namespace

std::string RestraintFile::numberText(int residue) const {
    if (numbering == Numbering::table) {
        return std::to_string(residue);
    }
    const auto found = prediction.residues.find(residue);
    if (found == prediction.residues.end() || found->second.authorNumber.empty()) {
        throw InputRejected(source + ": no author's number for residue " + std::to_string(residue) +
                            "; expected author_resid for all of them");
    }
    return found->second.authorNumber;
}

std::string RestraintFile::authorText(int residue) const {
    const auto found = prediction.residues.find(residue);
    return found == prediction.residues.end() || found->second.authorNumber.empty()
               ? std::to_string(residue)
               : found->second.authorNumber;
}

std::string RestraintFile::residueName(int residue) const {
    return names.name(residue, prediction.letter(residue));
}

std::vector<std::string> headLines(const RestraintFile& file) {
    std::string classes;
    for (const std::string& word : file.rules.classes) {
        classes = word + (classes.empty() ? "" : ", ") + classes;
    }
    const results::FinishedPrediction& prediction = file.prediction;
    std::vector<std::string> lines;
    lines.push_back("Dihedral restraints written by orvix " + file.version);
    lines.push_back("Source: " + file.source + " (" + prediction.programName + " " +
                    prediction.programVersion + ")");
    if (!prediction.inputFile.empty()) {
        lines.push_back("Input of the prediction: " + prediction.inputFile);
    }
    if (!prediction.title.empty()) {
        lines.push_back("Title: " + prediction.title);
    }
    lines.push_back("Classes: " + classes +
                    "; the first and the last residue are never restrained");
    lines.push_back("A mobile residue has the class Dyn, which overrides Strong and Generous");
    lines.push_back("Interval: centre +- h, h = max(k * spread, minimum); k = " +
                    shortNumber(file.rules.spreadFactor) +
                    ", minimum = " + shortNumber(file.rules.minimum) + " degrees");
    lines.push_back(chi1Line(file));
    lines.push_back(file.numbering == Numbering::table ? "Numbering: of the input table"
                                                       : "Numbering: the author's");
    lines.push_back("Restraints: " + std::to_string(file.set.count(Dihedral::phi)) + " phi, " +
                    std::to_string(file.set.count(Dihedral::psi)) + " psi, " +
                    std::to_string(file.set.count(Dihedral::chi1)) + " chi1");
    for (std::string& line : lines) {
        line = asciiText(line);
    }
    return lines;
}

std::vector<std::string> ambiguousLines(const RestraintFile& file, const std::string& meaning) {
    if (!file.rules.ambiguous) {
        return {};
    }
    std::string residues;
    for (const AmbiguousRestraint& one : file.set.ambiguous) {
        residues += ' ' + file.numberText(one.residue);
    }
    return {
        "Ambiguous: residues of class Warn whose matches fall in two clear islands of phi and psi",
        "Islands: matches within " + shortNumber(islandLink) +
            " degrees of another in phi and psi; at least " + std::to_string(leastIslandCount) +
            " matches each, at most " + std::to_string(mostStrayMatches) + " outside of both,",
        "  spreads up to " + shortNumber(widestIsland) + " degrees, centres at least " +
            shortNumber(leastSeparation) + " degrees apart; intervals by the rule above",
        meaning,
        "Ambiguous residues: " + std::to_string(file.set.ambiguous.size()) +
            (residues.empty() ? "" : ":" + asciiText(residues))};
}

std::string asciiText(const std::string& text) {
    std::string result;
    for (const char c : text) {
        const auto code = static_cast<unsigned char>(c);
        if ((code & 0xC0U) == 0x80U) {
            continue;  // a letter of several bytes becomes one mark
        }
        result += code >= 0x20 && code < 0x7F ? c : '?';
    }
    return result;
}

void checkNumbering(const RestraintFile& file, RestraintFormat format) {
    if (file.numbering == Numbering::table || format == RestraintFormat::nmrStar) {
        return;
    }
    const bool integers = format == RestraintFormat::cyana || format == RestraintFormat::cns;
    const results::FinishedPrediction& prediction = file.prediction;
    std::set<int> needed;
    for (const DihedralRestraint& restraint : file.set.restraints) {
        for (const TorsionAtom& atom :
             torsionAtoms(restraint, prediction.letter(restraint.residue))) {
            needed.insert(atom.residue);
        }
    }
    for (const AmbiguousRestraint& restraint : file.set.ambiguous) {
        if (format != RestraintFormat::cyana) {
            needed.insert({restraint.residue - 1, restraint.residue, restraint.residue + 1});
        }
    }
    if (format == RestraintFormat::nef) {
        for (int i = prediction.firstResidue; i <= prediction.lastResidue(); ++i) {
            needed.insert(i);
        }
    }
    std::map<std::string, int> owners;
    for (const int residue : needed) {
        const std::string text = file.numberText(residue);
        const std::string place = file.source + ": author's number " + asciiText(text) +
                                  " of residue " + std::to_string(residue);
        if (integers && !isInteger(text)) {
            throw InputRejected(place + ": the format takes integers only");
        }
        if (const auto [owner, fresh] = owners.emplace(text, residue); !fresh) {
            throw InputRejected(place + " is that of residue " + std::to_string(owner->second) +
                                " as well");
        }
    }
}

}  // namespace orvix::restraints
