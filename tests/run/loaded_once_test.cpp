#include "model/loaded_once.h"

#include <gtest/gtest.h>

#include <atomic>
#include <ostream>
#include <stdexcept>
#include <thread>

namespace {

using Numbers = orvix::LoadedOnce<int>;

/// What `body` says.
std::vector<orvix::Message> said(const std::function<void()>& body) {
    orvix::MessageLog log;
    const orvix::ScopedStreams streams(log.streams());
    body();
    return log.take();
}

TEST(LoadedOnce, SaysToEachCallerWhatItsLoadingSaid) {
    Numbers numbers;
    int loads = 0;
    const auto ask = [&] {
        numbers.get("a", [&] {
            ++loads;
            orvix::out() << "reading ";
            orvix::err() << "one\ntwo";
            orvix::out() << "done\n";
            return std::make_shared<const int>(1);
        });
    };
    using Stream = orvix::Message::Stream;
    const std::vector<orvix::Message> expected = {{Stream::out, "reading "},
                                                  {Stream::err, "one\n"},
                                                  {Stream::err, "two"},
                                                  {Stream::out, "done\n"}};
    EXPECT_EQ(said(ask), expected);
    EXPECT_EQ(said(ask), expected);
    EXPECT_EQ(loads, 1);
}

TEST(LoadedOnce, AFailureIsToldAndTriedAgain) {
    Numbers numbers;
    bool broken = true;
    const auto load = [&] {
        if (broken) {
            orvix::err() << "broken\n";
            throw std::runtime_error("no number");
        }
        return std::make_shared<const int>(7);
    };
    for (int attempt = 0; attempt < 2; ++attempt) {
        const auto lines = said([&] { EXPECT_THROW(numbers.get("a", load), std::runtime_error); });
        ASSERT_EQ(lines.size(), 1U);
        EXPECT_EQ(lines[0].text, "broken\n");
    }
    broken = false;
    EXPECT_TRUE(said([&] { EXPECT_EQ(*numbers.get("a", load), 7); }).empty());
}

TEST(LoadedOnce, ManyThreadsShareOneLoad) {
    Numbers numbers;
    std::atomic<int> loads = 0;
    std::vector<std::jthread> threads;
    std::vector<std::shared_ptr<const int>> values(8);
    for (auto& value : values) {
        threads.emplace_back([&] {
            value = numbers.get("a", [&] {
                ++loads;
                return std::make_shared<const int>(3);
            });
        });
    }
    threads.clear();
    EXPECT_EQ(loads, 1);
    for (const auto& value : values) {
        EXPECT_EQ(value, values[0]);
    }
}

TEST(LoadedOnce, DropsWhatWasNotAskedForLongest) {
    Numbers numbers(2);
    int loads = 0;
    const auto ask = [&](const char* key) {
        return numbers.get(key, [&] { return std::make_shared<const int>(++loads); });
    };
    const auto held = ask("a");
    ask("b");
    ask("a");
    ask("c");
    EXPECT_EQ(ask("a"), held);
    EXPECT_EQ(loads, 3);
    ask("b");
    EXPECT_EQ(loads, 4);
}

}  // namespace
