#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <numeric>
#include <string>

#include "base/run_end.h"
#include "import/profile_import.h"
#include "networks/check_file.h"
#include "networks/secondary_structure.h"
#include "support/temporary.h"

namespace {

std::size_t placeOf(char letter) {
    return std::string(orvix::networks::profileLetters).find(letter);
}

double total(const std::array<double, 20>& row) {
    return std::accumulate(row.begin(), row.end(), 0.0);
}

TEST(CheckFile, RoundTripInTheFilesLetterOrder) {
    orvix::networks::SequenceProfile profile;
    profile.sequence = "MK";
    profile.rows.resize(2);
    for (std::size_t i = 0; i < 20; ++i) {
        profile.rows[0][i] = static_cast<double>(i);
    }
    const orvix::test::TemporaryDirectory directory;
    const std::string path = directory.path("round.check");
    orvix::networks::writeCheckFile(path, profile);
    // Length, two letters, and the first double is that of alanine, the second that of arginine.
    std::ifstream in(path, std::ios::binary);
    std::string bytes((std::istreambuf_iterator<char>(in)), {});
    ASSERT_EQ(bytes.size(), 4U + 2U + 2U * 160U);
    EXPECT_EQ(bytes.substr(0, 6), std::string("\2\0\0\0MK", 6));
    double second = 0.0;
    std::copy_n(bytes.data() + 14, 8, reinterpret_cast<char*>(&second));
    EXPECT_EQ(second, static_cast<double>(placeOf('R')));

    orvix::networks::SequenceProfile read;
    int length = 0, extra = 0;
    EXPECT_EQ(orvix::networks::readCheckFile(path, read, length, extra),
              orvix::networks::CheckFileStatus::ok);
    EXPECT_EQ(read.rows, profile.rows);

    // What can't be written as a whole leaves what was there.
    orvix::networks::SequenceProfile tooLong;
    tooLong.sequence.assign(1280, 'A');
    EXPECT_THROW(orvix::networks::writeCheckFile(path, tooLong), orvix::RunError);
    EXPECT_THROW(orvix::networks::writeCheckFile(path + "/p.check", profile), orvix::RunError);
    EXPECT_EQ(std::filesystem::file_size(path), bytes.size());

    // A cut row is dropped, a row beyond the sequence counted, a bad length refused.
    std::ofstream(path, std::ios::binary) << bytes.substr(0, bytes.size() - 1);
    orvix::networks::readCheckFile(path, read, length, extra);
    EXPECT_EQ(read.rows.size(), 1U);
    std::ofstream(path, std::ios::binary) << bytes << bytes.substr(6, 160);
    orvix::networks::readCheckFile(path, read, length, extra);
    EXPECT_EQ(read.rows.size(), 2U);
    EXPECT_EQ(extra, 1);
    for (const std::string& head : {std::string("\x00\x05\0\0", 4), std::string("\xff\xff\xff\xff"),
                                    std::string("\1\0", 2), std::string()}) {
        std::ofstream(path, std::ios::binary) << head;
        EXPECT_EQ(orvix::networks::readCheckFile(path, read, length, extra),
                  orvix::networks::CheckFileStatus::badLength);
    }
    EXPECT_EQ(orvix::networks::readCheckFile(directory.path("none"), read, length, extra),
              orvix::networks::CheckFileStatus::cannotOpen);
    EXPECT_EQ(orvix::networks::readCheckFile(directory.path(), read, length, extra),
              orvix::networks::CheckFileStatus::cannotOpen);
}

TEST(ProfileImport, PssmScoresBecomeFrequencies) {
    std::string header = "\nLast position-specific scoring matrix computed\n        ";
    for (char c : std::string("ARNDCQEGHILKMFPSTWYVARNDCQEGHILKMFPSTWYV")) {
        header += std::string("  ") + c;
    }
    std::string zeros, tryptophan;
    for (char c : std::string("ARNDCQEGHILKMFPSTWYV")) {
        zeros += "  0";
        tryptophan += c == 'W' ? " 12" : " -4";
    }
    orvix::networks::SequenceProfile profile;
    const std::string good = header + "\n    1 M " + zeros + "\n    2 W " + tryptophan +
                             "  0 0 0.5 0.1\n\n          K   Lambda\n";
    ASSERT_EQ(orvix::importing::profileFromPssm(good, profile), "");
    EXPECT_EQ(profile.sequence, "MW");
    EXPECT_NEAR(total(profile.rows[0]), 1.0, 1e-12);
    EXPECT_NEAR(profile.rows[0][placeOf('L')], 0.09019, 1e-5);
    // 0.0133 exp(12 * 0.3176) against 0.9867 exp(-4 * 0.3176) for all others.
    EXPECT_NEAR(profile.rows[1][placeOf('W')], 0.6846, 1e-4);

    EXPECT_NE(orvix::importing::profileFromPssm("", profile), "");
    EXPECT_NE(orvix::importing::profileFromPssm(header + "\n", profile), "");
    EXPECT_EQ(orvix::importing::profileFromPssm(header + "\n 1 M 1 2 3\n", profile),
              "line 4: expected a residue number, its letter and 20 scores");
    EXPECT_NE(
        orvix::importing::profileFromPssm(header + "\n 1 M" + zeros.substr(3) + " 0.5\n", profile),
        "");
}

TEST(ProfileImport, AlignmentFrequencies) {
    orvix::importing::SubstitutionScores scores{};
    for (std::size_t i = 0; i < 20; ++i) {
        scores[i].fill(-2.0);
        scores[i][i] = 5.0;
    }
    orvix::networks::SequenceProfile profile;
    ASSERT_EQ(
        orvix::importing::profileFromAlignment(">q\nMK-a\n>s\nMKWC\r\n>t\nM-WX\n", scores, profile),
        "");
    EXPECT_EQ(profile.sequence, "MKA");
    for (const auto& row : profile.rows) {
        EXPECT_NEAR(total(row), 1.0, 1e-12);
    }
    EXPECT_GT(profile.rows[0][placeOf('M')], profile.rows[0][placeOf('L')]);
    EXPECT_GT(profile.rows[2][placeOf('C')], profile.rows[2][placeOf('W')]);

    EXPECT_EQ(orvix::importing::profileFromAlignment(">q\nMKA\n>s\nMK\n", scores, profile),
              "sequence \"s\" has 2 columns, the first one has 3: the sequences are not aligned");
    EXPECT_NE(orvix::importing::profileFromAlignment("MKA\n", scores, profile), "");
    EXPECT_NE(orvix::importing::profileFromAlignment(">q\nM1A\n", scores, profile), "");
    EXPECT_NE(orvix::importing::profileFromAlignment(">q\n---\n", scores, profile), "");
    EXPECT_NE(
        orvix::importing::profileFromAlignment(">q\n" + std::string(1280, 'A'), scores, profile),
        "");
}

TEST(SecondaryStructure, CallsAndBlocks) {
    EXPECT_EQ(orvix::networks::callClass({0.4, 0.4, 0.2}, "HEL").letter, "H");
    EXPECT_EQ(orvix::networks::callClass({0.1, 0.4, 0.4}, "HEL").letter, "E");
    EXPECT_EQ(orvix::networks::callClass({0.0, 0.0, 0.0}, "HEL").letter, "x");
    EXPECT_EQ(orvix::networks::callClass({}, "HEL").letter, "x");
    EXPECT_EQ(orvix::networks::shownConfidence(1.0), 0.9999);

    orvix::networks::ClassBlocks blocks("");
    for (int i = 0; i < 50; ++i) {
        blocks.add("A", i < 25 ? "H" : "E", i == 49 ? 0.9999 : 0.0);
    }
    const std::string ten = "AAAAAAAAAA ";
    EXPECT_EQ(blocks.finish(),
              "DATA SEQUENCE     " + ten + ten + ten + ten + ten +
                  "\nDATA PREDICTED_SS HHHHHHHHHH HHHHHHHHHH HHHHHEEEEE EEEEEEEEEE "
                  "EEEEEEEEEE \nDATA CONFIDENCE   0000000000 0000000000 0000000000 "
                  "0000000000 0000000009 \n\n"
                  "DATA SEQUENCE     \nDATA PREDICTED_SS \nDATA CONFIDENCE   \n\n");
}

}  // namespace
