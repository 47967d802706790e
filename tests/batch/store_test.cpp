#include "batch/store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/run_end.h"
#include "batch/collect.h"
#include "cli/temporary_directory.h"

namespace {

using namespace orvix;
using batch::DatabaseFile;
using batch::Store;
using testing::HasSubstr;

/// A prediction of two residues with something in every part, told apart by `phi`.
results::FinishedPrediction prediction(double phi) {
    results::FinishedPrediction made;
    made.programName = "orvix";
    made.sequence = "AV";
    made.title = "a \"title\", with all";
    results::FinishedResidue residue;
    residue.label = residue.letter = 'A';
    residue.phi = phi;
    residue.classWord = "Strong";
    residue.shifts[0] = 120.125;
    residue.chi1 = results::FinishedChi1{};
    residue.chi1->rotamer = "g-";
    residue.map = {0.5, std::nullopt};
    residue.clusters = {{3, 1.5, {3, 4}}};
    residue.matches = {{"1abc", "AAA", 7, -60.0, {}, {}, 0.25, true},
                       {"2abc", "AAV", 9, {}, {}, {}, {}, false}};
    residue.matchedShifts[5] = results::MatchedShift{0.1, {}, 4};
    made.residues[1] = residue;
    made.residues[2] = residue;
    made.residues[2].phi.reset();
    made.check.outliers = {{1, "A", "CA", 5.0, 4.0, true, true}};
    made.check.offsets[1] = results::ReferencingOffset{};
    made.check.mismatches = {{2, "", "V"}};
    made.check.limits["A"][3] = results::ShiftLimits{-2.0, 3.0};
    return made;
}

void put(Store& store, std::size_t number, const std::string& name, double phi,
         const std::string& key = "key") {
    const auto finished = prediction(phi);
    store.put({number, name, name + ".tab", key, "data", finished});
}

std::int64_t count(const std::string& path, const std::string& what) {
    return DatabaseFile(path, DatabaseFile::Open::existing).integer("SELECT count(*) FROM " + what);
}

std::string content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Store, HoldsEveryPartOfAPredictionOnce) {
    const TemporaryDirectory place;
    const std::string path = place.path("s.sqlite");
    Store store(path);
    store.putFailure({4, "x", "x.tab", "earlier"}, false);
    put(store, 4, "x", -60.0, "old");
    put(store, 5, "x", -61.5, "new");
    EXPECT_TRUE(store.has("x", "new", 5));
    EXPECT_FALSE(store.has("x", "old", 5));
    EXPECT_FALSE(store.has("y", "new", 5));
    store.close();
    EXPECT_EQ(place.names(), std::set<std::string>{"s.sqlite"}) << "a log stays beside the store";
    for (const batch::StoreTable& table : batch::storeTables()) {
        EXPECT_GT(count(path, table.name), 0) << table.name;
    }
    EXPECT_EQ(count(path, "proteins"), 1);
    EXPECT_EQ(count(path, "failures"), 0);
    EXPECT_EQ(count(path, "matches WHERE rank = 1 AND used AND phi = -60"), 2);
    EXPECT_EQ(count(path,
                    "residues WHERE resid = 1 AND phi = -61.5 AND shift_N = 120.125 AND "
                    "secondary_N IS NULL AND rotamer = 'g-' AND chi1 IS NULL"),
              1);
    EXPECT_EQ(count(path, "maps, json_each(boxes) WHERE value = 0.5"), 2);
    EXPECT_EQ(count(path, "proteins WHERE json_extract(settings, '$.clip') AND job = 5"), 1);
}

TEST(Store, LosesOutdatedRowsWithAFailureAndKeepsOthers) {
    const TemporaryDirectory place;
    const std::string path = place.path("s.sqlite");
    Store store(path);
    put(store, 1, "x", -60.0);
    put(store, 2, "y", -60.0);
    store.putFailure({1, "x", "x.tab", "changed"}, true);
    store.putFailure({2, "y", "y.tab", "disk full"}, false);
    store.close();
    EXPECT_EQ(count(path, "proteins"), 1);
    EXPECT_EQ(count(path, "residues WHERE protein = 'x'"), 0);
    EXPECT_EQ(count(path, "matches WHERE protein = 'y'"), 4);
    EXPECT_EQ(count(path, "failures"), 2);
}

TEST(Store, WhatWasNotCommittedIsNotThere) {
    const TemporaryDirectory place;
    const std::string path = place.path("s.sqlite");
    {
        Store store(path);
        put(store, 1, "x", -60.0);
        store.commit();
        put(store, 2, "y", -60.0);
    }
    Store store(path);
    EXPECT_TRUE(store.has("x", "key", 1));
    EXPECT_FALSE(store.has("y", "key", 2));
}

TEST(Store, OtherFilesAreRefused) {
    const TemporaryDirectory place;
    place.write("text", "no database, but long enough to be read as one by its first bytes ......");
    EXPECT_THAT(errorOf<RunError>([&] { Store(place.path("text")); }), HasSubstr("text: "));
    { DatabaseFile(place.path("other"), DatabaseFile::Open::readOrMake).run("CREATE TABLE t (x)"); }
    EXPECT_THAT(errorOf<RunError>([&] { Store(place.path("other")); }), HasSubstr("no store"));
    { Store(place.path("newer")).close(); }
    DatabaseFile(place.path("newer"), DatabaseFile::Open::existing).run("PRAGMA user_version = 99");
    EXPECT_THAT(errorOf<RunError>([&] { Store(place.path("newer")); }), HasSubstr("version 99"));
}

TEST(Collect, PartsJoinedAndExportedAreOneBatch) {
    const TemporaryDirectory place;
    const auto path = [&](const char* name) { return place.path(name); };
    const std::vector<std::string> names = {"b", "a", "c"};
    Store whole(path("whole")), one(path("one")), two(path("two"));
    for (std::size_t i = 0; i < names.size(); ++i) {
        put(whole, i + 1, names[i], -60.0 - static_cast<double>(i));
        put(i % 2 == 0 ? one : two, i + 1, names[i], -60.0 - static_cast<double>(i));
    }
    whole.putFailure({4, "d", "d.tab", "no \"shifts\", none"}, true);
    two.putFailure({4, "d", "d.tab", "no \"shifts\", none"}, true);
    two.putFailure({1, "b", "b.tab", "done by another part"}, true);
    whole.close();
    one.close();
    two.close();
    batch::collectStores({path("two"), path("one"), path("one")}, path("all"));
    for (const auto format : {batch::ExportFormat::csv, batch::ExportFormat::jsonl}) {
        batch::exportStore(path("whole"), format, path("x"));
        batch::exportStore(path("all"), format, path("y"));
    }
    const std::set<std::string> files = place.names("x");
    EXPECT_EQ(files, place.names("y"));
    EXPECT_EQ(files.size(), 2 * (batch::storeTables().size() + 1));
    for (const std::string& file : files) {
        EXPECT_EQ(content(place.path("x/" + file)), content(place.path("y/" + file))) << file;
    }
    EXPECT_THAT(content(path("x/failures.csv")),
                testing::Eq("name,job,file,reason\nd,4,d.tab,\"no \"\"shifts\"\", none\"\n"));
    EXPECT_THAT(content(path("x/outliers.jsonl")),
                testing::StartsWith("{\"protein\":\"b\",\"place\":1,\"resid\":1,\"resname\":\"A\","
                                    "\"atom\":\"CA\",\"secondary_shift\":5,"));
}

TEST(Collect, ProteinsOfDifferentInputsAreNotMixed) {
    const TemporaryDirectory place;
    Store one(place.path("one")), two(place.path("two"));
    put(one, 1, "x", -60.0, "key");
    put(two, 1, "x", -60.0, "other");
    one.close();
    two.close();
    EXPECT_THAT(errorOf<RunError>([&] {
                    batch::collectStores({place.path("one"), place.path("two")}, place.path("all"));
                }),
                HasSubstr("has the protein x from another input"));
    EXPECT_EQ(place.names(), (std::set<std::string>{"one", "two"}));
    EXPECT_THAT(
        errorOf<RunError>([&] { batch::collectStores({place.path("none")}, place.path("all")); }),
        HasSubstr("none: "));
}

}  // namespace
