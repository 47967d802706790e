#include <gtest/gtest.h>

#include <cstdlib>
#include <nlohmann/json.hpp>
#include <sstream>

#include "base/run_end.h"
#include "results/gather.h"
#include "results/results_file.h"
#include "run/prediction.h"
#include "temporary_directory.h"

namespace {

using Json = nlohmann::ordered_json;
using Row = std::map<std::string, std::string>;

TEST(Results, PlaceholdersAreNull) {
    orvix::Prediction run;
    run.sequenceAsRead = {{8, "V"}, {9, "V"}, {10, "A"}, {11, "S"}, {12, "C"}};
    run.sequence = {{8, "V"}, {9, "V"}, {10, "A"}, {11, "S"}, {12, "c"}};
    run.phiPsi[8] = {};
    run.phiPsi[8].shiftCount = 9;
    orvix::summaries::PhiPsiRow strong;
    strong.classWord = "Strong";
    strong.phi = -60.12345;
    strong.psi = 139.99951;
    strong.phiSpread = 5.5;
    strong.distance = 1234.5678;  // six digits first, then three decimals, as in the table
    strong.s2 = 1.0;
    strong.count = 25;
    run.phiPsi[9] = strong;
    run.order[9].s2 = 9999.0;
    run.order[10].s2 = 0.8125;
    run.structure[9].letter = "x";
    run.structure[10].letter = "c";
    run.structure[10].coil = 0.75;
    run.chi1[9].turned = true;
    run.chi1[9].prediction = {0.1F, 0.8F, 0.1F, "g+"};
    run.chi1[9].chi1 = 54.06;
    run.chi1[9].spread = 180.0;
    // A rotamer, but no match that has it: the spread of nothing is none.
    run.chi1[11].prediction = {0.7F, 0.2F, 0.1F, "g-"};
    run.chi1[11].spread = 0.0;
    run.chi1[12].spread = 0.0;

    orvix::results::ResultsOrigin origin;
    origin.authorNumber = {{9, "109A"}};
    run.seqFirstResid = 8;
    const Json record = Json::parse(
        orvix::results::resultsText(orvix::results::finishedPrediction(run, origin, GDB())));
    EXPECT_EQ(record["schema"], "orvix-results");
    EXPECT_EQ(record["input"]["sequence"], "VVASC");
    const Json& residues = record["residues"];
    ASSERT_EQ(residues.size(), 5U);
    for (const char* key : {"phi", "psi", "phi_spread", "psi_spread", "score", "s2",
                            "secondary_structure", "chi1", "reference", "author_resid"}) {
        EXPECT_TRUE(residues[0][key].is_null()) << key;
    }
    EXPECT_EQ(residues[0]["class"], "None");
    EXPECT_EQ(residues[0]["shift_count"], 9);
    EXPECT_TRUE(residues[0]["shifts"]["CA"].is_null());

    EXPECT_EQ(residues[1]["phi"], -60.123);
    EXPECT_EQ(residues[1]["psi"], 140.0);
    EXPECT_EQ(residues[1]["score"], 1234.57);
    EXPECT_TRUE(residues[1]["s2"].is_null());
    EXPECT_TRUE(residues[1]["secondary_structure"].is_null());
    EXPECT_EQ(residues[1]["author_resid"], "109A");
    EXPECT_EQ(residues[1]["chi1"]["turned"], true);
    EXPECT_EQ(residues[1]["chi1"]["angle"], 54.1);
    EXPECT_EQ(residues[1]["chi1"]["spread"], 180.0);
    EXPECT_EQ(residues[1]["chi1"]["g_plus"], 0.8);

    EXPECT_EQ(residues[2]["secondary_structure"]["state"], "L");
    EXPECT_EQ(residues[2]["secondary_structure"]["source"], "sequence");
    EXPECT_EQ(residues[2]["class"], "None");

    EXPECT_EQ(residues[3]["chi1"]["rotamer"], "g-");
    EXPECT_TRUE(residues[3]["chi1"]["angle"].is_null());
    EXPECT_TRUE(residues[3]["chi1"]["spread"].is_null());
    EXPECT_EQ(residues[4]["state_letter"], "c");
    EXPECT_TRUE(residues[4]["chi1"]["rotamer"].is_null());
    EXPECT_TRUE(residues[4]["chi1"]["g_plus"].is_null());
}

TEST(Results, AnyTextBecomesValidText) {
    orvix::results::FinishedPrediction prediction;
    prediction.title = "caf\xe9";
    EXPECT_TRUE(nlohmann::json::accept(orvix::results::resultsText(prediction)));
}

TEST(Results, OldVersionsAreReadAndLaterOnesRefused) {
    const auto text = [](int version) {
        return "{\"schema\": \"orvix-results\", \"schema_version\": " + std::to_string(version) +
               ", \"program\": {\"name\": \"orvix\", \"version\": \"1\"},"
               "\"input\": {\"sequence\": \"AV\", \"first_residue\": 4},"
               "\"residues\": [{\"resid\": 5, \"resname\": \"V\", \"class\": \"Warn\","
               "\"phi\": 9999.0, \"chi1\": {\"angle\": 60.0}}]}";
    };
    const auto prediction = orvix::results::parseResults(text(1), "f");
    const auto& residue = prediction.residues.at(5);
    EXPECT_FALSE(residue.phi.has_value());
    EXPECT_TRUE(residue.chi1->turned);
    EXPECT_TRUE(residue.map.empty());
    EXPECT_NE(errorOf<orvix::InputRejected>([&] {
                  orvix::results::parseResults(text(3), "f");
              }).find("schema_version"),
              std::string::npos);
}

/// The rows of a table by RESID (and ATOMNAME where there is one), read by the words of its text.
std::map<std::string, Row> readTable(const std::string& path) {
    std::map<std::string, Row> rows;
    std::vector<std::string> columns;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        std::istringstream text(line);
        std::vector<std::string> words{std::istream_iterator<std::string>(text), {}};
        if (!words.empty() && words[0] == "VARS") {
            columns.assign(words.begin() + 1, words.end());
        } else if (!columns.empty() && words.size() == columns.size()) {
            Row row;
            for (std::size_t i = 0; i < words.size(); ++i) {
                row[columns[i]] = words[i];
            }
            rows[row["RESID"] + row["ATOMNAME"]] = row;
        }
    }
    return rows;
}

/// `number` in the digits that `word` has.
std::string inDigitsOf(const std::string& word, const Json& number) {
    if (!number.is_number()) {
        return number.dump();
    }
    const std::size_t point = word.find('.');
    const int decimals = point == std::string::npos ? 0 : static_cast<int>(word.size() - point - 1);
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, number.get<double>());
    return text;
}

TEST(Results, NumbersOfTheTablesToTheDigit) {
    const TemporaryDirectory directory;
    const std::string examples = ORVIX_EXAMPLES;
    const std::string command = "'" ORVIX_PROGRAM "' predict '" + examples + "/fgf2.tab' --ref '" +
                                examples + "/fgf2.pdb' -o '" + directory.path("out") +
                                "' 2>/dev/null";
    ASSERT_EQ(std::system(command.c_str()), 0);
    std::ifstream file(directory.path("out/results.json"));
    const std::string bytes{std::istreambuf_iterator<char>(file), {}};
    const Json record = Json::parse(bytes);
    // What was written is read back whole: all of it, to the byte.
    const auto finished = orvix::results::readFinishedPrediction(directory.path("out"));
    EXPECT_EQ(orvix::results::resultsText(finished), bytes);
    EXPECT_EQ(finished, orvix::results::parseResults(bytes, "again"));
    const auto summary = readTable(directory.path("out/pred.tab"));
    const auto order = readTable(directory.path("out/predS2.tab"));
    const auto structure = readTable(directory.path("out/predSS.tab"));
    const auto chi1 = readTable(directory.path("out/predChi1.tab"));
    const auto shifts = readTable(directory.path("out/predAdjCS.tab"));
    ASSERT_EQ(record["residues"].size(), 154U);

    std::size_t shiftCount = 0, nullCount = 0, chi1Count = 0, turnedCount = 0;
    for (const Json& residue : record["residues"]) {
        const std::string number = std::to_string(residue["resid"].get<int>());
        const auto expectSame = [&](const Json& value, const std::string& word,
                                    const std::string& placeholder, const char* what) {
            const bool missing = word == placeholder;
            nullCount += missing ? 1 : 0;
            EXPECT_EQ(inDigitsOf(word, value), missing ? "null" : word) << number << " " << what;
        };
        const Row& row = summary.at(number);
        const bool none = row.at("CLASS") == "None";
        EXPECT_EQ(residue["class"], row.at("CLASS"));
        EXPECT_EQ(residue["resname"], row.at("RESNAME"));
        expectSame(residue["phi"], row.at("PHI"), "9999.000", "phi");
        expectSame(residue["psi"], row.at("PSI"), "9999.000", "psi");
        expectSame(residue["phi_spread"], row.at("DPHI"), none ? "0.000" : "", "phi spread");
        expectSame(residue["psi_spread"], row.at("DPSI"), none ? "0.000" : "", "psi spread");
        expectSame(residue["score"], row.at("DIST"), none ? "0.000" : "", "score");
        expectSame(residue["match_count"], row.at("COUNT"), "", "count");
        expectSame(residue["shift_count"], row.at("CS_COUNT"), "", "shift count");
        expectSame(residue["s2"], order.at(number).at("S2"), "9999.000", "s2");

        const Row& call = structure.at(number);
        const Json& state = residue["secondary_structure"];
        expectSame(state["helix"], call.at("Q_H"), "", "helix");
        expectSame(state["strand"], call.at("Q_E"), "", "strand");
        expectSame(state["coil"], call.at("Q_L"), "", "coil");
        expectSame(state["confidence"], call.at("CONFIDENCE"), "", "confidence");

        for (const auto& [atom, shift] : residue["shifts"].items()) {
            const auto found = shifts.find(number + atom);
            ASSERT_EQ(shift.is_null(), found == shifts.end()) << number << atom;
            if (!shift.is_null()) {
                ++shiftCount;
                expectSame(shift, found->second.at("CS_OBS"), "", "shift");
                expectSame(residue["secondary_shifts"][atom], found->second.at("SHIFT"), "",
                           "secondary shift");
            }
        }

        const auto side = chi1.find(number);
        ASSERT_EQ(residue["chi1"].is_null(), side == chi1.end()) << number;
        if (side == chi1.end()) {
            continue;
        }
        const Json& rotamer = residue["chi1"];
        ++chi1Count;
        turnedCount += rotamer["turned"].get<bool>() ? 1 : 0;
        EXPECT_EQ(rotamer["turned"], residue["resname"] == "V");
        expectSame(rotamer["angle"], side->second.at("CHI1"), "9999.0", "chi1");
        expectSame(rotamer["spread"], side->second.at("DCHI1"), "9999.0", "chi1 spread");
        expectSame(rotamer["g_minus"], side->second.at("Q_Gm"), "", "g-");
        expectSame(rotamer["g_plus"], side->second.at("Q_Gp"), "", "g+");
        expectSame(rotamer["trans"], side->second.at("Q_T"), "", "t");
        const std::string word = side->second.at("CLASS");
        EXPECT_EQ(rotamer["rotamer"], word == "na" ? Json() : Json(word)) << number;
        const Json& reference = residue["reference"];
        expectSame(reference.is_null() ? reference : reference["chi1"], side->second.at("CHI1_OBS"),
                   "9999.000", "reference chi1");
    }
    // Maps and matches stand in the record with the digits of their tables.
    const auto maps = readTable(directory.path("out/predABP.tab"));
    std::size_t mapCount = 0;
    for (const Json& residue : record["residues"]) {
        const auto found = maps.find(std::to_string(residue["resid"].get<int>()));
        ASSERT_EQ(residue["map"].is_null(), found == maps.end());
        for (std::size_t box = 0; found != maps.end() && box < 324; ++box, ++mapCount) {
            const std::string& word = found->second.at("Q_" + std::to_string(box));
            ASSERT_EQ(inDigitsOf(word, residue["map"][box]), word);
        }
        if (residue["class"] == "Strong") {
            EXPECT_EQ(residue["matches"]["source"].size(), 25U);
            EXPECT_FALSE(residue["matched_shifts"]["CA"].is_null());
        }
    }
    EXPECT_GT(mapCount, 140U * 324U);
    EXPECT_EQ(shiftCount, shifts.size());
    EXPECT_EQ(chi1Count, chi1.size());
    // The example has what the comparison is about.
    EXPECT_GT(nullCount, 20U);
    EXPECT_GT(turnedCount, 3U);
}

}  // namespace
