#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <sstream>
#include <string>

#include "base/run_end.h"
#include "base/streams.h"

namespace orvix::test {

/// Runs `body`, which has to end the run with `status`; what it wrote as warnings, followed by the
/// text of the end, has to fit `text`.
inline void expectEnd(const std::function<void()>& body, int status,
                      const testing::Matcher<const std::string&>& text) {
    std::ostringstream lines, warnings;
    const ScopedStreams streams({&lines, &warnings});
    try {
        body();
    } catch (const RunEnd& end) {
        EXPECT_EQ(end.status(), status);
        EXPECT_THAT(warnings.str() + end.text(), text);
        return;
    }
    ADD_FAILURE() << "went on, with " << warnings.str();
}

/// The same for a regular expression.
inline void expectEnd(const std::function<void()>& body, int status, const char* regex) {
    expectEnd(body, status, testing::Matcher<const std::string&>(testing::ContainsRegex(regex)));
}

inline void expectEnd(const std::function<void()>& body, int status, const std::string& regex) {
    expectEnd(body, status, regex.c_str());
}

}  // namespace orvix::test

/// That `statement` ends the run with `status` and a text that a regular expression or a matcher
/// accepts.
#define EXPECT_END(statement, status, text) orvix::test::expectEnd([&] { statement; }, status, text)
