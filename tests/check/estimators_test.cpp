// Offsets, misassignments and deuteration of chains whose faults are known because they were made.

#include <gtest/gtest.h>

#include <random>
#include <set>

#include "check/check_record.h"
#include "check/check_text.h"
#include "results/shift_report.h"

namespace {

using namespace orvix;
using check::ChainShifts;

constexpr std::size_t N = 0, HA = 1, C = 2, CA = 3, CB = 4, HN = 5;
constexpr check::ByAtom spreads = {2.3, 0.24, 1.0, 0.85, 0.9, 0.45};

/// A chain whose shifts scatter around their expectations as they do in proteins: types that differ
/// in CA and CB, one shift in eight far off.
ChainShifts madeChain(int length, unsigned seed) {
    const check::ByAtom usual = {120.0, 4.4, 176.0, 57.0, 36.0, 8.2};
    const check::ByAtom range = {8.0, 0.5, 2.0, 4.0, 10.0, 0.6};
    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> even(-1.0, 1.0);
    ChainShifts chain;
    for (int i = 1; i <= length; ++i) {
        check::ResidueShifts& residue = chain[i];
        residue.letter = "A";
        residue.settled = true;
        residue.end = i == 1 || i == length;
        for (std::size_t atom = 0; atom < check::atomCount; ++atom) {
            const double expected = usual[atom] + range[atom] * even(random);
            residue.expected[atom] = {expected, spreads[atom]};
            const double wide = even(random) > 0.75 ? 3.0 : 0.8;
            residue.observed[atom] = expected + wide * spreads[atom] * normal(random);
        }
    }
    return chain;
}

void shift(ChainShifts& chain, std::size_t atom, double by) {
    for (auto& [number, residue] : chain) {
        *residue.observed[atom] += by;
    }
}

TEST(Offsets, AreFoundThroughOutliersWithErrorsThatHold) {
    check::ByAtom squares{};
    const int chains = 40;
    for (unsigned seed = 0; seed < chains; ++seed) {
        ChainShifts chain = madeChain(90, seed);
        const check::Offsets before = check::estimateOffsets(chain);
        shift(chain, C, 2.5);
        shift(chain, CA, -0.6);
        shift(chain, CB, -0.6);
        const check::Offsets after = check::estimateOffsets(chain);
        // An estimate moves with the shifts, and others don't.
        EXPECT_NEAR(after.atoms[C]->offset - before.atoms[C]->offset, 2.5, 1e-6);
        EXPECT_NEAR(after.carbons->offset - before.carbons->offset, -0.6, 1e-6);
        EXPECT_EQ(after.atoms[HN]->offset, before.atoms[HN]->offset);
        EXPECT_EQ(after.atoms[N]->count, 88);  // the ends don't count
        EXPECT_LT(after.carbons->error, after.atoms[CA]->error);
        for (std::size_t atom = 0; atom < check::atomCount; ++atom) {
            const double zero =
                atom == N ? before.atoms[N]->offset + 0.0 : before.atoms[atom]->offset;
            squares[atom] += zero * zero / (before.atoms[atom]->error * before.atoms[atom]->error);
        }
    }
    // The stated error also covers what differs between proteins, which made chains lack.
    for (const std::size_t atom : {HA, C, CA, CB, HN}) {
        EXPECT_LT(squares[atom] / chains, 1.5) << atom;
        EXPECT_GT(squares[atom] / chains, 0.1) << atom;
    }
}

TEST(Offsets, NeedShiftsOfSettledResidues) {
    ChainShifts chain = madeChain(60, 1);
    for (auto& [number, residue] : chain) {
        residue.settled = number < 8;
        residue.observed[CB].reset();
    }
    check::Offsets offsets = check::estimateOffsets(chain);
    EXPECT_FALSE(offsets.atoms[C]);
    EXPECT_FALSE(offsets.carbons);
    EXPECT_EQ(check::offsetOf(offsets, C), 0.0);
    for (auto& [number, residue] : chain) {
        residue.settled = true;
    }
    offsets = check::estimateOffsets(chain);
    ASSERT_TRUE(offsets.carbons && offsets.atoms[CA]);
    EXPECT_FALSE(offsets.atoms[CB]);
    EXPECT_EQ(check::offsetOf(offsets, CB), offsets.atoms[CA]->offset);
    EXPECT_FALSE(check::isToCorrect("C", {0.1, 0.01, 80}));  // well measured, but too small
    EXPECT_FALSE(check::isToCorrect("C", {0.6, 0.5, 9}));    // large, but not well measured
    EXPECT_TRUE(check::isToCorrect("C", {-0.6, 0.15, 80}));
}

void exchange(ChainShifts& chain, int first, int second) {
    std::swap(chain[first].observed, chain[second].observed);
}

TEST(Misassignment, ExchangedResiduesAreNamedWithTheEvidence) {
    ChainShifts chain = madeChain(60, 3);
    const check::Offsets none;
    EXPECT_TRUE(check::findMisassignments(chain, none, check::reportRule).empty());
    // Residues that differ clearly: a serine's beta carbon is not that of an alanine.
    chain[20].expected[CB]->shift = *chain[20].observed[CB] = 63.8;
    chain[21].expected[CB]->shift = *chain[21].observed[CB] = 19.0;
    chain[50].expected[CB]->shift = *chain[50].observed[CB] = 69.0;
    exchange(chain, 20, 21);
    exchange(chain, 40, 50);
    const auto found = check::findMisassignments(chain, none, check::reportRule);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_GE(found[0].gain, found[1].gain);
    std::set<std::pair<int, int>> pairs;
    for (const check::Misassignment& one : found) {
        pairs.emplace(one.first, one.second);
        EXPECT_EQ(one.firstShifts.size(), 6U);
    }
    EXPECT_EQ(pairs, (std::set<std::pair<int, int>>{{20, 21}, {40, 50}}));
    const auto& neighbours = found[0].first == 20 ? found[0] : found[1];
    EXPECT_GT(std::abs(neighbours.firstShifts[CB].own), 30.0);
    EXPECT_NEAR(neighbours.firstShifts[CB].other, 0.0, 1e-9);
    // A referencing error of all shifts is no misassignment, and hides none.
    for (const std::size_t atom : {CA, CB}) {
        shift(chain, atom, 3.0);
    }
    check::Offsets offsets;
    offsets.carbons = {3.0, 0.1, 100};
    EXPECT_EQ(check::findMisassignments(chain, offsets, check::reportRule).size(), 2U);
}

TEST(Misassignment, ShiftsOfAResidueThatHasNoneAreNamed) {
    ChainShifts chain = madeChain(30, 6);
    chain[12].expected[CB]->shift = 69.5;
    chain[12].observed = {};
    chain[4].observed[CB] = 69.3;
    chain[4].expected[CB]->shift = 30.0;
    for (const std::size_t atom : {N, HN, CA, C, HA}) {
        chain[12].expected[atom]->shift = *chain[4].observed[atom];
    }
    const auto found = check::findMisassignments(chain, {}, check::reportRule);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].first, 4);
    EXPECT_EQ(found[0].second, 12);
    EXPECT_FALSE(found[0].swap);
    EXPECT_TRUE(found[0].secondShifts.empty());
    EXPECT_NE(check::misassignmentText(found[0], chain).find("A4 fits A12 better"),
              std::string::npos);
}

TEST(Misassignment, FewSharedShiftsSayNothing) {
    ChainShifts chain = madeChain(20, 4);
    chain[5].observed = {};
    chain[5].observed[CB] = 70.0;
    chain[6].observed[CB] = 15.0;
    EXPECT_TRUE(check::findMisassignments(chain, {}, check::reportRule).empty());
}

TEST(Deuteration, DiffersFromAReferencingError) {
    GDB isotope;
    isotope.loadText("VARS RESNAME CA CB\nFORMAT %4s %7.3f %7.3f\n\nA -0.58 -0.70\nI -0.78 -1.30\n",
                     "isoadj");
    ChainShifts sound = madeChain(100, 5);
    for (auto& [number, residue] : sound) {
        residue.letter = number % 2 == 0 ? "A" : "I";
        residue.observed[HA].reset();
    }
    const auto judged = [&](const ChainShifts& chain) {
        return check::judgeDeuteration(chain, check::estimateOffsets(chain), isotope);
    };
    EXPECT_FALSE(judged(sound).looks);
    ChainShifts referenced = sound;
    shift(referenced, CA, -0.84);
    shift(referenced, CB, -0.84);
    ChainShifts deuterated = sound;
    for (auto& [number, residue] : deuterated) {
        *residue.observed[CA] += number % 2 == 0 ? -0.58 : -0.78;
        *residue.observed[CB] += number % 2 == 0 ? -0.70 : -1.30;
    }
    EXPECT_FALSE(judged(referenced).looks);
    EXPECT_TRUE(judged(deuterated).looks);
    EXPECT_NEAR(judged(deuterated).cbIsotope, -1.0, 0.02);
    EXPECT_GT(judged(deuterated).gain, judged(referenced).gain + 3.0);
    // Alpha protons that are assigned sit on carbons that are not deuterated.
    for (auto& [number, residue] : deuterated) {
        residue.observed[HA] = 4.4;
    }
    EXPECT_FALSE(judged(deuterated).looks);
    EXPECT_FALSE(check::judgeDeuteration({}, {}, isotope).judged);
}

TEST(CorrectedInput, TakesOffsetsOffTheirAtoms) {
    ShiftInput input = shiftInput(
        "DATA SEQUENCE GA\nVARS RESID RESNAME ATOMNAME SHIFT\nFORMAT %4d %1s %4s %8.3f\n\n"
        "1 G HA2 4.100\n1 G CA 45.000\n2 A HA 4.300\n2 A CB 19.000\n2 A C 177.000\n2 A H 8.000\n",
        "made");
    check::Offsets offsets;
    offsets.carbons = {0.5, 0.1, 50};
    offsets.atoms[HA] = {-0.1, 0.02, 50};
    offsets.atoms[HN] = {0.25, 0.05, 50};
    const GDB table = check::correctedInput(input, offsets).table;
    const double expected[] = {4.2, 44.5, 4.4, 18.5, 177.0, 7.75};
    ASSERT_EQ(table.entries.size(), 6U);
    std::size_t place = 0;
    for (const auto& [number, row] : table.entries) {
        EXPECT_NEAR(std::stod(row.at("SHIFT")), expected[place++], 1e-3) << number;
    }
}

}  // namespace
