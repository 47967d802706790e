// Shows the tables of a finished run, residue by residue, with the angles of a reference structure
// beside them, and how the two compare in total.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>

#include "base/angles.h"
#include "base/missing.h"
#include "base/numbers.h"
#include "structure/pdb.h"
#include "tables/gdb.h"

namespace {

using Row = std::map<std::string, std::string>;

std::string cell(const Row& row, const char* column) {
    const auto found = row.find(column);
    return found == row.end() ? std::string() : found->second;
}

double number(const Row& row, const char* column) {
    return orvix::textToDouble(cell(row, column));
}

/// Rows of a result table by residue number; empty if the run has not written it.
std::map<int, Row> rowsByResidue(const std::filesystem::path& file) {
    std::map<int, Row> rows;
    if (!std::filesystem::exists(file)) {
        return rows;
    }
    const GDB table(file.string());
    for (const auto& [index, row] : table.entries) {
        rows[orvix::textToInt(cell(row, "RESID"))] = row;
    }
    return rows;
}

const Row& rowAt(const std::map<int, Row>& rows, int residue) {
    static const Row none;
    const auto found = rows.find(residue);
    return found == rows.end() ? none : found->second;
}

/// Sums for the comparison of the trusted residues with the reference.
struct Comparison {
    int compared = 0, wrong = 0;
    double phiSquares = 0.0, psiSquares = 0.0;
    int chi1Compared = 0, chi1Right = 0;
    std::map<std::string, int> classes;

    void addAngles(double dPhi, double dPsi) {
        ++compared;
        if (dPhi * dPhi + dPsi * dPsi >= 3600.0) {
            ++wrong;
            return;
        }
        phiSquares += dPhi * dPhi;
        psiSquares += dPsi * dPsi;
    }
};

bool known(double angle) {
    return angle < orvix::missingLimit;
}

std::string angleText(double value) {
    char text[32] = "     .";
    if (known(value)) {
        std::snprintf(text, sizeof text, "%6.0f", value);
    }
    return text;
}

/// The reference rotamer in the convention of the chi1 table, where valine is turned.
std::string referenceRotamer(double chi1, const std::string& letter) {
    if (!known(chi1)) {
        return ".";
    }
    if (letter == "V") {
        chi1 = orvix::wrapOnce(chi1 - 120.0);
    }
    return std::string(orvix::chi1Rotamer(static_cast<float>(chi1)));
}

void printTotals(const Comparison& total, bool hasReference) {
    std::printf("\nClasses:");
    for (const auto& [word, times] : total.classes) {
        std::printf("  %s %d", word.c_str(), times);
    }
    std::printf("\n");
    if (!hasReference) {
        return;
    }
    const int right = total.compared - total.wrong;
    if (total.compared > 0) {
        std::printf(
            "Against the reference, Strong and Generous residues: %d compared, %d off by 60 "
            "degrees or more;\n",
            total.compared, total.wrong);
    }
    if (right > 0) {
        std::printf("rmsd of the others: phi %.1f, psi %.1f degrees.\n",
                    std::sqrt(total.phiSquares / right), std::sqrt(total.psiSquares / right));
    }
    if (total.chi1Compared > 0) {
        std::printf("chi1 rotamers predicted and known: %d, of these right: %d.\n",
                    total.chi1Compared, total.chi1Right);
    }
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::fprintf(
            stderr,
            "Use: orvix-summary DIRECTORY [REFERENCE.pdb]\n"
            "Shows the tables pred.tab, predSS.tab, predS2.tab and predChi1.tab of a run.\n");
        return 2;
    }
    const std::filesystem::path directory = argv[1];
    const std::map<int, Row> summary = rowsByResidue(directory / "pred.tab");
    if (summary.empty()) {
        std::fprintf(stderr, "orvix-summary: no rows in %s\n",
                     (directory / "pred.tab").string().c_str());
        return 1;
    }
    const std::map<int, Row> structure = rowsByResidue(directory / "predSS.tab");
    const std::map<int, Row> order = rowsByResidue(directory / "predS2.tab");
    const std::map<int, Row> rotamers = rowsByResidue(directory / "predChi1.tab");
    std::unique_ptr<PDB> reference;
    if (argc == 3) {
        reference = std::make_unique<PDB>(argv[2]);
        if (reference->isNull()) {
            return 1;
        }
    }

    std::printf(
        "          predicted                       reference       off  sec.struct.   S2    "
        "chi1\n");
    std::printf(
        " residue   phi    sd   psi    sd  class      phi    psi         class conf        "
        "  class  Q   ref\n");
    Comparison total;
    for (const auto& [residue, row] : summary) {
        const std::string letter = cell(row, "RESNAME"), word = cell(row, "CLASS");
        ++total.classes[word];
        const double phi = number(row, "PHI"), psi = number(row, "PSI");
        double referencePhi = orvix::missingValue, referencePsi = orvix::missingValue;
        double referenceChi1 = orvix::missingValue;
        if (reference) {
            referencePhi = reference->getPhi(1, residue);
            referencePsi = reference->getPsi(1, residue);
            referenceChi1 = reference->getChi1(1, residue);
        }
        std::printf(" %-2s%5d  %s %5.0f %s %5.0f  %-8s  %s %s", letter.c_str(), residue,
                    angleText(phi).c_str(), number(row, "DPHI"), angleText(psi).c_str(),
                    number(row, "DPSI"), word.c_str(), angleText(referencePhi).c_str(),
                    angleText(referencePsi).c_str());
        if (known(phi) && known(psi) && known(referencePhi) && known(referencePsi)) {
            const double dPhi = orvix::angleDifference(phi, referencePhi);
            const double dPsi = orvix::angleDifference(psi, referencePsi);
            std::printf(" %6.0f", std::hypot(dPhi, dPsi));
            if (word == "Strong" || word == "Generous" || word == "Bad") {
                total.addAngles(dPhi, dPsi);
            }
        } else {
            std::printf("      .");
        }
        const Row& ss = rowAt(structure, residue);
        const double s2 = number(rowAt(order, residue), "S2");
        std::printf("    %-1s  %4.2f  %6s", cell(ss, "SS_CLASS").c_str(), number(ss, "CONFIDENCE"),
                    s2 > 0.0 && known(s2) ? std::to_string(s2).substr(0, 5).c_str() : ".");
        if (const Row& chi1 = rowAt(rotamers, residue); !chi1.empty()) {
            const std::string called = cell(chi1, "CLASS");
            const std::string truth = referenceRotamer(referenceChi1, letter);
            const double best =
                std::max({number(chi1, "Q_Gm"), number(chi1, "Q_Gp"), number(chi1, "Q_T")});
            std::printf("   %-3s %4.2f  %s", called.c_str(), best, truth.c_str());
            if (called != "na" && truth != ".") {
                ++total.chi1Compared;
                total.chi1Right += called == truth ? 1 : 0;
            }
        }
        std::printf("\n");
    }
    printTotals(total, reference != nullptr);
    return 0;
}
