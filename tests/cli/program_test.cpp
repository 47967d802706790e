#include "cli/program.h"

#include <gtest/gtest.h>

#include <vector>

#include "cli/nearest_word.h"

namespace {

struct Said {
    int status = -1;
    std::string out, err;
};

Said say(std::vector<const char*> words) {
    words.insert(words.begin(), "orvix");
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    Said said;
    said.status = orvix::cli::runProgram(static_cast<int>(words.size()), words.data());
    said.out = testing::internal::GetCapturedStdout();
    said.err = testing::internal::GetCapturedStderr();
    return said;
}

TEST(Program, HelpAndVersionAreResults) {
    for (const char* option : {"-h", "--help", "-V", "--version"}) {
        const Said said = say({option});
        EXPECT_EQ(said.status, 0) << option;
        EXPECT_EQ(said.err, "") << option;
        EXPECT_NE(said.out, "") << option;
    }
    for (const char* command :
         {"import", "predict", "check", "show", "report", "export", "profile"}) {
        const Said said = say({command, "--help"});
        EXPECT_EQ(said.status, 0) << command;
        EXPECT_NE(said.out, "") << command;
        EXPECT_NE(say({"--help"}).out.find(command), std::string::npos);
    }
}

TEST(Program, UsageErrorsHaveAHint) {
    const auto expectHint = [](const std::vector<const char*>& words, const std::string& hint) {
        const Said said = say(words);
        EXPECT_EQ(said.status, 2) << said.err;
        EXPECT_EQ(said.out, "");
        EXPECT_NE(said.err.find(hint), std::string::npos) << said.err;
    };
    expectHint({}, "See orvix --help");
    expectHint({"predcit", "x"}, "Did you mean predict?");
    expectHint({"--versoin"}, "Did you mean --version?");
    expectHint({"frobnicate"}, "See orvix --help");
    expectHint({"predict", "x", "-o", "y", "--exlude=1"}, "Did you mean --exclude?");
    expectHint({"predict", "x", "-o", "y", "-noproton"}, "Did you mean --noproton?");
    expectHint({"predict", "x"}, "See orvix predict --help");
    expectHint({"predict", "x", "-o", "y", "--s2-threshold", "1.5"}, "not a number from 0 to 1");
    expectHint({"predict", "x", "-o", "y", "--s2-threshold", "nan"}, "not a number from 0 to 1");
    expectHint({"predict", "x", "-o", "y", "--first", "a"}, "See orvix predict --help");
    expectHint({"check", "x", "y"}, "unexpected argument y");
    expectHint({"predict", "x", "-o", ""}, "is empty");
    expectHint({"import", "x", "-o", ""}, "is empty");
    expectHint({"import", "x", "-o", "t", "--report", "./t"}, "is the file that the table goes to");
    expectHint({"check", "x", "--fail-on", "all"}, "See orvix check --help");
}

TEST(Program, NearestWord) {
    const std::vector<std::string> words = {"--threads", "--title", "--iso", "--offset"};
    EXPECT_EQ(orvix::cli::nearestWord("--treads", words), "--threads");
    EXPECT_EQ(orvix::cli::nearestWord("--ttile", words), "--title");
    EXPECT_EQ(orvix::cli::nearestWord("--off", words), "--offset");
    EXPECT_EQ(orvix::cli::nearestWord("--zzz", words), "");
    EXPECT_EQ(orvix::cli::nearestWord(std::string(100000, '-'), words), "");
}

}  // namespace
