// What tells a batch what is done: journal, lock, hashes; and what it says of its progress.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>

#include "base/run_end.h"
#include "batch/content_hash.h"
#include "batch/directory_lock.h"
#include "batch/journal.h"
#include "batch/progress.h"
#include "cli/temporary_directory.h"

namespace {

using namespace orvix;
using batch::Journal;
using batch::JournalEntry;
using testing::HasSubstr;

std::string content(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

TEST(Journal, WhateverIsCutOffOnlyWholeLinesCount) {
    const TemporaryDirectory place;
    const std::vector<JournalEntry> entries = {{"a", "k1", {1, 2, 3}}, {"b b", "k2", {7}}};
    Journal(place.path(""), "").append(entries);
    const std::string whole = content(place.path("journal"));
    const std::size_t first = whole.find('\n') + 1;
    for (std::size_t length = 0; length <= whole.size(); ++length) {
        place.write("journal", whole.substr(0, length));
        {
            Journal journal(place.path(""), "");
            EXPECT_EQ(journal.find("a") != nullptr, length >= first) << length;
            EXPECT_EQ(journal.find("b b") != nullptr, length == whole.size()) << length;
            journal.append({{"c", "k3", {}}});
        }
        const Journal again(place.path(""), "");
        ASSERT_NE(again.find("c"), nullptr) << "after a line cut at " << length;
        if (length >= first) {
            EXPECT_EQ(*again.find("a"), entries[0]);
        }
    }
}

TEST(Journal, LastEntryCountsAndPartsAreReadTogether) {
    const TemporaryDirectory place;
    Journal(place.path(""), "-1-of-2").append({{"a", "old", {}}, {"a", "new", {5}}});
    const Journal whole(place.path(""), "");
    ASSERT_NE(whole.find("a"), nullptr);
    EXPECT_EQ(whole.find("a")->key, "new");
    std::string text = content(place.path("journal-1-of-2"));
    text[text.rfind("new")] = 'N';
    place.write("journal-1-of-2", text);
    EXPECT_EQ(Journal(place.path(""), "").find("a")->key, "old") << "a damaged line counts";
}

TEST(DirectoryLock, OneBatchOrDifferentPartsAtATime) {
    const TemporaryDirectory place;
    const std::string output = place.path("out");
    const auto refusal = [&](const std::string& part) {
        return errorOf<RunError>([&] { batch::DirectoryLock(output, part); });
    };
    auto whole = std::make_unique<batch::DirectoryLock>(output, "");
    EXPECT_THAT(refusal(""), HasSubstr("another batch"));
    EXPECT_THAT(refusal("-1-of-2"), HasSubstr("another batch"));
    whole.reset();
    const batch::DirectoryLock part(output, "-1-of-2");
    EXPECT_EQ(refusal("-2-of-2"), "");
    EXPECT_THAT(refusal("-1-of-2"), HasSubstr("another batch"));
    EXPECT_THAT(refusal(""), HasSubstr("another batch"));
}

TEST(ContentHash, TellsContentsNamesAndBordersApart) {
    const auto hashOf = [](const std::vector<std::string>& texts) {
        batch::ContentHash hash;
        for (const std::string& text : texts) {
            hash.add(text);
        }
        return hash.digits();
    };
    EXPECT_EQ(hashOf({"ab", "c"}), hashOf({"ab", "c"}));
    EXPECT_NE(hashOf({"ab", "c"}), hashOf({"a", "bc"}));
    const TemporaryDirectory place;
    place.write("d/x", "1");
    place.write("d/y", "2");
    const std::string before = batch::directoryHash(place.path("d"));
    place.write("d/x", "2");
    place.write("d/y", "1");
    EXPECT_NE(batch::directoryHash(place.path("d")), before);
    batch::ContentHash hash;
    EXPECT_THAT(errorOf<InputRejected>([&] { hash.addFile(place.path("d")); }),
                HasSubstr("no regular file"));
    place.write("large", std::string(3 << 20, 'x'));
    EXPECT_THAT(errorOf<InputRejected>([&] { hash.addFile(place.path("large"), 2 << 20); }),
                HasSubstr("larger than 2 MiB"));
}

TEST(Progress, TellsRateAndTimeLeftOnceTheyAreKnown) {
    EXPECT_EQ(batch::progressText({10, 0, 0, 0, 0.1}), "0 of 10");
    EXPECT_EQ(batch::progressText({1186, 200, 290, 3, 60.0}),
              "493 of 1186, 200 done before, 3 failed, 293 proteins a minute, 2:22 left");
    EXPECT_EQ(batch::progressText({10, 0, 10, 0, 6.0}), "10 of 10, 100 proteins a minute");
    EXPECT_THAT(batch::progressText({100000, 0, 100, 0, 60.0}), HasSubstr("16:39:00 left"));
}

}  // namespace
