#include <map>
#include <string>

#include "base/missing.h"
#include "base/numbers.h"
#include "run/orvix.h"
#include "tables/cells.h"

namespace {

/// Row of one residue and atom in the working table, null for none. Its rows stand in the order of
/// residues and atoms, six a residue, so the place is known; a table of another make is searched.
const GDB::Entry* workingRow(const ORVIX& run, int residue, int key, const std::string& atom) {
    const std::string number = std::to_string(residue);
    const auto matches = [&number](const GDB::Entry& row, const std::string& name) {
        return orvix::tables::cellOf(&row, "RESID") == number &&
               orvix::tables::cellOf(&row, "ATOMNAME") == name;
    };
    const std::map<int, GDB::Entry>& rows = run.adjCSTable.entries;
    if (residue >= run.firstResid && residue <= run.lastResid) {
        const long long place = (static_cast<long long>(residue) - run.firstResid) * 6 + key;
        const auto row = place <= 6'000'000 ? rows.find(static_cast<int>(place)) : rows.end();
        if (row != rows.end() &&
            (matches(row->second, atom) || (atom == "HN" && matches(row->second, "H")))) {
            return &row->second;
        }
    }
    const GDB::Entry* alternative = nullptr;
    for (const auto& [place, row] : rows) {
        if (matches(row, atom)) {
            return &row;
        }
        if (alternative == nullptr && atom == "HN" && matches(row, "H")) {
            alternative = &row;
        }
    }
    return alternative;
}

}  // namespace

std::map<std::string, std::string> ORVIX::getTriplet(int resid) {
    std::map<std::string, std::string> record;
    for (int k = 1; k <= 3; ++k) {
        const int residue = resid - 2 + k;
        const std::string suffix = "_R" + std::to_string(k);
        record["RESID" + suffix] = std::to_string(residue);
        record["RESNAME" + suffix] = seqName(residue);
        for (const auto& [key, atom] : atomNames) {
            double shift = orvix::missingValue;
            const GDB::Entry* row = workingRow(*this, residue, key, atom);
            if (row != nullptr) {
                shift = orvix::tables::shiftFromText(orvix::tables::cellOf(row, "SHIFT"));
            }
            if (clip) {
                shift = clipSShift(residue, shift, atom);
            }
            if (noProton && (atom == "HA" || atom == "HN")) {
                shift = orvix::missingValue;
            }
            record[atom + suffix] = orvix::tables::shiftText(shift);
        }
    }
    return record;
}

bool ORVIX::testTriplet(std::map<std::string, std::string> triplet) {
    const int center = orvix::textToInt(triplet["RESID_R2"]);
    const int allowance = noProton ? 4 : 3;
    int poor = 0;
    for (int residue = center - 1; residue <= center + 1; ++residue) {
        poor += missingAt(residue) > allowance ? 1 : 0;
    }
    if (poor > 1) {
        return false;
    }
    return orvix::textToInt(triplet["RESID_R1"]) >= firstCSResid &&
           orvix::textToInt(triplet["RESID_R3"]) <= lastCSResid;
}
