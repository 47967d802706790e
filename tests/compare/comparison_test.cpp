#include "compare/comparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <numbers>
#include <sstream>

#include "base/angles.h"
#include "base/run_end.h"
#include "compare/comparison_file.h"
#include "compare/comparison_text.h"
#include "compare/dssp.h"
#include "structure/pdb.h"

namespace {

using orvix::compare::compareModels;
using orvix::compare::Comparison;
using orvix::compare::comparisonRecord;
using orvix::compare::comparisonTable;
using orvix::compare::comparisonText;
using orvix::compare::Model;
using orvix::compare::ModelComparison;
using orvix::compare::modelResidues;
using orvix::compare::parseComparison;
using orvix::compare::RankingRules;
using orvix::results::FinishedPrediction;
using testing::ElementsAre;
using testing::HasSubstr;

const PDB& example() {
    static const PDB structure(ORVIX_EXAMPLES "/ci2.pdb");
    return structure;
}

/// A perfect prediction of the example: Strong, every fifth residue Generous, every seventh Warn;
/// the first and the last residue have no prediction.
FinishedPrediction perfect() {
    FinishedPrediction prediction;
    prediction.title = "Made";
    for (const auto& [number, model] : modelResidues(example())) {
        orvix::results::FinishedResidue& residue = prediction.residues[number];
        residue.label = residue.letter = example().residName1.at(number)[0];
        prediction.sequence += residue.label;
        residue.classWord = "None";
        if (!model.phi || !model.psi) {
            continue;
        }
        residue.phi = model.phi;
        residue.psi = model.psi;
        residue.phiSpread = residue.psiSpread = 8.0;
        residue.classWord = number % 7 == 0 ? "Warn" : number % 5 == 0 ? "Generous" : "Strong";
        residue.structure = {
            std::string(1, orvix::compare::threeState(model.dssp)), 1.0, 1.0, 0.0, 0.0, "shifts"};
        if (model.chi1) {
            const bool turned = residue.letter == 'V';
            const double angle = turned ? orvix::wrapOnce(*model.chi1 - 120.0) : *model.chi1;
            residue.chi1 = orvix::results::FinishedChi1{};
            residue.chi1->rotamer = orvix::chi1Rotamer(static_cast<float>(angle));
            residue.chi1->turned = turned;
        }
    }
    return prediction;
}

/// The structure with phi of `residue` changed by `degrees`: all that follows the bond N-CA turns.
PDB turned(PDB structure, int residue, double degrees) {
    const CORdata n = structure.atoms[1][residue]["N"], ca = structure.atoms[1][residue]["CA"];
    const auto place = [](const CORdata& atom, int k) { return static_cast<double>(atom.coor[k]); };
    double axis[3] = {};
    for (int k = 0; k < 3; ++k) {
        axis[k] = place(ca, k) - place(n, k);
    }
    const double length = std::hypot(axis[0], axis[1], axis[2]);
    for (double& one : axis) {
        one /= length;
    }
    const double angle = degrees * std::numbers::pi / 180.0;
    for (auto& [number, atoms] : structure.atoms[1]) {
        for (auto& [name, atom] : atoms) {
            if (number < residue || (number == residue && (name == "N" || name == "CA"))) {
                continue;
            }
            double from[3] = {}, along = 0.0;
            for (int k = 0; k < 3; ++k) {
                from[k] = place(atom, k) - place(ca, k);
                along += from[k] * axis[k];
            }
            for (int k = 0; k < 3; ++k) {
                const int a = (k + 1) % 3, b = (k + 2) % 3;
                const double cross = axis[a] * from[b] - axis[b] * from[a];
                atom.coor[k] = static_cast<float>(place(ca, k) + from[k] * std::cos(angle) +
                                                  cross * std::sin(angle) +
                                                  axis[k] * along * (1.0 - std::cos(angle)));
            }
        }
    }
    return structure;
}

Model model(const PDB& structure, const std::string& file, int number = 1) {
    return {file, number, "A", "placed", modelResidues(structure)};
}

TEST(Compare, AModelThatThePredictionWasMadeOfAgreesInAll) {
    const Comparison comparison = compareModels(perfect(), {model(example(), "x.pdb")}, {});
    const ModelComparison& one = comparison.models[0];
    EXPECT_EQ(comparison.strong + comparison.generous, one.trusted.whole);
    EXPECT_EQ(one.trusted.part, one.trusted.whole);
    EXPECT_EQ(one.strong.whole, comparison.strong);
    EXPECT_EQ(one.rotamers.part, one.rotamers.whole);
    EXPECT_GT(one.rotamers.whole, 30);
    EXPECT_EQ(one.states.part, one.states.whole);
    EXPECT_EQ(one.phiRmsd, 0.0);
    EXPECT_TRUE(comparison.allDisagree.empty());
    ASSERT_TRUE(one.rank);
    EXPECT_EQ(one.rank->misfit, 0.0);
    EXPECT_FALSE(one.residues.at(7).far) << "Warn residues are not judged";
    EXPECT_TRUE(one.residues.at(7).deviation);
}

// Residue 32 (Strong) is turned in all models, 45 (Generous) in two of three, 42 (Warn) in all.
TEST(Compare, TurnedResiduesAreFoundModelByModel) {
    PDB base = turned(turned(example(), 32, 100.0), 42, 100.0);
    const Comparison comparison =
        compareModels(perfect(),
                      {model(turned(base, 45, 65.0), "dir/a.pdb", 1),
                       model(turned(base, 45, -75.0), "dir/a.pdb", 2), model(base, "b.cif")},
                      {});
    EXPECT_THAT(comparison.allDisagree, ElementsAre(32));
    for (const ModelComparison& one : comparison.models) {
        EXPECT_NEAR(*one.residues.at(32).deviation, 100.0, 0.05);
        EXPECT_EQ(one.residues.at(32).far, true);
        EXPECT_EQ(one.strong.part, one.strong.whole - 1);
        EXPECT_FALSE(one.residues.at(42).far);
    }
    EXPECT_EQ(comparison.models[2].residues.at(45).far, false);
    EXPECT_NEAR(*comparison.models[1].residues.at(45).deviation, 75.0, 0.05);
    EXPECT_THAT(comparison.order, ElementsAre(2, 0, 1));
    const ModelComparison& last = comparison.models[1];
    EXPECT_EQ(last.rank->place, 3);
    const double ranked = static_cast<double>(comparison.ranked.size());
    EXPECT_NEAR(last.rank->misfit, (90.0 + 75.0) / ranked, 0.01) << "a deviation counts up to 90";

    const std::string text = comparisonText(perfect(), comparison);
    EXPECT_THAT(text, HasSubstr("Far from the shifts in all models"));
    EXPECT_THAT(text, HasSubstr("32 (Strong, 100)"));
    EXPECT_LT(text.find("32 (Strong"), text.find("rank")) << "they are named first";
    EXPECT_THAT(text, HasSubstr("a.pdb #2 A: placed"));
    EXPECT_THAT(text, HasSubstr("  xxx\n"));
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 80U) << line;
    }
}

TEST(Compare, ModelsWithFewResiduesAreShownButNotRanked) {
    PDB part = example();
    for (int number = 25; number <= 64; ++number) {
        part.atoms[1].erase(number);
    }
    const Comparison comparison =
        compareModels(perfect(), {model(part, "part.pdb"), model(example(), "whole.pdb")}, {});
    EXPECT_FALSE(comparison.models[0].rank);
    EXPECT_GT(comparison.models[0].strong.whole, 10);
    EXPECT_TRUE(comparison.models[1].rank);
    EXPECT_GT(comparison.ranked.size(), 40U);
    EXPECT_THAT(comparison.order, ElementsAre(1, 0));
    EXPECT_THAT(comparisonText(perfect(), comparison), HasSubstr("    -       -"));
}

TEST(Compare, AClassTakenAwayByAReferenceIsGivenBack) {
    orvix::results::FinishedResidue residue;
    residue.classWord = "Bad";
    residue.matchCount = 25;
    EXPECT_EQ(orvix::compare::trustedClass(residue), "Strong");
    residue.matchCount = 10;
    EXPECT_EQ(orvix::compare::trustedClass(residue), "Generous");
    residue.classWord = "Dyn";
    EXPECT_EQ(orvix::compare::trustedClass(residue), "");
}

TEST(Compare, RecordAndTableHoldWhatWasFound) {
    FinishedPrediction prediction = perfect();
    const Comparison comparison = compareModels(
        prediction, {model(turned(example(), 32, 100.0), "a\tb.pdb"), model(example(), "c.pdb")},
        {});
    const std::string text = comparisonRecord(prediction, comparison, "results.json");
    const auto record = parseComparison(text, "compare.json", prediction);
    EXPECT_EQ(record["schema"], "orvix-compare");
    ASSERT_EQ(record["models"].size(), 2U);
    const auto& residues = record["models"][0]["residues"];
    EXPECT_EQ(residues["resid"][31], 32);
    EXPECT_EQ(residues["bad"][31], true);
    EXPECT_EQ(residues["dssp"].size(), 64U);
    EXPECT_TRUE(residues["phi"][0].is_null());
    EXPECT_EQ(record["models"][0]["rank"]["place"], 2);

    std::istringstream table(comparisonTable(prediction, comparison));
    std::string line;
    int rows = 0;
    while (std::getline(table, line)) {
        EXPECT_EQ(std::count(line.begin(), line.end(), '\t'), 20) << line;
        ++rows;
    }
    EXPECT_EQ(rows, 1 + 2 * 64);

    prediction.sequence[3] = prediction.sequence[3] == 'A' ? 'G' : 'A';
    EXPECT_THROW(parseComparison(text, "compare.json", prediction), orvix::InputRejected);
    auto broken = nlohmann::json::parse(text);
    broken["models"][1]["residues"]["psi"].erase(0);
    EXPECT_THROW(parseComparison(broken.dump(), "compare.json", perfect()), orvix::InputRejected);
    EXPECT_THROW(parseComparison("{}", "compare.json", perfect()), orvix::InputRejected);
    EXPECT_THROW(parseComparison("{", "compare.json", perfect()), orvix::InputRejected);
}

}  // namespace
