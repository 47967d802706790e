#include <cmath>
#include <cstdio>
#include <map>
#include <ostream>
#include <string>

#include "base/missing.h"
#include "base/numbers.h"
#include "base/streams.h"
#include "run/orvix.h"
#include "shifts/offset_fit.h"
#include "tables/cells.h"

namespace {

using orvix::missingLimit;
using orvix::missingValue;

/// What the report knows of a nucleus.
struct Nucleus {
    const char* atom;
    double expectedNegative;  ///< shift in ppm at d = 0 of well referenced residues with d < 0
    double expectedPositive;  ///< and with d >= 0
    const char* tooFew;
    const char* reportHead;  ///< its words ahead of the estimate
    const char* sizeWord;
};

constexpr Nucleus nuclei[] = {
    {"CA", 0.094, 0.459,
     "  No enough CA shifts to check CA/CB chemical shift referencing offset ...",
     "CA/CB: ", "Size"},
    {"HA", 0.089, -0.008, "  No enough HA shifts to check HA chemical shift referencing offset ...",
     "HA:\n     ", "size"},
    {"C", -0.272, 0.226, "  No enough C' shifts to check C' chemical shift referencing offset ...",
     "C':    ", "Size"},
};

/// `value` with three decimals, at least `width` characters.
std::string fixed(int width, double value) {
    char text[400];
    std::snprintf(text, sizeof text, "%*.3f", width, value);
    return text;
}

/// `text` behind blanks, at least three characters.
std::string padded(const std::string& text) {
    return std::string(text.size() < 3 ? 3 - text.size() : 0, ' ') + text;
}

using ShiftsByAtom = std::map<std::string, double>;

double shiftOf(const ShiftsByAtom& shifts, const char* atom) {
    const auto shift = shifts.find(atom);
    return shift == shifts.end() ? missingValue : shift->second;
}

/// Lists the shifts beyond their limits and returns all, by RESID text and atom.
std::map<std::string, ShiftsByAtom> listOutliers(ORVIX& run) {
    std::map<std::string, ShiftsByAtom> shifts;
    for (const auto& [number, row] : run.adjCSTable.entries) {
        const std::string atom = orvix::tables::shiftAtom(orvix::tables::cellOf(&row, "ATOMNAME"));
        const std::string& residText = orvix::tables::cellOf(&row, "RESID");
        const double shift = orvix::tables::shiftFromText(orvix::tables::cellOf(&row, "SHIFT"));
        const int residue = orvix::textToInt(residText);
        const double limit = run.clipSShift(residue, shift, atom);
        if (limit != shift) {
            const double factor = atom == "HA" ? 3.0 : 2.0;
            const bool serious = std::fabs(shift) > factor * std::fabs(limit);
            orvix::out() << "  " << padded(std::to_string(residue)) << " " << run.seqName(residue)
                         << " " << padded(atom) << " Secondary Shift: " << fixed(8, shift)
                         << "    Limit: " << fixed(8, limit) << (serious ? " !\n" : "\n");
            run.shiftFindings.outliers.push_back(
                {residue, run.seqName(residue), atom, shift, limit, serious});
        }
        shifts[residText][atom] = shift;
    }
    return shifts;
}

/// The two groups of residues of each nucleus, by the sign of CA - CB.
struct ShiftGroups {
    orvix::shifts::OffsetGroup negative, positive;
};

std::map<std::string, ShiftGroups> groupShifts(
    const ORVIX& run, const std::map<std::string, ShiftsByAtom>& residues) {
    std::map<std::string, ShiftGroups> groups;
    for (const auto& [residText, shifts] : residues) {
        const double ca = shiftOf(shifts, "CA");
        const double cb = shiftOf(shifts, "CB");
        const std::string& name = run.seqName(orvix::textToInt(residText));
        if (!(ca < missingLimit) || !(cb < missingLimit) || name == "P" || name == "c" ||
            name == "C") {
            continue;
        }
        const double d = ca - cb;
        for (const Nucleus& nucleus : nuclei) {
            const double shift = shiftOf(shifts, nucleus.atom);
            if (shift < missingLimit) {
                ShiftGroups& both = groups[nucleus.atom];
                orvix::shifts::OffsetGroup& group = d < 0.0 ? both.negative : both.positive;
                group.x.push_back(d);
                group.y.push_back(shift);
            }
        }
    }
    for (const Nucleus& nucleus : nuclei) {
        groups[nucleus.atom].negative.expected = nucleus.expectedNegative;
        groups[nucleus.atom].positive.expected = nucleus.expectedPositive;
    }
    return groups;
}

std::string report(const Nucleus& nucleus, const orvix::shifts::OffsetEstimate& estimate) {
    return std::string(" Estimated Referencing Offset for ") + nucleus.reportHead +
           fixed(6, estimate.offset) + " +/- " + fixed(6, estimate.error) + "ppm " +
           nucleus.sizeWord + ": " + padded(std::to_string(estimate.size)) + "\n";
}

}  // namespace

double ORVIX::clipSShift(int res, double shift, const std::string& atom) {
    const GDB::Entry* limits = orvix::tables::findRow(ssLimitTable, "RESNAME", seqName(res));
    const double low = orvix::textToDouble(orvix::tables::cellOf(limits, atom + "_MIN"));
    const double high = orvix::textToDouble(orvix::tables::cellOf(limits, atom + "_MAX"));
    if (!(shift < missingLimit) || !(shift < low || shift > high)) {
        return shift;
    }
    const double limit = shift < low ? low : high;
    if (searchPhase && !noVerb) {
        orvix::out() << " Clipped " << padded(std::to_string(res)) << " " << seqName(res) << " "
                     << padded(atom) << " Secondary Shift: " << fixed(8, shift)
                     << " Limit: " << fixed(8, limit) << "\n";
    }
    return limit;
}

void ORVIX::checkCS() {
    orvix::out() << "\nChecking for Chemical Shift Outliers ...\n";
    const std::map<std::string, ShiftsByAtom> shifts = listOutliers(*this);
    const std::map<std::string, ShiftGroups> groups = groupShifts(*this, shifts);

    orvix::out() << "\nChecking Chemical Shift Referencing ...\n";
    for (const Nucleus& nucleus : nuclei) {
        const ShiftGroups& group = groups.at(nucleus.atom);
        const orvix::shifts::OffsetEstimate estimate =
            orvix::shifts::estimateOffset(group.negative, group.positive);
        shiftFindings.offsets[nucleus.atom] = estimate;
        if (!estimate.enough) {
            if (estimate.size != 0) {
                orvix::err() << nucleus.tooFew << "\n";
            }
            continue;
        }
        if (!estimate.accepted) {
            continue;
        }
        orvix::out() << report(nucleus, estimate);
        shiftOffset[nucleus.atom] = estimate.offset;
        if (std::string(nucleus.atom) == "CA") {
            shiftOffset["CB"] = estimate.offset;
        }
    }
}

int ORVIX::LinearLeastSquareFitting(std::vector<double>& x, std::vector<double>& y, double& a,
                                    double& b, double& sd) {
    if (x.size() == y.size()) {
        const orvix::shifts::LineFit fit = orvix::shifts::fitLine(x, y);
        a = fit.slope;
        b = fit.intercept;
        sd = fit.error;
    }
    return 0;
}
