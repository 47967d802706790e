#include "base/numbers.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "base/decimal.h"

namespace {

template <typename To, typename From>
To bits(From value) {
    static_assert(sizeof(To) == sizeof(From));
    To to;
    std::memcpy(&to, &value, sizeof to);
    return to;
}

// One text through every reader against the C functions, by bits and by the place where reading
// stops. The text stands at the very end of its own block, so that a sanitizer sees a look beyond.
void compare(const std::string& text) {
    const std::vector<char> block(text.begin(), text.end());
    const char* const p = block.data();
    const char* const end = p + block.size();

    char* stop = nullptr;
    const double expected = std::strtod(text.c_str(), &stop);
    double value = 42.0;
    const char* behind = orvix::readDouble(p, end, value);
    ASSERT_EQ(behind - p, stop - text.c_str()) << '"' << text << '"';
    if (std::isnan(expected)) {
        ASSERT_TRUE(std::isnan(value) && std::signbit(value) == std::signbit(expected)) << text;
    } else {
        ASSERT_EQ(bits<std::uint64_t>(value), bits<std::uint64_t>(expected)) << '"' << text << '"';
    }

    // The digit loop of the large files, where it takes the word. As a float it has one rounding.
    const std::string line = text + "\n";
    double plain = 0.0;
    if (const char* const stop15 = orvix::readPlainDecimal(line.data(), plain)) {
        ASSERT_EQ(stop15 - line.data(), stop - text.c_str()) << text;
        ASSERT_EQ(bits<std::uint64_t>(plain), bits<std::uint64_t>(expected)) << text;
    }
    if (orvix::readPlainDecimal<orvix::placesOfFloat>(line.data(), plain) != nullptr) {
        ASSERT_EQ(bits<std::uint32_t>(static_cast<float>(plain)),
                  bits<std::uint32_t>(std::strtof(text.c_str(), nullptr)))
            << text;
    }
}

TEST(NumberText, OddTextsReadAsInC) {
    for (const char* text : {"",
                             " ",
                             "-",
                             "+",
                             ".",
                             "-.",
                             "..1",
                             ".5",
                             "5.",
                             "+5.",
                             "-.5e",
                             "0",
                             "-0",
                             "-0.000",
                             "0e999999999999",
                             "-0e-99999999999",
                             "1e",
                             "1e+",
                             "1e-",
                             "1e5x",
                             "1E-5",
                             "1e+05",
                             "  \t\n\v\f\r12",
                             "12 13",
                             "1-2",
                             "--1",
                             "+-1",
                             "0x",
                             "0x1p3",
                             "-0x.8p-2",
                             "00x1",
                             "0xg",
                             "0x-1",
                             "-0x1p-2000",
                             "0x1p2000",
                             "0x",
                             "-0X1",
                             "0x.",
                             "0x.8",
                             "0x1p",
                             "0x1.fffffffffffff8p0",
                             "0xinf",
                             "0xnan",
                             "1x",
                             "inf",
                             "-Infinity",
                             "infinit",
                             "INFx",
                             "nan",
                             "-NAN",
                             "nan(12)x",
                             "nan(",
                             "in",
                             "n",
                             "1e308",
                             "1e309",
                             "-1e400",
                             "4.9e-324",
                             "2e-324",
                             "1e-400",
                             "1.17549435e-38",
                             "1e-45",
                             "7e-46",
                             "3.4028235e38",
                             "3.4028236e38",
                             "1e39",
                             "9007199254740991",
                             "9007199254740992",
                             "9007199254740993",
                             "9007199254740993e22",
                             "1e22",
                             "1e23",
                             "8.5e22",
                             "123456789e-22",
                             "123456789e-23",
                             "18446744073709551616",
                             "0.000000000000000000000000000000001",
                             "1_000",
                             "1,5",
                             "M",
                             "Gly",
                             "9999.000",
                             "1d5",
                             "1f"}) {
        compare(text);
        compare(std::string("  ") + text + " 7");
    }
    compare(std::string(5000, '0') + "1.5");
    compare("0." + std::string(5000, '0') + "15");
    compare("0." + std::string(5000, '0') + "15e5000");
    compare(std::string(400, '9') + "." + std::string(400, '9'));
    compare(std::string(1000000, '7'));

    // A NUL byte ends a number like any other character.
    const std::string withNul(
        "12\0"
        "34",
        5);
    double value = 0.0;
    EXPECT_EQ(orvix::readDouble(withNul.data(), withNul.data() + 5, value), withNul.data() + 2);
    EXPECT_EQ(value, 12.0);
    const std::string longNul("1" + std::string(30, '2') + '\0' + "3");
    EXPECT_EQ(orvix::textToDouble(longNul), std::strtod(longNul.c_str(), nullptr));
}

TEST(NumberText, RandomDecimalsReadAsInC) {
    std::mt19937_64 random(1);
    for (int i = 0; i < 200000 && !HasFatalFailure(); ++i) {
        std::string text = random() % 3 == 0 ? "-" : "";
        const unsigned whole = random() % 10;
        const unsigned places = random() % 14;
        for (unsigned k = 0; k < whole; ++k) {
            text += static_cast<char>('0' + random() % 10);
        }
        if (random() % 8 != 0) {
            text += '.';
            for (unsigned k = 0; k < places; ++k) {
                text += static_cast<char>('0' + random() % 10);
            }
        }
        if (random() % 5 == 0) {
            text += random() % 2 == 0 ? 'e' : 'E';
            text += std::to_string(static_cast<int>(random() % 90) - 45);
        }
        compare(text);
    }
}

TEST(NumberText, DecimalsAroundFloatMidpointsReadAsInC) {
    std::mt19937_64 random(2);
    char text[400];
    for (int i = 0; i < 40000 && !HasFatalFailure(); ++i) {
        // The midpoint of two neighbouring floats, exact and cut or bent in a late digit.
        const float low =
            bits<float>(static_cast<std::uint32_t>(0x36000000 + random() % 0x14000000));
        const double middle =
            (static_cast<double>(low) + static_cast<double>(std::nextafterf(low, HUGE_VALF))) / 2;
        std::snprintf(text, sizeof text, "%.*f", static_cast<int>(random() % 45), middle);
        compare(text);
        std::string bent = text;
        bent.back() = static_cast<char>('0' + random() % 10);
        compare(bent);
        compare(std::string(text) + "1");
        std::snprintf(text, sizeof text, "%.17g", middle);
        compare(text);
        // Midpoints with few enough digits for the fast form.
        const std::uint64_t m = (random() % (1u << 24)) * 2 + 1 + (1u << 25);
        const int shift = static_cast<int>(random() % 12);
        std::snprintf(text, sizeof text, "%.*f", shift, std::ldexp(static_cast<double>(m), -shift));
        compare(text);
    }
}

TEST(NumberText, WholeNumbersAreLimitedToTheirType) {
    EXPECT_EQ(orvix::textToInt("12.9"), 12);
    EXPECT_EQ(orvix::textToInt(" \t-7x"), -7);
    EXPECT_EQ(orvix::textToInt("+8"), 8);
    EXPECT_EQ(orvix::textToInt("x8"), 0);
    EXPECT_EQ(orvix::textToInt("- 8"), 0);
    EXPECT_EQ(orvix::textToInt(""), 0);
    EXPECT_EQ(orvix::textToInt("0x10"), 0);
    EXPECT_EQ(orvix::textToInt("2147483647"), INT_MAX);
    EXPECT_EQ(orvix::textToInt("2147483648"), INT_MAX);
    EXPECT_EQ(orvix::textToInt("-2147483648"), INT_MIN);
    EXPECT_EQ(orvix::textToInt("-2147483649"), INT_MIN);
    EXPECT_EQ(orvix::textToInt(std::string(1000, '9')), INT_MAX);
    EXPECT_EQ(orvix::textToInt("0000000000000000000000000000000012"), 12);

    EXPECT_EQ(orvix::truncateToInt(-2.9), -2);
    EXPECT_EQ(orvix::truncateToInt(1e30), INT_MAX);
    EXPECT_EQ(orvix::truncateToInt(-1e30), INT_MIN);
    EXPECT_EQ(orvix::truncateToInt(std::nan("")), 0);
}

TEST(NumberText, TheDigitLoopTakesPlainWordsOnly) {
    double value = 42.0;
    for (const std::string text : {"1e5\n", "inf\n", "0x1\n", "1.5a\n", "\n", "-\n", ".\n", "+1\n",
                                   "1.2.3\n", "1234567890123456\n", "0.0000000000000001\n"}) {
        EXPECT_EQ(orvix::readPlainDecimal(text.data(), value), nullptr) << text;
        EXPECT_EQ(value, 42.0);
    }
    const std::string row = "-0.25 8";
    EXPECT_EQ(orvix::readPlainDecimal(row.data(), value), row.data() + 5);
    EXPECT_EQ(value, -0.25);
    const std::string places = "0.123456789012\n";
    EXPECT_NE(orvix::readPlainDecimal(places.data(), value), nullptr);
    EXPECT_EQ(orvix::readPlainDecimal<orvix::placesOfFloat>(places.data(), value), nullptr);
}

}  // namespace
