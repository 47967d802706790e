#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <sstream>

#include "base/phi_psi_grid.h"
#include "base/streams.h"
#include "networks/check_file.h"
#include "networks/network_files.h"
#include "run/orvix.h"

// The stages on networks of constant results: what comes out follows from the rules of the stages
// alone.
namespace {

std::string contentOf(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

// What a stage says, kept from the streams of the test.
class Quiet {
  public:
    std::string out() const { return out_.str(); }
    std::string err() const { return err_.str(); }

  private:
    std::ostringstream out_, err_;
    orvix::ScopedStreams streams_{{&out_, &err_}};
};

// A chain of alanine from `first` to `last` with all shifts.
void makeChain(ORVIX& run, const NetworkFiles& files, int first, int last) {
    run.tabDir = files.dir();
    run.pathSep = "/";
    run.outBase = files.path("pred");
    run.inTitle = "a title";
    run.firstResid = run.firstCSResid = run.seqFirstResid = run.inTable.firstResid = first;
    run.lastResid = run.lastCSResid = last;
    run.seqLength = last - first + 1;
    for (int r = first; r <= last; ++r) {
        run.seq[r] = run.seqOrig[r] = "A";
        run.missingCount[r] = 0;
    }
    run.missingCount[first - 1] = run.missingCount[last + 1] = 6;
    run.blosumScaled["A"].assign(20, 0.1);
    run.blosumRaw["A"].assign(20, 1.0);
    run.blosumRaw["C"].assign(20, -1.0);
}

void writeClassNetwork(const NetworkFiles& files, const std::string& name, int input1, int hidden1,
                       int input2, int hidden2, const std::vector<double>& classes,
                       int members = 3) {
    files.writeConstantLevel(name + ".level1", input1, hidden1, classes, members);
    files.writeConstantLevel(name + ".level2", input2, hidden2, classes, members);
}

void expectRow(const orvix::summaries::StructureRow& row, const std::string& letter,
               const std::vector<double>& values, double confidence) {
    EXPECT_EQ(row.letter, letter) << row.residue;
    EXPECT_NEAR(row.helix, values[0], 1e-6) << row.residue;
    EXPECT_NEAR(row.strand, values[1], 1e-6) << row.residue;
    EXPECT_NEAR(row.coil, values[2], 1e-6) << row.residue;
    EXPECT_NEAR(row.confidence, confidence, 1e-6) << row.residue;
}

TEST(StructureStage, NetworksEndsAndTable) {
    NetworkFiles files;
    writeClassNetwork(files, "ss", 96, 20, 9, 6, {0.5, 0.26, 0.24});
    writeClassNetwork(files, "ss.center", 84, 20, 9, 6, {0.1, 0.8, 0.1});
    writeClassNetwork(files, "ss.prev", 84, 20, 9, 6, {0.2, 0.1, 0.7});
    writeClassNetwork(files, "ss.next", 84, 20, 9, 6, {0.6, 0.3, 0.1});
    writeClassNetwork(files, "ss5", 164, 40, 19, 6, {0.4, 0.4, 0.2});
    writeClassNetwork(files, "seqSS", 272, 60, 51, 15, {0.1, 0.66, 0.24});
    ORVIX run;
    makeChain(run, files, 5, 24);
    run.annInput = randomResidues(numbersFrom(5, 20), 32);
    run.missingCount[10] = 4;
    run.missingCount[15] = run.missingCount[16] = 6;
    run.seq[20] = "c";
    run.seqOrig[20] = "C";
    const Quiet quiet;
    run.runSS_Prediction();
    EXPECT_EQ(quiet.out() + quiet.err(), "");

    // Each shown with the mean of its network and the one over five residues.
    ASSERT_EQ(run.structureRows.size(), 20u);
    const auto& rows = run.structureRows;
    expectRow(rows.at(5), "L", {0.3333, 0.3333, 0.3333}, 0.0);
    EXPECT_TRUE(rows.at(5).chainEnd);
    expectRow(rows.at(8), "H", {0.45, 0.33, 0.22}, 0.12);
    expectRow(rows.at(9), "H", {0.5, 0.35, 0.15}, 0.15);
    expectRow(rows.at(10), "E", {0.25, 0.6, 0.15}, 0.35);
    expectRow(rows.at(11), "L", {0.3, 0.25, 0.45}, 0.15);
    expectRow(rows.at(15), "e", {0.1, 0.66, 0.24}, 0.42);
    expectRow(rows.at(16), "e", {0.1, 0.66, 0.24}, 0.42);
    EXPECT_EQ(rows.at(10).ownShiftCount, 2);
    EXPECT_EQ(rows.at(10).shiftCount, 14);

    const std::string table = contentOf(files.path("predSS.tab"));
    EXPECT_NE(table.find("DATA FIRST_RESID 5\n \n"
                         "DATA SEQUENCE     AAAAAAAAAA AAAAAcAAAA \n"
                         "DATA PREDICTED_SS LHHHHELHHH eeLHHHHHHL \n"
                         "DATA CONFIDENCE   0111131111 4411111110 \n\n"
                         "VARS RESID RESNAME CS_CNT CS_CNT_R2 Q_H Q_E Q_L CONFIDENCE SS_CLASS\n"),
              std::string::npos)
        << table;
    EXPECT_NE(table.find("\n   10 A 14  2    0.250    0.600    0.150 0.35 E\n"), std::string::npos);
    EXPECT_NE(table.find("\n   20 C 18  6    0.450    0.330    0.220 0.12 H\n"), std::string::npos);
    EXPECT_NE(table.find("\n   24 A 12  6    0.333    0.333    0.333 0.00 L\n"), std::string::npos);
}

TEST(SequenceStage, ProfileToTable) {
    NetworkFiles files;
    writeClassNetwork(files, "seqSS15", 314, 70, 59, 15, {0.2, 0.08, 0.72}, 5);
    orvix::networks::SequenceProfile profile;
    profile.sequence = "MKW";
    profile.rows.resize(3);
    orvix::networks::writeCheckFile(files.path("p.chk"), profile);
    ORVIX run;
    run.tabDir = files.dir();
    run.outBase = files.path("pred");
    run.inTitle = "a title";
    run.blastCheckFile = files.path("p.chk");
    const Quiet quiet;
    run.runSeqSS_Prediction();
    EXPECT_EQ(quiet.out(), "Secondary structure prediction ...\n");
    EXPECT_EQ(contentOf(files.path("predSS.tab")),
              "REMARK  Neural network secondary structure prediction for a title\n"
              "REMARK  Predictions using amino acid sequence alone\n"
              "REMARK     h-Helix    e-Strand   c-Coil \n\n"
              "DATA FIRST_RESID 1\n\n\n"
              "DATA SEQUENCE     MKW\nDATA PREDICTED_SS ccc\nDATA CONFIDENCE   555\n\n"
              "VARS RESID RESNAME Q_H Q_E Q_L CONFIDENCE SS_CLASS\n"
              "FORMAT %4d %1s %8.3f %8.3f %8.3f %4.2f %s\n\n"
              "    1 M    0.200    0.080    0.720 0.52 c\n"
              "    2 K    0.200    0.080    0.720 0.52 c\n"
              "    3 W    0.200    0.080    0.720 0.52 c\n");
}

TEST(MapStage, CarbonAndNitrogenShiftsAloneTakeTheHybridMaps) {
    NetworkFiles files;
    // An island of twelve boxes in the helical region and a lower one of six boxes far from it.
    std::vector<double> scores(324, -1.0);
    for (int psi = 5; psi < 9; ++psi) {
        for (int phi = 5; phi < 8; ++phi) {
            scores[static_cast<std::size_t>(phi * 18 + psi)] = phi == 6 && psi == 6 ? 3.0 : 2.0;
        }
    }
    for (int psi = 14; psi < 16; ++psi) {
        for (int phi = 12; phi < 15; ++phi) {
            scores[static_cast<std::size_t>(phi * 18 + psi)] = 20.0;
        }
    }
    files.writeConstantLevel("surf20_hyb.level1", 160, 180, scores, 3);
    files.write("orvix_obsCS.tab", "VARS SOURCE RESNAME_R1\nFORMAT %s %s\n\n");
    ORVIX run;
    makeChain(run, files, 1, 7);
    run.noProton = true;
    for (int r = 1; r <= 7; ++r) {
        run.missingCount[r] = 2;
    }
    {
        const Quiet quiet;
        run.runABP_Prediction();
        EXPECT_EQ(quiet.out(),
                  "Preparing inputs for ANN prediction ...\n"
                  "ANN prediction using 13C/15N parameters only ...\n");
        EXPECT_EQ(quiet.err(), "");
    }
    // The ends of the chain have no window of the hybrid network.
    ASSERT_EQ(keysOf(run.annPhiPsi), numbersFrom(2, 5));
    const auto prior = orvix::phiPsiPrior();
    for (std::size_t k = 0; k < 324; ++k) {
        EXPECT_DOUBLE_EQ(run.annPhiPsi.at(4)[k], std::max(0.0, scores[k] * prior[k])) << k;
    }
    const std::size_t helix = 6 * 18 + 6;
    double highest = 0.0;
    for (std::size_t k = 12 * 18; k < 324; ++k) {
        highest = std::max(highest, run.annPhiPsi.at(4)[k]);
    }
    const double first = run.annPhiPsi.at(4)[helix];
    ASSERT_GT(first, highest);
    EXPECT_EQ(run.mapRows.at(4).clusterCount, 2);
    EXPECT_DOUBLE_EQ(run.annConfidence.at(4), first / (first + highest));
    EXPECT_EQ(run.mapRows.at(4).windowShifts, 20);
    EXPECT_EQ(run.mapRows.at(2).windowShifts, 16);
    char row[80];
    std::snprintf(row, sizeof row, "\n    4 A 20  4   2 %5.3f   0.000 ", first / (first + highest));
    EXPECT_NE(contentOf(files.path("predABP.tab")).find(row), std::string::npos);

    // Without its table the stage leaves no maps, and the run goes on.
    ORVIX other;
    makeChain(other, files, 1, 7);
    other.noProton = true;
    other.outBase = files.path("none/pred");
    const Quiet quiet;
    other.runABP_Prediction();
    EXPECT_EQ(quiet.err(),
              "\tCan't open file write file " + files.path("none/predABP.tab") + " !!!\n");
    EXPECT_TRUE(other.annPhiPsi.empty() && other.clusters.empty() && other.annConfidence.empty());
}

}  // namespace
