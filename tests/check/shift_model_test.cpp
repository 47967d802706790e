#include "check/shift_model.h"

#include <gtest/gtest.h>

#include <fstream>
#include <nlohmann/json.hpp>

#include "model/model.h"
#include "results/shift_report.h"

namespace {

using namespace orvix;

check::Conformation conformationOf(const nlohmann::json& residue) {
    check::Conformation one;
    one.letter = residue["letter"];
    const char* const words[] = {"g-", "g+", "t"};
    for (std::size_t i = 0; i < 3; ++i) {
        one.states[i] = residue["states"][i];
        if (residue["rotamers"][i] == 1.0) {
            one.rotamer = words[i];
        }
    }
    if (!residue["phi"].is_null()) {
        one.phi = residue["phi"];
    }
    if (!residue["psi"].is_null()) {
        one.psi = residue["psi"];
    }
    return one;
}

TEST(ShiftModel, ReadsInputsAndGivesOutputsOfTheTraining) {
    const nlohmann::json examples = nlohmann::json::parse(std::ifstream(ORVIX_MODEL_EXAMPLES));
    const Model tables;
    const auto model = check::ShiftModel::load(tables, ORVIX_TABLES);
    int windows = 0;
    for (const nlohmann::json& window : examples["windows"]) {
        std::vector<check::Conformation> chain;
        std::size_t centre = 0;
        for (std::size_t i = 0; i < 5; ++i) {
            const nlohmann::json& residue = window["residues"][i];
            if (residue.is_null()) {
                continue;
            }
            centre = i == 2 ? chain.size() : centre;
            chain.push_back(conformationOf(residue));
            const auto entries = check::conformationEntries(chain.back());
            for (std::size_t k = 0; k < entries.size(); ++k) {
                EXPECT_NEAR(entries[k], window["input"][i * entries.size() + k],
                            1e-7)  // the training works in single precision
                    << windows << " " << i << " " << k;
            }
        }
        const check::ByAtom shifts = model.expected(chain)[centre];
        for (std::size_t atom = 0; atom < check::atomCount; ++atom) {
            EXPECT_NEAR(shifts[atom], window["output"][std::string(results::shiftAtoms[atom])],
                        2e-6);
        }
        ++windows;
    }
    EXPECT_GT(windows, 5);
    EXPECT_GT(model.spread("c", 4), model.spread("A", 4));
    EXPECT_EQ(model.spread("G", 4), 0.0);  // glycine has no CB
    EXPECT_EQ(model.spread("h", 3), model.spread("H", 3));
    EXPECT_EQ(model.spread("X", 3), 0.0);
}

}  // namespace
