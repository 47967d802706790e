#include "check/shift_model.h"

#include <cmath>
#include <numbers>
#include <string_view>

#include "base/numbers.h"
#include "base/run_end.h"
#include "model/model.h"
#include "networks/level_pass.h"
#include "networks/network_kinds.h"
#include "results/shift_report.h"
#include "tables/cells.h"

namespace orvix::check {
namespace {

constexpr std::string_view letters = "ACDEFGHIKLMNPQRSTVWY";
constexpr std::size_t bondedPlace = 20, statePlace = 21, anglePlace = 24, knownPlace = 28,
                      rotamerPlace = 30, presentPlace = 33;
constexpr std::array<std::string_view, 3> rotamers = {"g-", "g+", "t"};
constexpr int reach = 2;  // residues on either side

}  // namespace

std::array<double, conformationWidth> conformationEntries(const Conformation& residue) {
    std::array<double, conformationWidth> entries{};
    const char letter = residue.letter.empty() ? 'X' : residue.letter[0];
    const bool lower = letter == 'c' || letter == 'p' || letter == 'h';
    const std::size_t place = letters.find(lower ? static_cast<char>(letter - 'a' + 'A') : letter);
    if (place != std::string_view::npos) {
        entries[place] = 1.0;
    }
    entries[bondedPlace] = letter == 'c' ? 1.0 : 0.0;
    for (std::size_t i = 0; i < residue.states.size(); ++i) {
        entries[statePlace + i] = residue.states[i];
    }
    const std::optional<double> angles[] = {residue.phi, residue.psi};
    for (std::size_t i = 0; i < 2; ++i) {
        if (angles[i]) {
            const double radians = *angles[i] * std::numbers::pi / 180.0;
            entries[anglePlace + 2 * i] = std::sin(radians);
            entries[anglePlace + 2 * i + 1] = std::cos(radians);
            entries[knownPlace + i] = 1.0;
        }
    }
    for (std::size_t i = 0; i < rotamers.size(); ++i) {
        entries[rotamerPlace + i] = residue.rotamer == rotamers[i] ? 1.0 : 0.0;
    }
    entries[presentPlace] = 1.0;
    return entries;
}

ShiftModel ShiftModel::load(const Model& model, const std::string& tableDirectory) {
    ShiftModel out;
    const std::string prefix = tableDirectory + "/" + networks::shiftModelKind.name;
    const std::shared_ptr<const GDB> table = model.table(tablePath(tableDirectory));
    for (const auto& [number, row] : table->entries) {
        ByAtom& spreads = out.spreads_[tables::cellOf(&row, "RESNAME")];
        for (std::size_t i = 0; i < atomCount; ++i) {
            spreads[i] = textToDouble(tables::cellOf(&row, std::string(results::shiftAtoms[i])));
        }
    }
    out.network_ = model.network(prefix, networks::shiftModelKind);
    return out;
}

std::string ShiftModel::tablePath(const std::string& tableDirectory) {
    return tableDirectory + "/" + networks::shiftModelKind.name + ".tab";
}

std::vector<ByAtom> ShiftModel::expected(std::span<const Conformation> chain) const {
    const auto size = static_cast<int>(chain.size());
    std::vector<std::array<double, conformationWidth>> entries;
    entries.reserve(chain.size());
    for (const Conformation& residue : chain) {
        entries.push_back(conformationEntries(residue));
    }
    networks::ResidueMap windows, outputs;
    for (int i = 0; i < size; ++i) {
        std::vector<double>& window = windows[i];
        for (int k = i - reach; k <= i + reach; ++k) {
            if (k < 0 || k >= size) {
                window.insert(window.end(), conformationWidth, 0.0);
            } else {
                const auto& one = entries[static_cast<std::size_t>(k)];
                window.insert(window.end(), one.begin(), one.end());
            }
        }
    }
    networks::evaluateLevel(network_->level(1), windows, networks::plainMean, 1, outputs);
    std::vector<ByAtom> shifts(chain.size());
    for (const auto& [place, values] : outputs) {
        for (std::size_t i = 0; i < atomCount && i < values.size(); ++i) {
            shifts[static_cast<std::size_t>(place)][i] = values[i];
        }
    }
    return shifts;
}

double ShiftModel::spread(const std::string& letter, std::size_t atom) const {
    auto found = spreads_.find(letter);
    if (found == spreads_.end() && (letter == "p" || letter == "h")) {
        found = spreads_.find(letter == "p" ? "P" : "H");
    }
    return found == spreads_.end() ? 0.0 : found->second[atom];
}

}  // namespace orvix::check
