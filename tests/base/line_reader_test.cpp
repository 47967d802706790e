#include "base/line_reader.h"

#include <vector>

#include "tables/temporary_file.h"

namespace {

std::vector<std::string> linesOf(const std::string& content) {
    const TemporaryFile file(content);
    orvix::LineReader reader(file.path());
    EXPECT_TRUE(reader.isOpen());
    std::vector<std::string> lines;
    std::string_view line;
    while (reader.next(line)) {
        lines.emplace_back(line);
    }
    EXPECT_FALSE(reader.next(line));
    return lines;
}

using Lines = std::vector<std::string>;

TEST(LineReader, EndsLinesAtLineFeedsOnly) {
    EXPECT_EQ(linesOf(""), Lines());
    EXPECT_EQ(linesOf("\n\na"), (Lines{"", "", "a"}));
    EXPECT_EQ(linesOf("a\r\nb\rc\n"), (Lines{"a\r", "b\rc"}));
    const std::string binary("\0x\xff\n\0", 5);
    EXPECT_EQ(linesOf(binary), (Lines{std::string("\0x\xff", 3), std::string(1, '\0')}));
}

TEST(LineReader, JoinsLinesAcrossBlocks) {
    Lines expected;
    std::string content;
    // Lengths around the block size and its multiples, and a run of short lines over many blocks.
    for (const std::size_t length : {1048575, 1048576, 1048577, 3000000, 0, 1}) {
        expected.emplace_back(length, 'x');
    }
    for (int i = 0; i < 300000; ++i) {
        expected.push_back("line " + std::to_string(i));
    }
    for (const std::string& line : expected) {
        content += line + "\n";
    }
    EXPECT_EQ(linesOf(content), expected);
    content.pop_back();
    EXPECT_EQ(linesOf(content), expected);
}

TEST(LineReader, RefusesWhatCannotBeRead) {
    orvix::LineReader reader;
    std::string text = "old";
    std::string_view line;
    for (const std::string& path :
         {std::string(), testing::TempDir() + "no/such/file", testing::TempDir()}) {
        EXPECT_FALSE(reader.open(path)) << path;
        EXPECT_FALSE(reader.next(line));
        EXPECT_FALSE(orvix::readWholeFile(path, text)) << path;
    }
    const TemporaryFile file("a\nb");
    EXPECT_TRUE(reader.open(file.path()));
    EXPECT_TRUE(reader.next(line));
    EXPECT_EQ(line, "a");
    EXPECT_TRUE(reader.open(file.path()));
    EXPECT_TRUE(reader.next(line));
    EXPECT_EQ(line, "a");
}

TEST(ReadWholeFile, GivesEveryByte) {
    std::string content;
    std::string text;
    for (const int size : {0, 1, 4096, 2500000}) {
        content.resize(static_cast<std::size_t>(size));
        for (std::size_t i = 0; i < content.size(); ++i) {
            content[i] = static_cast<char>(i * 7);
        }
        const TemporaryFile file(content);
        EXPECT_TRUE(orvix::readWholeFile(file.path(), text));
        EXPECT_TRUE(text == content) << size;
    }
    // A file without a known size.
    EXPECT_TRUE(orvix::readWholeFile("/dev/null", text));
    EXPECT_EQ(text, "");
}

}  // namespace
