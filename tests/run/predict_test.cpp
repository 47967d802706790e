#include "run/predict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sstream>
#include <thread>

#include "base/run_end.h"
#include "base/streams.h"
#include "model/model.h"
#include "run/orvix.h"
#include "support/made_data.h"
#include "support/temporary.h"

namespace {

using Options = std::map<std::string, std::string>;

/// All that a run leaves, as text: its tables in order, then what it said on either stream.
std::vector<std::string> textsOf(const orvix::Prediction& prediction) {
    std::vector<std::string> texts;
    for (orvix::ResultTable table : orvix::resultTables) {
        texts.push_back(tableText(prediction, table));
    }
    std::string said, warned;
    for (const orvix::Message& message : prediction.messages) {
        (message.stream == orvix::Message::Stream::out ? said : warned) += message.text;
    }
    texts.push_back(said);
    texts.push_back(warned);
    return texts;
}

/// The made data directory, and the run of the program beside predict().
class Predict : public testing::Test {
  protected:
    Predict() {
        orvix::test::writeMadeData(directory.path());
        std::filesystem::create_directory(directory.path("out"));
        settings.tabDir = directory.path("tab");
        settings.inTitle = "made";
    }

    /// What the program leaves with these options.
    std::vector<std::string> program(Options options) const {
        options.insert({{"in", directory.path("query.tab")},
                        {"inTitle", "made"},
                        {"sum", directory.path("out/pred.tab")},
                        {"orvixNDir", directory.path()}});
        std::ostringstream said, warned;
        {
            const orvix::ScopedStreams streams({&said, &warned});
            ORVIX run;
            run.setArgs(options);
            run.orvixPredict();
        }
        std::vector<std::string> texts;
        for (orvix::ResultTable table : orvix::resultTables) {
            texts.push_back(directory.read("out/" + tableFileName(table)));
            EXPECT_FALSE(texts.back().empty());
        }
        texts.push_back(said.str());
        texts.push_back(warned.str());
        return texts;
    }
    orvix::ShiftInput input() const { return orvix::readShiftInput(directory.path("query.tab")); }
    /// The settings of case `k`, 0..4, and the same as options.
    orvix::Settings settingsOf(int k) const {
        orvix::Settings chosen = settings;
        chosen.noProton = k == 1;
        chosen.exclList = k == 2 ? "made103 made100" : "";
        chosen.noVerb = k != 3;
        chosen.noPath = k != 3;
        chosen.alignLen = k == 4 ? 1 : 7;
        return chosen;
    }
    static Options optionsOf(int k) {
        const Options cases[] = {{},
                                 {{"noproton", "x"}},
                                 {{"excl", "made103 made100"}},
                                 {{"verb", "x"}, {"path", "x"}},
                                 {{"len", "1"}}};
        return cases[k];
    }
    static constexpr int cases = 5;

    orvix::test::TemporaryDirectory directory;
    std::shared_ptr<const orvix::Model> model = std::make_shared<const orvix::Model>();
    orvix::Settings settings;
};

TEST_F(Predict, GivesTheBytesOfTheProgramAgainAndAgain) {
    for (int k = 0; k < cases; ++k) {
        const std::vector<std::string> expected = program(optionsOf(k));
        EXPECT_EQ(textsOf(predict(model, input(), settingsOf(k))), expected) << k;
        EXPECT_EQ(textsOf(predict(model, input(), settingsOf(k), {{}, 1, {}})), expected) << k;
    }
}

TEST_F(Predict, ManyRunsAtTheSameTimeGiveTheSame) {
    std::vector<std::vector<std::string>> expected;
    for (int k = 0; k < cases; ++k) {
        const auto alone = std::make_shared<const orvix::Model>();
        expected.push_back(textsOf(predict(alone, input(), settingsOf(k))));
    }
    // A model that nothing is loaded into yet: the threads meet at each component.
    std::vector<std::jthread> threads;
    std::vector<int> wrong(4, 0);
    for (std::size_t t = 0; t < wrong.size(); ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < 2 * cases; ++i) {
                const int k = (i + static_cast<int>(t)) % cases;
                const auto texts = textsOf(predict(model, input(), settingsOf(k), {{}, 1, {}}));
                wrong[t] += texts == expected[static_cast<std::size_t>(k)] ? 0 : 1;
            }
        });
    }
    threads.clear();
    EXPECT_THAT(wrong, testing::Each(0));
}

TEST_F(Predict, TheShiftCheckStopsBeforeTheNetworks) {
    std::filesystem::remove(directory.path("tab/surf20.level1.WI.tab"));
    const orvix::Prediction checked = checkShifts(model, input(), settings);
    EXPECT_EQ(checked.sequence.size(), std::size_t{orvix::test::made::length});
    EXPECT_FALSE(checked.shiftTable.entries.empty());
    EXPECT_EQ(checked.findings.offsets.size(), 3U);
    EXPECT_TRUE(checked.phiPsi.empty());
}

TEST_F(Predict, AMissingComponentEndsTheRunAndCanBeMended) {
    for (const char* name : {"randcoil.tab", "orvix_obsCS.tab", "surf20.level1.WI.tab",
                             "ss5.level2.WL1.tab", "orvix.tab", "chi1.tab"}) {
        const std::string path = directory.path("tab/" + std::string(name));
        std::filesystem::rename(path, path + ".away");
        try {
            predict(std::make_shared<const orvix::Model>(), input(), settings);
            ADD_FAILURE() << "went on without " << name;
        } catch (const orvix::RunEnd& end) {
            EXPECT_EQ(end.reason(), orvix::EndReason::dataDirectory) << name;
            EXPECT_THAT(end.what(), testing::HasSubstr(std::string(name).substr(0, 5)));
        }
        std::filesystem::rename(path + ".away", path);
    }
    const std::string path = directory.path("tab/orvix.tab");
    std::filesystem::rename(path, path + ".away");
    EXPECT_THROW(predict(model, input(), settings), orvix::RunEnd);
    std::filesystem::rename(path + ".away", path);
    EXPECT_FALSE(predict(model, input(), settings).phiPsi.empty());
}

TEST_F(Predict, FaultsOfTheInputAreTheInputs) {
    const auto reasonOf = [](const std::function<void()>& body) {
        try {
            body();
        } catch (const orvix::RunEnd& end) {
            return end.reason();
        }
        return orvix::EndReason::complete;
    };
    EXPECT_EQ(reasonOf([&] { orvix::readShiftInput(directory.path("none.tab")); }),
              orvix::EndReason::input);
    EXPECT_EQ(reasonOf([&] { orvix::shiftInput("VARS A\nFORMAT %q\n", "x"); }),
              orvix::EndReason::input);
    EXPECT_EQ(reasonOf([&] { predict(model, orvix::shiftInput("", "x"), settings); }),
              orvix::EndReason::input);
    orvix::Settings chosen = settings;
    chosen.refFile = directory.path("none.pdb");
    EXPECT_EQ(reasonOf([&] { predict(model, input(), chosen); }), orvix::EndReason::input);
    chosen = settings;
    chosen.alignLen = 9;
    EXPECT_EQ(reasonOf([&] { predict(model, input(), chosen); }), orvix::EndReason::usage);
}

TEST_F(Predict, AStopEndsTheRun) {
    std::stop_source source;
    std::string last;
    orvix::RunControl control;
    control.stop = source.get_token();
    control.listener = [&](const orvix::Message& message) {
        last = message.text;
        if (last == "Searching database ...\n") {
            source.request_stop();
        }
    };
    try {
        predict(model, input(), settings, control);
        ADD_FAILURE() << "went on";
    } catch (const orvix::RunEnd& end) {
        EXPECT_EQ(end.reason(), orvix::EndReason::system);
    }
    EXPECT_EQ(last, "Searching database ...\n");
}

}  // namespace
