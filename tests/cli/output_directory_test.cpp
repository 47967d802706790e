#include "results/output_directory.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "cli/command.h"
#include "temporary_directory.h"

namespace {

using Names = std::set<std::string>;

void writeIn(const orvix::results::OutputDirectory& output, const std::string& name) {
    std::ofstream(output.file(name)) << "{\"schema\": \"orvix-results\"}";
}

TEST(OutputDirectory, AppearsWholeOrNotAtAll) {
    const TemporaryDirectory directory;
    {
        orvix::results::OutputDirectory output(directory.path("out/"), false);
        writeIn(output, "results.json");
        EXPECT_EQ(directory.names().count("out"), 0U);
    }
    EXPECT_EQ(directory.names(), Names());

    const mode_t mask = umask(027);
    orvix::results::OutputDirectory output(directory.path("out"), false);
    umask(mask);
    writeIn(output, "results.json");
    output.publish();
    EXPECT_EQ(directory.names(), Names{"out"});
    EXPECT_EQ(directory.names("out"), Names{"results.json"});
    struct stat made {};
    ASSERT_EQ(stat(directory.path("out").c_str(), &made), 0);
    EXPECT_EQ(made.st_mode & 0777U, 0750U);
}

TEST(OutputDirectory, ReplacesOnlyAnEarlierPrediction) {
    const TemporaryDirectory directory;
    directory.write("earlier/results.json", "{\"schema\": \"orvix-results\"}");
    directory.write("earlier/stale.tab", "");
    directory.write("foreign/thesis.txt", "");
    directory.write("other/results.json", "{\"schema\": \"something\"}");
    directory.write("file", "");
    const Names before = directory.names();
    const auto message = [&](const std::string& name, bool replace) {
        return errorOf<orvix::RunError>(
            [&] { orvix::results::OutputDirectory(directory.path(name), replace); });
    };
    EXPECT_NE(message("earlier", false).find("--force"), std::string::npos);
    EXPECT_NE(message("foreign", true).find("no earlier prediction"), std::string::npos);
    EXPECT_NE(message("other", true).find("no earlier prediction"), std::string::npos);
    EXPECT_NE(message("file", true).find("not a directory"), std::string::npos);
    EXPECT_NE(message("file/where", false).find("file"), std::string::npos);
    EXPECT_EQ(directory.names(), before);

    std::filesystem::create_directory_symlink(directory.path("earlier"), directory.path("link"));
    orvix::results::OutputDirectory output(directory.path("link"), true);
    writeIn(output, "results.json");
    EXPECT_EQ(directory.names("earlier").count("stale.tab"), 1U);
    output.publish();
    EXPECT_EQ(directory.names("earlier"), Names{"results.json"});
    EXPECT_TRUE(std::filesystem::is_symlink(directory.path("link")));
    EXPECT_EQ(directory.names(), (Names{"earlier", "foreign", "other", "file", "link"}));
}

TEST(OutputDirectory, MakesParentsAndTakesThemBack) {
    const TemporaryDirectory directory;
    { const orvix::results::OutputDirectory output(directory.path("a/b/out"), false); }
    EXPECT_EQ(directory.names(), Names());
    orvix::results::OutputDirectory output(directory.path("a/b/out"), false);
    output.publish();
    EXPECT_EQ(directory.names("a/b"), Names{"out"});
}

TEST(OutputDirectory, DoesNotTakeANameThatAppearedMeanwhile) {
    const TemporaryDirectory directory;
    orvix::results::OutputDirectory output(directory.path("out"), false);
    writeIn(output, "results.json");
    directory.write("out/mine", "");
    EXPECT_NE(errorOf<orvix::RunError>([&] { output.publish(); }), "");
    EXPECT_EQ(directory.names("out"), Names{"mine"});
}

}  // namespace
