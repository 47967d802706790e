#include "batch/job_list.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/run_end.h"
#include "cli/temporary_directory.h"

namespace {

using namespace orvix;
using batch::Job;
using testing::ElementsAre;
using testing::HasSubstr;

std::vector<std::string> names(const std::vector<Job>& jobs) {
    std::vector<std::string> list;
    for (const Job& job : jobs) {
        list.push_back(job.name);
    }
    return list;
}

/// Options of a line as their words in the title, refusing one word.
jobs::PredictionOptions wordsAsTitle(const std::vector<std::string>& words) {
    jobs::PredictionOptions options;
    for (const std::string& word : words) {
        if (word == "--wrong") {
            throw std::runtime_error("unknown option --wrong");
        }
        options.preparation.title += "[" + word + "]";
    }
    return options;
}

batch::JobSources manifestOf(const TemporaryDirectory& place, const std::string& text) {
    place.write("jobs", text);
    batch::JobSources sources;
    sources.manifest = place.path("jobs");
    sources.readOptions = wordsAsTitle;
    return sources;
}

TEST(JobList, DirectoriesPatternsAndFilesAreOneSortedListWithoutRepeats) {
    const TemporaryDirectory place;
    for (const char* name : {"in/b/x.str.gz", "in/a/x.tab", "in/y.NEF", "in/readme.txt",
                             "in/.hidden.tab", "in/.git/z.tab", "in/done/results.json",
                             "in/done/pred.tab", "in/out/old/pred.tab", "more/1.csv"}) {
        place.write(name, "x");
    }
    batch::JobSources sources;
    sources.inputs = {place.path("more/*.csv"), place.path("in"), place.path("in/a/x.tab"),
                      place.path("missing.tab")};
    sources.output = place.path("in/out");
    const std::vector<Job> jobs = batch::listJobs(sources);
    EXPECT_THAT(names(jobs), ElementsAre("x", "x-2", "y", "missing", "1"));
    EXPECT_EQ(jobs[1].file, place.path("in/b/x.str.gz"));
    for (std::size_t i = 0; i < jobs.size(); ++i) {
        EXPECT_EQ(jobs[i].number, i + 1);
    }
}

TEST(JobList, SourcesWithoutAFileAreRefused) {
    const TemporaryDirectory place;
    place.write("empty/readme.txt", "x");
    for (const std::string& input : {place.path("empty"), place.path("*.tab")}) {
        batch::JobSources sources;
        sources.inputs = {input};
        EXPECT_THAT(errorOf<InputRejected>([&] { batch::listJobs(sources); }), HasSubstr(input));
    }
}

TEST(JobList, NamesAreUniqueAndNeverThoseOfFilesOfTheBatch) {
    const TemporaryDirectory place;
    const auto sources = manifestOf(
        place, "a/x.tab -\nb/x.tab -\nc/x.tab x-2\nd/x.tab\ne/batch.tsv.csv\n/f/.gz.tab\n");
    EXPECT_THAT(names(batch::listJobs(sources)),
                ElementsAre("x", "x-3", "x-2", "x-4", "batch.tsv_", "_gz"));
}

TEST(JobList, ManifestLinesHaveFileNameAndOptions) {
    const TemporaryDirectory place;
    const auto sources = manifestOf(place,
                                    "# a comment\n\n"
                                    "a.tab one --title 'two words' --iso\n"
                                    "my shifts.tab\ttwo\t--first 3\r\n"
                                    "b.tab --offset\n"
                                    "\"c d.tab\"\n");
    const std::vector<Job> jobs = batch::listJobs(sources);
    EXPECT_THAT(names(jobs), ElementsAre("one", "two", "b", "c d"));
    EXPECT_EQ(jobs[0].options.preparation.title, "[--title][two words][--iso]");
    EXPECT_EQ(jobs[1].file, "my shifts.tab");
    EXPECT_EQ(jobs[1].options.preparation.title, "[--first][3]");
    EXPECT_EQ(jobs[2].options.preparation.title, "[--offset]");
}

TEST(JobList, WrongManifestLinesAreNamed) {
    const TemporaryDirectory place;
    const auto refusal = [&](const std::string& text) {
        const auto sources = manifestOf(place, text);
        return errorOf<InputRejected>([&] { batch::listJobs(sources); });
    };
    EXPECT_THAT(refusal("a.tab\n\nb.tab b --wrong\n"), HasSubstr("jobs:3: unknown option"));
    EXPECT_THAT(refusal("a.tab x\nb.tab x\n"), HasSubstr("jobs:2: the name x comes twice"));
    EXPECT_THAT(refusal("a.tab ../x\n"), HasSubstr("jobs:1: \"../x\" can't be a name"));
    EXPECT_THAT(refusal("a.tab x --title 'y\n"), HasSubstr("jobs:1: a quotation mark"));
    EXPECT_THAT(refusal("\tx\n"), HasSubstr("jobs:1: no file"));
    EXPECT_THAT(refusal("# nothing\n"), HasSubstr("names no job"));
}

TEST(Shards, PartTheListWithoutChangingNamesOrNumbers) {
    const TemporaryDirectory place;
    const auto all =
        batch::listJobs(manifestOf(place, "a/x.tab\nb/x.tab\nc/x.tab\nd/y.tab\ne/x.tab\n"));
    std::map<std::size_t, std::string> joined;
    for (const char* text : {"1/3", "2/3", "3/3"}) {
        for (const Job& job : batch::jobsOf(batch::parseShard(text), all)) {
            EXPECT_TRUE(joined.emplace(job.number, job.name).second);
        }
    }
    std::vector<std::string> inOrder;
    for (const auto& [number, name] : joined) {
        inOrder.push_back(name);
    }
    EXPECT_EQ(inOrder, names(all));
    for (const char* wrong : {"0/3", "4/3", "1", "/", "1/", "a/b", "1/2x", "-1/2", ""}) {
        EXPECT_THROW(batch::parseShard(wrong), RunEnd) << wrong;
    }
}

}  // namespace
