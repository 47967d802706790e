#include <gtest/gtest.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <set>

#include "base/angles.h"
#include "cli/command.h"
#include "restraints/dihedral_restraint.h"
#include "restraints/restraint_readers.h"
#include "restraints/two_islands.h"
#include "tables/temporary_file.h"

namespace {

using nlohmann::json;

constexpr int firstResidue = -2;

struct Angles {
    double phi, phiSpread, psi, psiSpread;
};

/// A residue record with shifts; `angles` null leaves them out.
json residue(int number, const std::string& name, const std::string& word,
             std::optional<Angles> angles = std::nullopt) {
    json record = {{"resid", number},       {"resname", name},       {"author_resid", nullptr},
                   {"class", word},         {"phi", nullptr},        {"psi", nullptr},
                   {"phi_spread", nullptr}, {"psi_spread", nullptr}, {"chi1", nullptr}};
    record["shifts"] = {{"N", 120.125}, {"HA", 4.5},     {"C", nullptr},
                        {"CA", 55.0},   {"CB", nullptr}, {"HN", 8.25}};
    if (angles) {
        record["phi"] = angles->phi;
        record["phi_spread"] = angles->phiSpread;
        record["psi"] = angles->psi;
        record["psi_spread"] = angles->psiSpread;
    }
    return record;
}

json withChi1(json record, const std::string& rotamer, double angle, double spread) {
    record["chi1"] = {{"angle", angle}, {"spread", spread}, {"rotamer", rotamer}};
    if (record["resname"] == "V") {
        record["chi1"]["turned"] = true;
    }
    return record;
}

json results(const std::string& sequence, const std::vector<json>& residues) {
    return {{"schema", "orvix-results"},
            {"schema_version", 1},
            {"program", {{"name", "ORVIX-N"}, {"version", "4.21.0"}}},
            {"input",
             {{"file", "x.tab"},
              {"title", "a protein's \"title\" \xCE\xB1"},
              {"sequence", sequence},
              {"first_residue", firstResidue}}},
            {"residues", residues}};
}

/// Numbers -2 to 13. All that must not be restrained stands beside what must be.
json exampleResults() {
    const Angles plain = {-60.0, 5.0, -40.0, 5.0};
    const Angles placeholder = {9999.0, 0.0, 9999.0, 0.0};
    return results(
        "MKVTSIcLGW FXAYHVQE",
        {
            residue(-2, "M", "Strong", plain),  // the first one
            withChi1(residue(-1, "K", "Strong", Angles{170.0, 15.0, -175.5, 4.0}), "t", -175.0,
                     12.5),
            withChi1(residue(0, "V", "Strong", plain), "g-", -62.0, 15.0),
            withChi1(residue(1, "T", "Strong", plain), "g+", 58.0, 11.0),
            withChi1(residue(2, "S", "Generous", plain), "g+", 60.0, 11.0),
            withChi1(residue(3, "I", "Strong", plain), "t", 180.0, 180.0),  // one pick
            withChi1(residue(4, "c", "Strong", plain), "g-", -60.0, 5.0),
            residue(5, "L", "Strong", Angles{-60.123, 91.0, -40.5, 89.9}),
            residue(6, "G", "Strong", Angles{80.0, 0.0, 10.0, 180.0}),
            withChi1(residue(7, "W", "Strong", placeholder), "na", 9999.0, 9999.0),
            withChi1(residue(8, "F", "Dyn", plain), "t", 180.0, 5.0),
            residue(9, "X", "Strong", plain), residue(10, "A", "None", plain),
            residue(11, "Y", "Warn", plain), residue(12, "H", "Bad", plain),
            withChi1(residue(13, "V", "Strong", plain), "t", -179.0, 5.0),
            residue(14, "Q", "Strong"), residue(15, "E", "Strong", plain),  // the last one
        });
}

struct Expected {
    std::string number, name, angle, atoms;
    double lower, upper;
};

const std::vector<Expected> exampleRestraints = {
    {"-1", "LYS", "PHI", "-2 C -1 N -1 CA -1 C", 140.0, 200.0},
    {"-1", "LYS", "PSI", "-1 N -1 CA -1 C 0 N", -195.5, -155.5},
    {"-1", "LYS", "CHI1", "-1 N -1 CA -1 CB -1 CG", 155.0, 205.0},
    {"0", "VAL", "PHI", "-1 C 0 N 0 CA 0 C", -80.0, -40.0},
    {"0", "VAL", "PSI", "0 N 0 CA 0 C 1 N", -60.0, -20.0},
    {"0", "VAL", "CHI1", "0 N 0 CA 0 CB 0 CG1", 30.0, 90.0},
    {"1", "THR", "PHI", "0 C 1 N 1 CA 1 C", -80.0, -40.0},
    {"1", "THR", "PSI", "1 N 1 CA 1 C 2 N", -60.0, -20.0},
    {"1", "THR", "CHI1", "1 N 1 CA 1 CB 1 OG1", 38.0, 82.0},
    {"3", "ILE", "PHI", "2 C 3 N 3 CA 3 C", -80.0, -40.0},
    {"3", "ILE", "PSI", "3 N 3 CA 3 C 4 N", -60.0, -20.0},
    {"4", "CYS", "PHI", "3 C 4 N 4 CA 4 C", -80.0, -40.0},
    {"4", "CYS", "PSI", "4 N 4 CA 4 C 5 N", -60.0, -20.0},
    {"4", "CYS", "CHI1", "4 N 4 CA 4 CB 4 SG", -80.0, -40.0},
    {"5", "LEU", "PSI", "5 N 5 CA 5 C 6 N", -220.3, 139.3},
    {"13", "VAL", "PHI", "12 C 13 N 13 CA 13 C", -80.0, -40.0},
    {"13", "VAL", "PSI", "13 N 13 CA 13 C 14 N", -60.0, -20.0},
    {"13", "VAL", "CHI1", "13 N 13 CA 13 CB 13 CG1", -80.0, -40.0},
};

/// One run of the subcommand.
struct ExportRun {
    std::string text, notes;
};

ExportRun exportOf(const json& document, std::vector<std::string> arguments) {
    const TemporaryFile input(document.dump());
    const TemporaryFile output;
    CLI::App app;
    orvix::cli::ExitStatus status = orvix::cli::ExitStatus::runError;
    orvix::cli::addExportCommand(*app.add_subcommand("export"), status);
    arguments.insert(arguments.begin(), {"export", input.path(), "-o", output.path()});
    ExportRun run;
    std::exception_ptr thrown;
    run.notes = errorOutput([&] {
        try {
            app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));
        } catch (...) {
            thrown = std::current_exception();
        }
    });
    if (thrown) {
        std::rethrow_exception(thrown);
    }
    EXPECT_EQ(orvix::cli::ExitStatus::done, status);
    run.text = output.content();
    return run;
}

ExportRun exportAs(const std::string& format, std::vector<std::string> more = {},
                   const json& document = exampleResults()) {
    more.insert(more.begin(), {"--format", format});
    return exportOf(document, more);
}

std::vector<ReadRestraint> read(const std::string& format, const std::string& text) {
    return format == "cyana" ? readCyana(text)
           : format == "cns" ? readCns(text)
           : format == "nef" ? readNef(text)
                             : readNmrStar(text);
}

std::string rejection(const json& document, const std::vector<std::string>& arguments) {
    try {
        exportOf(document, arguments);
    } catch (const orvix::InputRejected& error) {
        return error.what();
    }
    return "not rejected";
}

bool hasText(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

class EveryFormat : public testing::TestWithParam<const char*> {};

}  // namespace

TEST_P(EveryFormat, HoldsTheIntendedIntervalsAndNoOthers) {
    const std::string format = GetParam();
    const ExportRun run = exportAs(format);
    const std::vector<ReadRestraint> found = read(format, run.text);
    ASSERT_EQ(exampleRestraints.size(), found.size()) << run.text;
    for (std::size_t i = 0; i < found.size(); ++i) {
        const Expected& expected = exampleRestraints[i];
        SCOPED_TRACE(expected.atoms + " " + expected.angle);
        EXPECT_EQ(format == "cyana" ? expected.number : expected.atoms, found[i].atoms);
        // CNS means the same interval by any turn; a pair of limits must be the pair above.
        EXPECT_NEAR(expected.lower, found[i].lower, 1e-9);
        EXPECT_NEAR(expected.upper, found[i].upper, 1e-9);
        if (format != "cns") {
            const bool oxidised = format == "cyana" && expected.name == "CYS";
            EXPECT_EQ(oxidised ? "CYSS" : expected.name, found[i].residueName);
            EXPECT_EQ(expected.angle, found[i].angleName);
        }
    }
    for (const char* const part : {"orvix " ORVIX_VERSION, "Classes: Strong;", "k = 2",
                                   "minimum = 20 degrees", "ORVIX-N 4.21.0", ".tab"}) {
        EXPECT_TRUE(hasText(run.text, part)) << part;
    }
    EXPECT_TRUE(std::all_of(run.text.begin(), run.text.end(),
                            [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); }));
    EXPECT_TRUE(hasText(run.notes, "at an end, not restrained: -2 15")) << run.notes;
    EXPECT_TRUE(hasText(run.notes, "unknown type")) << run.notes;
    EXPECT_TRUE(hasText(run.notes, "1 angles whose interval would be the whole circle"));
    EXPECT_TRUE(hasText(run.notes, "7 angles without a value")) << run.notes;
    EXPECT_TRUE(hasText(run.notes, "1 side chains without")) << run.notes;
}

TEST_P(EveryFormat, NoAngleReachesIntoAGap) {
    json document = exampleResults();
    // The unknown residue 9 without a shift fills a gap; its neighbour 10 is made restrainable.
    for (json& one : document["residues"]) {
        if (one["resid"] == 9) {
            one["shifts"] = nullptr;
        }
        if (one["resid"] == 10) {
            one["class"] = "Strong";
        }
    }
    const ExportRun run = exportAs(GetParam(), {}, document);
    EXPECT_EQ(exampleRestraints.size() + 1, read(GetParam(), run.text).size());
    EXPECT_TRUE(hasText(run.notes, "beside a gap of the sequence")) << run.notes;
    EXPECT_TRUE(hasText(run.notes, std::to_string(exampleRestraints.size() + 1) + " restraints: "));
}

TEST_P(EveryFormat, WidthsClassesAndChi1FollowTheOptions) {
    const std::string format = GetParam();
    const ExportRun run =
        exportAs(format, {"--k", "3", "--min", "7.5", "--classes", "Strong,Generous", "--no-chi1"});
    const std::vector<ReadRestraint> found = read(format, run.text);
    ASSERT_EQ(14U, found.size());  // 5 L has no interval left, 2 S is in, no chi1
    EXPECT_NEAR(125.0, found[0].lower, 1e-9);
    EXPECT_NEAR(-187.5, found[1].lower, 1e-9);
    EXPECT_TRUE(hasText(run.text, "Classes: Strong, Generous;"));
    EXPECT_TRUE(hasText(run.text, "k = 3, minimum = 7.5 degrees"));
}

TEST_P(EveryFormat, WithoutRestraintsIsStillAFile) {
    const std::string format = GetParam();
    const json document = results(
        "MKV", {residue(-2, "M", "None"), residue(-1, "K", "Warn"), residue(0, "V", "None")});
    const ExportRun run = exportAs(format, {}, document);
    EXPECT_TRUE(read(format, run.text).empty());
    EXPECT_TRUE(hasText(run.notes, "no restraints"));
    EXPECT_TRUE(hasText(run.text, "Restraints: 0 phi, 0 psi, 0 chi1"));
}

namespace {

using MatchPoints = std::vector<std::pair<double, double>>;  ///< phi and psi, degrees

/// `count` matches, half of them `off` below and half of them above a place, in phi and in psi.
MatchPoints island(int count, double phi, double psi, double off = 5.0) {
    MatchPoints points;
    for (int i = 0; i < count; ++i) {
        const double side = i % 2 == 0 ? off : -off;
        points.emplace_back(orvix::wrapOnce(phi + side), orvix::wrapOnce(psi + side));
    }
    return points;
}

MatchPoints joined(MatchPoints points, const MatchPoints& more) {
    points.insert(points.end(), more.begin(), more.end());
    return points;
}

/// 14 matches, 8 matches, and 3 far from both.
const MatchPoints twoClear =
    joined(joined(island(14, -60, -40), island(8, -120, 130)), MatchPoints(3, {60.0, 40.0}));

/// The example with matches for the residue 11, which is of class Warn.
json ambiguousResults(const MatchPoints& points) {
    json document = exampleResults();
    document["schema_version"] = 2;
    for (json& one : document["residues"]) {
        if (one["resid"] != 11) {
            continue;
        }
        json& matches = one["matches"];
        for (const auto& [phi, psi] : points) {
            matches["source"].push_back("b1_1ABCA");
            matches["window"].push_back("AYH");
            matches["resid"].push_back(7);
            matches["phi"].push_back(phi);
            matches["psi"].push_back(psi);
            matches["chi1"].push_back(nullptr);
            matches["score"].push_back(0.5);
            matches["used"].push_back(true);
        }
    }
    return document;
}

std::optional<std::array<orvix::restraints::MatchIsland, 2>> islandsOf(const MatchPoints& points) {
    std::vector<orvix::results::FinishedMatch> matches;
    for (const auto& [phi, psi] : points) {
        matches.emplace_back();
        matches.back().phi = phi;
        matches.back().psi = psi;
    }
    return orvix::restraints::twoIslands(matches);
}

}  // namespace

TEST_P(EveryFormat, TwoIslandsAreAChoiceWhereTheFormatHoldsOne) {
    const std::string format = GetParam();
    const ExportRun run = exportAs(format, {"--ambiguous"}, ambiguousResults(twoClear));
    std::vector<ReadRestraint> found = read(format, run.text);
    for (const char* const part : {"two clear islands of phi and psi", "at least 5 matches each",
                                   "spreads up to 30 degrees", "Ambiguous residues: 1: 11"}) {
        EXPECT_TRUE(hasText(run.text, part)) << part;
    }
    EXPECT_TRUE(hasText(run.notes, "1 residues of class Warn with two clear islands: 11"));
    if (format == "cyana") {
        EXPECT_EQ(exampleRestraints.size(), found.size());
        EXPECT_TRUE(hasText(run.text, "the format holds no alternatives"));
        return;
    }
    ASSERT_EQ(exampleRestraints.size() + 4, found.size()) << run.text;
    found.erase(found.begin(),
                found.begin() + static_cast<std::ptrdiff_t>(exampleRestraints.size()));
    // phi and psi of the one, phi and psi of the other; CNS has the choice for each angle.
    const bool byAngle = format == "cns";
    const std::size_t psi = byAngle ? 2 : 1, otherPhi = byAngle ? 1 : 2;
    EXPECT_EQ("10 C 11 N 11 CA 11 C", found[0].atoms);
    EXPECT_EQ("11 N 11 CA 11 C 12 N", found[psi].atoms);
    EXPECT_EQ(found[0].atoms, found[otherPhi].atoms);
    EXPECT_NEAR(-80.0, found[0].lower, 1e-9);
    EXPECT_NEAR(-40.0, found[0].upper, 1e-9);
    EXPECT_NEAR(-60.0, found[psi].lower, 1e-9);
    EXPECT_NEAR(-140.0, found[otherPhi].lower, 1e-9);
    EXPECT_NEAR(150.0, found[3].upper, 1e-9);
    EXPECT_EQ(found[0].id, found[otherPhi].id);
    EXPECT_EQ(byAngle, found[0].id != found[psi].id);
    EXPECT_EQ("1", found[0].combination);
    EXPECT_EQ("1", found[psi].combination);
    EXPECT_EQ("2", found[otherPhi].combination);
    EXPECT_EQ("2", found[3].combination);
    std::set<std::string> ids;
    for (const ReadRestraint& one : read(format, run.text)) {
        ids.insert(one.id);
    }
    EXPECT_EQ(exampleRestraints.size() + (byAngle ? 2 : 1), ids.size());
    // Not asked for, there is no word of it.
    const ExportRun plain = exportAs(format, {}, ambiguousResults(twoClear));
    EXPECT_EQ(exampleRestraints.size(), read(format, plain.text).size());
    EXPECT_FALSE(hasText(plain.text, "mbiguous"));
}

TEST(Islands, AreTwoAndClearOrNone) {
    const auto two = islandsOf(twoClear);
    ASSERT_TRUE(two);
    EXPECT_EQ((*two)[0].count, 14);
    EXPECT_NEAR((*two)[1].psi, 130.0, 1e-9);
    EXPECT_NEAR((*two)[0].phiSpread, std::sqrt(14.0 * 25.0 / 13.0), 1e-9);
    // Across the end of the circle, the larger behind the smaller in the list.
    const auto across = islandsOf(joined(island(8, -60, 178), island(16, 178, -60, 9)));
    ASSERT_TRUE(across);
    EXPECT_EQ((*across)[0].count, 16);
    EXPECT_NEAR(std::fabs((*across)[0].phi), 178.0, 1e-9);
    EXPECT_FALSE(islandsOf(joined(island(21, -60, -40), island(4, -120, 130)))) << "four are few";
    EXPECT_FALSE(islandsOf(
        joined(joined(island(11, -60, -40), island(9, -120, 130)), MatchPoints(4, {60.0, 40.0}))))
        << "four strays";
    EXPECT_FALSE(islandsOf(joined(island(12, -60, -40), island(12, -60, 38)))) << "too near";
    EXPECT_FALSE(islandsOf(joined(island(12, -60, -40, 19.9), MatchPoints(0)))) << "too few";
    MatchPoints wide;
    for (int i = 0; i < 14; ++i) {
        wide.emplace_back(-170.0 + 10.0 * i, -40.0);
    }
    EXPECT_FALSE(islandsOf(joined(wide, island(10, -100, 130)))) << "a chain is no clear island";
    EXPECT_FALSE(islandsOf(island(25, -60, -40)));
    EXPECT_FALSE(islandsOf({}));
}

TEST(Islands, IntervalsThatTouchAreJoinedTheShortWay) {
    const auto both = [](int a, int ha, int b, int hb) {
        return orvix::restraints::joinedInterval({1, {}, a * 1000, ha * 1000, 5000},
                                                 {1, {}, b * 1000, hb * 1000, 9000});
    };
    EXPECT_EQ(both(-60, 20, -90, 20)->centre, -75000);
    EXPECT_EQ(both(-60, 20, -90, 20)->halfWidth, 35000);
    EXPECT_EQ(both(170, 20, -170, 25)->centre, -177500);
    EXPECT_EQ(both(170, 20, -170, 25)->halfWidth, 32500);
    EXPECT_EQ(both(-60, 40, -65, 10)->halfWidth, 40000) << "one inside of the other";
    EXPECT_FALSE(both(-60, 20, -120, 20));
    EXPECT_GE(both(0, 120, 180, 120)->halfWidth, orvix::restraints::wholeCircle);
}

INSTANTIATE_TEST_SUITE_P(Formats, EveryFormat, testing::Values("cyana", "cns", "nef", "nmrstar"));

TEST(ExportChi1, AngleAsCentreIsTurnedBackForValineToo) {
    const std::vector<json> residues = {
        residue(-2, "M", "Strong"), withChi1(residue(-1, "V", "Strong"), "t", 170.0, 5.0),
        withChi1(residue(0, "L", "Strong"), "g-", -95.0, 5.0), residue(1, "K", "Strong")};
    const auto found =
        readCyana(exportAs("cyana", {"--chi1-centre", "angle"}, results("MVLK", residues)).text);
    ASSERT_EQ(2U, found.size());
    EXPECT_NEAR(-90.0, found[0].lower, 1e-9);  // 170 + 120 is -70
    EXPECT_NEAR(-115.0, found[1].lower, 1e-9);
    // About the rotamer's centre the interval misses the predicted angle, which is said.
    const ExportRun centred = exportAs("cyana", {}, results("MVLK", residues));
    EXPECT_NEAR(-80.0, readCyana(centred.text)[1].lower, 1e-9);
    EXPECT_TRUE(hasText(centred.notes, "(see --chi1-centre): 0")) << centred.notes;
}

TEST(ExportNames, FollowTheMap) {
    const json document = exampleResults();
    const auto names = [&document](const std::string& map) {
        std::map<std::string, std::string> byNumber;
        for (const auto& one : readCyana(exportAs("cyana", {"--name-map", map}, document).text)) {
            byNumber[one.atoms] = one.residueName;
        }
        return byNumber;
    };
    EXPECT_EQ("CYS", names("CYSS=CYS")["4"]);
    EXPECT_EQ("CYO", names("c=CYO")["4"]);
    json found = document;  // given as C, found to be oxidised
    found["residues"][6]["resname"] = "C";
    EXPECT_EQ("CYS", readCyana(exportAs("cyana", {}, found).text)[11].residueName);
    found["residues"][6]["state_letter"] = "c";
    EXPECT_EQ("CYSS", readCyana(exportAs("cyana", {}, found).text)[11].residueName);
    auto mapped = names("LYS=LYS+,-1=LYX,9=SEP");
    EXPECT_EQ("LYX", mapped["-1"]);  // the number is more special than the name
    EXPECT_EQ("SEP", mapped["9"]);   // named, so it is restrained
    StarText nef = readStar(exportAs("nef").text);
    for (const auto& row : nef.frames["nef_molecular_system"].loops.at("nef_sequence")) {
        EXPECT_EQ(row.at("sequence_code") == "4" ? "-HG" : ".", row.at("residue_variant"));
    }
}

TEST(ExportNef, IsCompleteByItself) {
    const std::string text = exportAs("nef", {"--chain", "B"}).text;
    StarText star = readStar(text);
    EXPECT_EQ(0U, star.block.rfind("nef_", 0));
    const auto& meta = star.frames["nef_nmr_meta_data"].tags;
    for (const char* const tag : {"format_name", "format_version", "program_name",
                                  "program_version", "creation_date", "uuid", "sf_framecode"}) {
        EXPECT_EQ(1U, meta.count(std::string("_nef_nmr_meta_data.") + tag)) << tag;
    }
    const auto& sequence = star.frames["nef_molecular_system"].loops.at("nef_sequence");
    ASSERT_EQ(18U, sequence.size());
    EXPECT_EQ("start", sequence.front().at("linking"));
    EXPECT_EQ("end", sequence.back().at("linking"));
    EXPECT_EQ("B", sequence.back().at("chain_code"));
    EXPECT_EQ("UNK", sequence[11].at("residue_name"));
    const auto& shifts =
        star.frames["nef_chemical_shift_list_prediction_input"].loops.at("nef_chemical_shift");
    ASSERT_EQ(18U * 4U, shifts.size());  // no row for a missing shift
    EXPECT_EQ("120.125", shifts[0].at("value"));
    EXPECT_EQ("H", shifts[3].at("atom_name"));
    EXPECT_EQ("1", shifts[3].at("isotope_number"));
    for (const auto& [code, frame] : star.frames) {
        bool named = false;
        for (const auto& [tag, value] : frame.tags) {
            EXPECT_NE("?", value);
            named = named || (hasText(tag, ".sf_category") && code.rfind(value, 0) == 0);
        }
        EXPECT_TRUE(named) << code << " does not begin with its category";
    }
}

TEST(ExportNumbering, AuthorsNumbers) {
    json document = exampleResults();
    const auto cyana = [&document] {
        return rejection(document, {"--format", "cyana", "--numbering", "auth"});
    };
    EXPECT_TRUE(hasText(cyana(), "no author's number for residue -2")) << cyana();
    for (json& one : document["residues"]) {
        one["author_resid"] = std::to_string(one["resid"].get<int>() + 100);
    }
    EXPECT_EQ("100", readCyana(exportAs("cyana", {"--numbering", "auth"}, document).text)[3].atoms);
    document["residues"][2]["author_resid"] = "99A";
    EXPECT_TRUE(hasText(cyana(), "author's number 99A of residue 0")) << cyana();
    EXPECT_EQ("98 C 99 N 99 CA 99 C",
              readNef(exportAs("nef", {"--numbering", "auth"}, document).text)[0].atoms);
    StarText star = readStar(exportAs("nmrstar", {}, document).text);
    const auto& row =
        star.frames["torsion_angle_constraints"].loops.at("Torsion_angle_constraint")[3];
    EXPECT_EQ("3", row.at("Comp_index_ID_2"));
    EXPECT_EQ("99A", row.at("Auth_seq_ID_2"));
    document["residues"][2]["author_resid"] = "101";
    EXPECT_TRUE(hasText(cyana(), "101 of residue 1 is that of residue 0 as well")) << cyana();
}

TEST(ExportUsage, IsRefusedWithStatusTwo) {
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"--format", "cyana", "--classes", "Strong,Warn"},
                                               {"--format", "cyana", "--classes", "None"},
                                               {"--format", "pdb"},
                                               {},
                                               {"--format", "cyana", "--k", "-1"},
                                               {"--format", "cyana", "--k", "nan"},
                                               {"--format", "cyana", "--min", "0"},
                                               {"--format", "cyana", "--min", "180"},
                                               {"--format", "cyana", "--name-map", "HIS"},
                                               {"--format", "cyana", "--name-map", "HUS=HIST"},
                                               {"--format", "cyana", "--name-map", "77=HIST"},
                                               {"--format", "cns", "--segid", "ABCDE"},
                                               {"--format", "nef", "--chain", "A B"}}) {
        EXPECT_THROW(exportOf(exampleResults(), arguments), CLI::ParseError)
            << testing::PrintToString(arguments);
    }
}

TEST(ExportInput, IsRejectedWithThePlace) {
    const std::vector<std::string> cyana = {"--format", "cyana"};
    const auto changed = [&](const json::json_pointer& place, const json& value) {
        json document = exampleResults();
        document[place] = value;
        return rejection(document, cyana);
    };
    using Pointer = json::json_pointer;
    EXPECT_TRUE(hasText(changed(Pointer("/schema_version"), 3), "version from 1 to 2, found 3"));
    EXPECT_TRUE(hasText(changed(Pointer("/schema"), "x"), "schema: expected \"orvix-results\""));
    EXPECT_TRUE(hasText(changed(Pointer("/residues/3/phi"), "x"),
                        "residues[3].phi: expected a number or null, found \"x\""));
    EXPECT_TRUE(hasText(changed(Pointer("/residues/3/phi"), 400.0), "an angle"));
    EXPECT_TRUE(hasText(changed(Pointer("/residues/3/class"), "Good"), "found \"Good\""));
    EXPECT_TRUE(
        hasText(changed(Pointer("/residues/3/resid"), 99), "within the sequence, -2 to 15"));
    EXPECT_TRUE(hasText(changed(Pointer("/residues/3/resid"), 2), "residues[3].resname"));
    EXPECT_TRUE(
        hasText(changed(Pointer("/residues/4"), residue(1, "T", "None")), "each residue once"));
    EXPECT_TRUE(hasText(changed(Pointer("/residues/3/chi1/turned"), true), "no valine"));
    EXPECT_TRUE(hasText(changed(Pointer("/residues/3/state_letter"), "c"), "a state of"));
    EXPECT_TRUE(hasText(changed(Pointer("/residues"), 5), "a list of residues"));

    CLI::App app;
    orvix::cli::ExitStatus status = orvix::cli::ExitStatus::done;
    orvix::cli::addExportCommand(*app.add_subcommand("export"), status);
    const TemporaryFile broken("{\"schema\": \"orvix-results\", ");
    EXPECT_THROW(app.parse("export --format nef \"" + broken.path() + "\""), orvix::InputRejected);
    const TemporaryFile deep("{\"schema\": " + std::string(200000, '[') + std::string(200000, ']') +
                             "}");
    EXPECT_THROW(app.parse("export --format nef \"" + deep.path() + "\""), orvix::InputRejected);
    EXPECT_THROW(app.parse("export --format nef /no/such/place"), orvix::InputRejected);
}

TEST(ExportOutput, NeverHalfWritten) {
    const TemporaryFile input(exampleResults().dump());
    const auto parse = [](const std::string& line) {
        CLI::App app;
        orvix::cli::ExitStatus status = orvix::cli::ExitStatus::done;
        orvix::cli::addExportCommand(*app.add_subcommand("export"), status);
        app.parse(line);
    };
    EXPECT_THROW(parse("export \"" + input.path() + "\" --format cns -o /no/such/place/x.tbl"),
                 orvix::RunError);
    EXPECT_THROW(parse("export \"" + input.path() + "\" --format cns -o /dev/full"),
                 orvix::RunError);
    EXPECT_THROW(parse("export \"" + input.path() + "\" --format cns -o \"" + input.path() + "\""),
                 CLI::ParseError);
    EXPECT_EQ(exampleResults(), json::parse(input.content()));
    testing::internal::CaptureStdout();
    parse("export \"" + input.path() + "\" --format cns --segid A");
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_EQ(exampleRestraints.size(), readCns(text).size());
    EXPECT_TRUE(hasText(text, "(segid \"A   \" and resid   -2 and name C  )")) << text;
}
