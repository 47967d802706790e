#include <ostream>
#include <utility>

#include "base/missing.h"
#include "base/numbers.h"
#include "base/streams.h"
#include "model/model.h"
#include "networks/chi1ann.h"
#include "run/orvix.h"
#include "run/predict.h"

namespace {

/// Cell `column` of the row of `table` whose RESNAME is `row`; `missing` without that row, 0.0 for
/// a row without that cell.
double lookUp(GDB& table, const std::string& row, const std::string& column, double missing) {
    const std::map<std::string, std::string> entry = table.getEntry("RESNAME", row, 1);
    if (entry.empty()) {
        return missing;
    }
    const auto cell = entry.find(column);
    return cell == entry.end() ? 0.0 : orvix::textToDouble(cell->second);
}

std::string cellText(const std::map<std::string, std::string>& row, const std::string& column) {
    const auto cell = row.find(column);
    return cell == row.end() ? std::string() : cell->second;
}

using ValuesByName = std::map<std::string, std::map<std::string, double>>;

ValuesByName isotopeAdjustments(const GDB& table) {
    ValuesByName adjustments;
    for (const auto& [number, row] : table.entries) {
        std::map<std::string, double>& adjustment = adjustments[cellText(row, "RESNAME")];
        adjustment["CA"] = orvix::textToDouble(cellText(row, "CA"));
        adjustment["CB"] = orvix::textToDouble(cellText(row, "CB"));
    }
    return adjustments;
}

/// All cells but the names, by row and column name.
ValuesByName valuesByColumn(const GDB& table) {
    ValuesByName values;
    for (const auto& [number, row] : table.entries) {
        std::map<std::string, double>& named = values[cellText(row, "RESNAME")];
        for (const auto& [column, cell] : row) {
            if (column != "RESNAME") {
                named[column] = orvix::textToDouble(cell);
            }
        }
    }
    return values;
}

/// Weights of atoms and positions from the weight table.
void deriveWeights(ORVIX& run) {
    int index = 1;
    for (int position = 1; position <= 3; ++position) {
        const std::string row = "R" + std::to_string(position);
        for (const auto& [key, atom] : run.atomNames) {
            run.atomPosWeight[index++] = run.getWeight(row, atom);
        }
        run.posWeight[position] = run.getWeight(row, "W");
    }
    const double averageWeight = run.getWeight("AVG", "W");
    for (const auto& [key, atom] : run.atomNames) {
        run.atomWeight[key] = averageWeight * run.getWeight("AVG", atom);
    }
}

/// Substitution scores by letters and as rows in either letter order.
void deriveSubstitutions(ORVIX& run, const GDB& table) {
    run.blosumLetters1 = "A C D E F G H I K L M N P Q R S T V W Y";
    run.blosumLetters2 = "ARNDCQEGHILKMFPSTWYV";
    for (const auto& [number, row] : table.entries) {
        const std::string name = cellText(row, "RESNAME");
        for (const auto& [column, cell] : row) {
            if (column.empty() || run.blosumLetters1.find(column) == std::string::npos) {
                continue;
            }
            const double score = orvix::textToDouble(cell);
            run.blosumScaled[name].push_back(score * 0.1);
            if (!name.empty()) {
                run.blosum[name[0]][column[0]] = score;
            }
        }
        for (char letter : run.blosumLetters2) {
            run.blosumRaw[name].push_back(
                orvix::textToDouble(cellText(row, std::string(1, letter))));
        }
    }
    for (const char* unknown : {"x", "X", "?"}) {
        std::vector<double>& scores = run.blosumRaw[unknown];
        scores.insert(scores.end(), run.blosumLetters2.size(), 0.0);
    }
}

}  // namespace

double ORVIX::getWeight(const std::string& row, const std::string& col) {
    return lookUp(weightTable, row, col, orvix::missingValue);
}

double ORVIX::getRC(const std::string& res, const std::string& atom) {
    return lookUp(randCoilTable, res, atom, orvix::missingValue);
}

double ORVIX::getRCadj(const std::string& res, const std::string& atom) {
    return lookUp(rcAdjTable, res, atom, 0.0);
}

double ORVIX::getPrevRCadj(const std::string& res, const std::string& atom) {
    return lookUp(rcPrevTable, res, atom, 0.0);
}

double ORVIX::getNextRCadj(const std::string& res, const std::string& atom) {
    return lookUp(rcNextTable, res, atom, 0.0);
}

void ORVIX::takeInput(orvix::ShiftInput input) {
    inFile = std::move(input.name);
    inTable = std::move(input.table);
    inputTaken = true;
}

void ORVIX::init() {
    const auto load = [this](GDB& table, const std::string& file, const char* status) {
        if (!noPath) {
            orvix::out() << status << file << '\n';
        }
        table = *model->table(file);
    };

    if (!inputTaken) {
        inTable = orvix::readShiftInput(inFile).table;
    }
    if (!exclList.empty()) {
        orvix::out() << "Excluding Sources in Database: " << exclList << '\n';
    }
    load(randCoilTable, randCoilFile, "Reading Random Coil Shifts from ");
    load(rcAdjTable, rcAdjFile, "Reading RC Adjustments from ");
    load(rcPrevTable, rcPrevFile, "Reading Previous Residue RC Adjustments from ");
    load(rcNextTable, rcNextFile, "Reading Next Residue RC Adjustments from ");
    if (isoCorrect) {
        isoAdjTable = *model->table(isoAdjFile);
        isoAdj = isotopeAdjustments(isoAdjTable);
    }
    load(ssLimitTable, ssLimitFile, "Reading Secondary Shift Limits from ");
    load(homologyTable, homologyFile, "Reading Homology Values from ");
    load(weightTable, weightFile, "ORVIX Weight Factors from ");

    deriveWeights(*this);
    homology = valuesByColumn(homologyTable);
    deriveSubstitutions(*this, *model->table(tablePath("BLOSUM62.tab")));
    for (auto& [letter, network] : chi1Nets) {
        delete std::exchange(network, nullptr);
        network = new CHI1ANN(39, 15, 1, tabDir, "chi1_" + letter);
    }
}
