#include "results/tables_reader.h"

#include <cctype>
#include <filesystem>

#include "base/missing.h"
#include "base/numbers.h"
#include "base/run_end.h"
#include "base/text.h"
#include "results/results_file.h"
#include "tables/cells.h"
#include "tables/gdb.h"

namespace orvix::results {
namespace {

namespace fs = std::filesystem;

/// The rows of one result table by their columns; none where the table is not there.
class Table {
  public:
    explicit Table(const fs::path& file) {
        if (fs::exists(file)) {
            table_.loadGDB(file.string());
        }
    }
    const GDB& gdb() const { return table_; }

    /// Calls `take` with the residue and the row of each.
    template <typename Take>
    void each(FinishedPrediction& prediction, Take take) const {
        for (const auto& [number, row] : table_.entries) {
            const auto residue = prediction.residues.find(textToInt(tables::cellOf(&row, "RESID")));
            if (residue != prediction.residues.end()) {
                take(residue->second, row);
            }
        }
    }

  private:
    GDB table_;
};

std::optional<double> number(const GDB::Entry& row, const std::string& column) {
    const std::string& text = tables::cellOf(&row, column);
    const double value = textToDouble(text);
    return text.empty() || !(value < missingLimit) ? std::nullopt : std::optional(value);
}

void takeSummary(FinishedResidue& residue, const GDB::Entry& row) {
    residue.classWord = tables::cellOf(&row, "CLASS");
    residue.shiftCount = textToInt(tables::cellOf(&row, "CS_COUNT"));
    residue.matchCount = textToInt(tables::cellOf(&row, "COUNT"));
    if (residue.classWord == "None") {
        return;
    }
    residue.phi = number(row, "PHI");
    residue.psi = number(row, "PSI");
    residue.phiSpread = residue.phi ? number(row, "DPHI") : std::nullopt;
    residue.psiSpread = residue.psi ? number(row, "DPSI") : std::nullopt;
    residue.score = number(row, "DIST");
}

void takeStructure(FinishedResidue& residue, const GDB::Entry& row) {
    const std::string& word = tables::cellOf(&row, "SS_CLASS");
    if (word.size() != 1 || word == "x") {
        return;
    }
    FinishedStructure structure;
    const bool bySequence = std::islower(static_cast<unsigned char>(word[0])) != 0;
    structure.source = bySequence ? "sequence" : "shifts";
    structure.state = word == "H" || word == "h" ? "H" : word == "E" || word == "e" ? "E" : "L";
    structure.helix = number(row, "Q_H");
    structure.strand = number(row, "Q_E");
    structure.coil = number(row, "Q_L");
    structure.confidence = number(row, "CONFIDENCE");
    residue.structure = structure;
}

void takeChi1(FinishedResidue& residue, const GDB::Entry& row) {
    FinishedChi1 chi1;
    chi1.rotamer = tables::cellOf(&row, "CLASS");
    if (chi1.rotamer == "na") {
        chi1.rotamer.clear();
    } else {
        chi1.angle = number(row, "CHI1");
        chi1.spread = chi1.angle ? number(row, "DCHI1") : std::nullopt;
    }
    chi1.gaucheMinus = number(row, "Q_Gm");
    chi1.gauchePlus = number(row, "Q_Gp");
    chi1.trans = number(row, "Q_T");
    chi1.turned = residue.letter == 'V';
    residue.chi1 = chi1;
}

}  // namespace

bool holdsTablesOnly(const std::string& path) {
    std::error_code ignored;
    return !fs::exists(resultsPath(path), ignored) &&
           fs::exists(fs::path(path) / "pred.tab", ignored);
}

FinishedPrediction readTables(const std::string& directory) {
    const fs::path path = directory;
    FinishedPrediction prediction;
    const Table summary(path / "pred.tab");
    for (const auto& [index, row] : summary.gdb().entries) {
        const std::string& name = tables::cellOf(&row, "RESNAME");
        FinishedResidue residue;
        residue.label = residue.letter = name.size() == 1 ? name[0] : '?';
        takeSummary(residue, row);
        prediction.residues[textToInt(tables::cellOf(&row, "RESID"))] = residue;
    }
    if (prediction.residues.empty()) {
        throw InputRejected((path / "pred.tab").string() + ": no rows");
    }
    Table(path / "predSS.tab").each(prediction, takeStructure);
    Table(path / "predS2.tab").each(prediction, [](FinishedResidue& residue, const auto& row) {
        const std::optional<double> s2 = number(row, "S2");
        residue.s2 = s2 && *s2 > 0.0 ? s2 : std::nullopt;
    });
    Table(path / "predChi1.tab").each(prediction, takeChi1);
    prediction.firstResidue = prediction.residues.begin()->first;
    for (int i = prediction.firstResidue; i <= prediction.residues.rbegin()->first; ++i) {
        const auto residue = prediction.residues.find(i);
        prediction.sequence += residue == prediction.residues.end() ? 'X' : residue->second.letter;
    }
    return prediction;
}

}  // namespace orvix::results
