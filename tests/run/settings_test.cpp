#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <regex>
#include <set>
#include <sstream>

#include "run/command_line.h"
#include "run/options.h"
#include "run/orvix.h"
#include "support/run_end.h"

namespace {

using Args = std::map<std::string, std::string>;

/// A run object with the settings of `args`, in an environment without a data directory.
std::unique_ptr<ORVIX> settled(const Args& args) {
    unsetenv("ORVIXN_DIR");
    auto run = std::make_unique<ORVIX>();
    run->setArgs(args);
    return run;
}

TEST(CommandLine, CutsAtBlankMinus) {
    const ORVIX run;
    const auto parse = [&](const std::string& text) {
        return orvix::parseCommandLine(text, run.argNames);
    };
    orvix::CommandLine line = parse(" -in  a.tab -inTitle my  first\ttry -verb -check foo");
    EXPECT_EQ(line.options["in"], "a.tab");
    EXPECT_EQ(line.options["inTitle"], "my first try");
    EXPECT_EQ(line.options["verb"], "verb");
    EXPECT_EQ(line.options["check"], "true");
    EXPECT_TRUE(line.unknown.empty());

    // A value can't begin with a minus sign, and the second of two equal names counts.
    line = parse(" -first -5 -rc x -nodetail -in a -in b -seqSS no");
    EXPECT_EQ(line.options["first"], "first");
    EXPECT_EQ(line.options["in"], "b");
    EXPECT_EQ(line.options["nodetail"], "true");
    EXPECT_TRUE(line.sequenceOnly);
    EXPECT_EQ(line.unknown, (std::vector<std::string>{"5", "rc", "nodetail"}));

    // Text in front of the first option has an empty name.
    line = parse(" stray -in a");
    EXPECT_EQ(line.options[""], "stray");
    EXPECT_EQ(line.unknown, (std::vector<std::string>{""}));
}

/// Words behind a minus sign in the option table of the page of orvixn.
std::set<std::string> documentedOptions() {
    std::ifstream page(ORVIX_OPTIONS_PAGE);
    std::set<std::string> names;
    bool inTable = false;
    for (std::string line; std::getline(page, line);) {
        if (line.starts_with("| Option |")) {
            inTable = true;
        } else if (line.empty()) {
            inTable = false;
        }
        static const std::regex word("[` ]-([A-Za-z0-9_]+)");
        const std::string cell = line.substr(0, line.find('|', 1));
        for (std::sregex_iterator it(cell.begin(), cell.end(), word), end; inTable && it != end;
             ++it) {
            names.insert((*it)[1]);
        }
    }
    return names;
}

TEST(Options, ThePageOfTheProgramTellsOfThoseThatHaveAnEffect) {
    std::set<std::string> working;
    for (const orvix::Option& option : orvix::allOptions()) {
        if (option.kind != orvix::OptionKind::none) {
            working.insert(option.name);
        }
    }
    const std::set<std::string> documented = documentedOptions();
    EXPECT_GT(documented.size(), 25U);
    EXPECT_THAT(working, testing::IsSupersetOf(documented));
    // Second names, and what the text beside the table explains.
    for (const char* name :
         {"orvixDir", "orvixNDir", "star", "pdb", "out", "alignLen", "help", "np", "nproc"}) {
        working.erase(name);
    }
    EXPECT_THAT(documented, testing::IsSupersetOf(working));
}

TEST(Options, EarlierNamesGoBeforeLaterOnes) {
    auto run = settled({{"orvixDir", "a"}, {"orvixnDir", "c"}});
    EXPECT_EQ(run->orvixDir, "a");
    run = settled({{"orvixnDir", "c"}, {"ref", "none"}, {"pdb", "b.pdb"}, {"nproc", "3"}});
    EXPECT_EQ(run->orvixDir, "c");
    EXPECT_EQ(run->refFile, "");
    EXPECT_EQ(run->nProc, 3);
}

TEST(Settings, DirectoriesFromEnvironment) {
    struct Case {
        const char *directory, *path, *expectedDirectory, *expectedSeparator;
    };
    const std::string keptPath = std::getenv("PATH") ? std::getenv("PATH") : "";
    const Case cases[] = {{"/opt/orvixn", "/bin", "/opt/orvixn", "/"},
                          {"C:\\orvixn", "/bin", "C:\\orvixn", "\\"},
                          {"word", "/bin", ".", ""},
                          {nullptr, "/bin", ".", "/"},
                          {nullptr, "C:\\bin", ".", "\\"},
                          {nullptr, "word", ".", ""},
                          {nullptr, nullptr, ".", "\\"}};
    for (const Case& c : cases) {
        c.directory != nullptr ? setenv("ORVIXN_DIR", c.directory, 1) : unsetenv("ORVIXN_DIR");
        c.path != nullptr ? setenv("PATH", c.path, 1) : unsetenv("PATH");
        const ORVIX run;
        EXPECT_EQ(run.orvixDir, c.expectedDirectory);
        EXPECT_EQ(run.pathSep, c.expectedSeparator);
    }
    setenv("PATH", keptPath.c_str(), 1);
    unsetenv("ORVIXN_DIR");
}

TEST(Settings, FileNames) {
    auto run = settled({});
    EXPECT_EQ(run->inTitle, "None");
    EXPECT_EQ(run->tabDir, "./tab");
    EXPECT_EQ(run->dbFile, "./tab/orvix.tab");
    EXPECT_EQ(run->allFile, "predAll.tab");
    EXPECT_EQ(run->refPDB, nullptr);

    run = settled({{"in", "a"}, {"star", "b"}, {"sum", "out/result.tab"}, {"out", "c"}});
    EXPECT_EQ(run->inFile, "b");
    EXPECT_EQ(run->inTitle, "a");
    EXPECT_EQ(run->outBase, "out/result");
    EXPECT_EQ(run->allFile, "out/resultAll.tab");

    run = settled(
        {{"out", "a.b/c"}, {"tabDir", "t"}, {"orvixNDir", "n"}, {"rc", "x"}, {"rand", "y"}});
    EXPECT_EQ(run->outBase, "a");
    EXPECT_EQ(run->orvixDir, "n");
    EXPECT_EQ(run->rcAdjFile, "t/rcadj.tab");
    EXPECT_EQ(run->randCoilFile, "x");

    run = settled({{"ref", "none"}, {"pdb", "x.pdb"}});
    EXPECT_EQ(run->refFile, "");
    EXPECT_EQ(run->refTitle, "None");
}

TEST(Settings, NumbersAndSwitches) {
    struct Case {
        const char* value;
        double limit;
    };
    for (const Case& c :
         {Case{"0.6", 1.0 - 0.6}, {"1.5", 0.4}, {"0", 1.0}, {"x", 1.0}, {"nan", 0.4}}) {
        EXPECT_EQ(settled({{"s2Thresh", c.value}})->s2Limit, c.limit) << c.value;
    }
    auto run = settled({{"count", "0"},
                        {"first", "first"},
                        {"np", "2"},
                        {"nproc", "4"},
                        {"len", "5"},
                        {"alignLen", "3"}});
    EXPECT_EQ(run->count, 10);
    EXPECT_EQ(run->firstResid, 0);
    EXPECT_EQ(run->lastResid, 999999);
    EXPECT_EQ(run->nProc, 2);
    EXPECT_EQ(run->alignLen, 3);

    run = settled({{"verb", "verb"},
                   {"noverb", "noverb"},
                   {"path", "path"},
                   {"nopath", "nopath"},
                   {"proton", "proton"},
                   {"noproton", "noproton"},
                   {"noOxiCysCheck", "x"},
                   {"OxiCysCheck", "x"}});
    EXPECT_FALSE(run->noVerb);
    EXPECT_TRUE(run->noPath);
    EXPECT_TRUE(run->noProton);
    EXPECT_FALSE(run->noOxiCysCheck);
}

TEST(Settings, WindowsOfOneRowAreAllowed) {
    for (const char* length : {"1", "2", "8"}) {
        EXPECT_EQ(settled({{"len", length}})->alignLen, std::atoi(length));
    }
}

TEST(SettingsDeathTest, EndsOfTheProcess) {
    EXPECT_END(settled({{"help", "help"}}), -1,
               "^Input Options:\n -in           \\[None\\]         Input Shift Table.\n");
    for (const char* length : {"9", "0", "-3", "x"}) {
        EXPECT_END(settled({{"len", length}}), -1, "out of range, use 1 to 8\n$");
    }
}

TEST(Settings, AnUnreadableReferenceIsReportedAlone) {
    std::ostringstream lines, warnings;
    const orvix::ScopedStreams streams({&lines, &warnings});
    EXPECT_FALSE(settled({{"ref", "missing.pdb"}})->hasReference());
    EXPECT_THAT(warnings.str(), testing::EndsWith("\tNo reference structure loaded!\n"));
}

}  // namespace
