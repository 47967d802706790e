#include "search/relatives.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/alignment.h"
#include "random_database.h"
#include "search/database.h"

namespace {

using orvix::search::exclusionText;
using orvix::search::Relative;

/// A database of the given proteins, source word and letters.
std::unique_ptr<orvix::search::Database> database(
    const std::vector<std::pair<std::string, std::string>>& proteins) {
    int rows = 0;
    for (const auto& [source, letters] : proteins) {
        rows += static_cast<int>(letters.size());
    }
    auto db = std::make_unique<DB>();
    sizeDatabase(*db, rows);
    int row = 0;
    for (const auto& [source, letters] : proteins) {
        for (std::size_t i = 0; i < letters.size(); ++i) {
            setResidue(*db, row++, {source, letters[i], static_cast<int>(i) + 1, 0, 0, 0, 0});
        }
    }
    return std::make_unique<orvix::search::Database>(std::move(db));
}

std::string randomLetters(std::mt19937& random, std::size_t length) {
    std::string text;
    for (std::size_t i = 0; i < length; ++i) {
        text += "ACDEFGHIKLMNPQRSTVWY"[random() % 20];
    }
    return text;
}

/// `text` with `changed` letters of each `step` changed.
std::string mutated(std::string text, std::size_t step, std::size_t changed) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (i % step < changed) {
            text[i] = text[i] == 'A' ? 'G' : 'A';
        }
    }
    return text;
}

TEST(Relatives, AreFoundByIdentityOfTheirStretchAndUnrelatedOnesAreNot) {
    std::mt19937 random(17);
    const std::string query = randomLetters(random, 120);
    std::vector<std::pair<std::string, std::string>> proteins;
    for (int i = 0; i < 200; ++i) {
        proteins.emplace_back("other" + std::to_string(i), randomLetters(random, 150));
    }
    proteins.emplace_back("near", randomLetters(random, 40) + mutated(query, 16, 1));
    proteins.emplace_back("far", mutated(query, 10, 3));
    proteins.emplace_back("part", query.substr(20, 80));
    proteins.emplace_back("fragment", query.substr(0, 30) + randomLetters(random, 200));
    const auto known = database(proteins);

    const std::vector<Relative> close = relativesOf(query, *known, 0.9);
    ASSERT_EQ(close.size(), 2U);
    EXPECT_EQ(close[0].source, "part");
    EXPECT_EQ(close[0].aligned, 80);
    EXPECT_EQ(close[0].identity, 1.0);
    EXPECT_EQ(close[1].source, "near");
    EXPECT_NEAR(close[1].identity, 1.0 - 7.5 / 120, 0.02);

    const std::vector<Relative> wide = relativesOf(query, *known, 0.5);
    ASSERT_EQ(wide.size(), 3U);
    EXPECT_EQ(wide[2].source, "far");
    EXPECT_TRUE(relativesOf("MK", *known, 0.5).empty());
}

// At the least identity that can be asked for, with insertions: what a full alignment finds is
// found.
TEST(Relatives, DistantOnesAreNotLostBeforeTheAlignment) {
    std::mt19937 random(5);
    std::vector<std::pair<std::string, std::string>> proteins;
    const std::string query = randomLetters(random, 110);
    std::vector<std::string> expected;
    for (int i = 0; i < 300; ++i) {
        std::string letters;
        for (const char letter : query) {
            if (random() % 50 == 0) {
                letters += randomLetters(random, 1 + random() % 3);
            }
            letters += random() % 100 < 57 ? letter : randomLetters(random, 1)[0];
        }
        proteins.emplace_back("p" + std::to_string(1000 + i), letters);
        const orvix::Alignment whole = orvix::alignLocal(query, letters);
        if (whole.identity() >= 0.5 && whole.aligned >= 55) {
            expected.push_back(proteins.back().first);
        }
    }
    ASSERT_GT(expected.size(), 100U);
    std::vector<std::string> found;
    for (const Relative& one : relativesOf(query, *database(proteins), 0.5)) {
        found.push_back(one.source);
    }
    EXPECT_THAT(found, testing::UnorderedElementsAreArray(expected));
}

TEST(Relatives, ExclusionNamesEachSourceOnceBesideWhatWasThere) {
    const std::vector<Relative> relatives = {{"s_1AZS_A_2", 1, 80}, {"s_1AZS_A", 1, 80}};
    EXPECT_EQ(exclusionText("word", relatives), "word s_1AZS_A_2");
    EXPECT_EQ(exclusionText({}, {}), "");
}

}  // namespace
