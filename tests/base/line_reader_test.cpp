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
    std::string_view line;
    for (const std::string& path :
         {std::string(), testing::TempDir() + "no/such/file", testing::TempDir()}) {
        orvix::LineReader reader(path);
        EXPECT_FALSE(reader.isOpen()) << path;
        EXPECT_FALSE(reader.next(line));
    }
}

TEST(LineBlocks, CutAtLineEndsWhateverTheirNumber) {
    std::string text;
    for (int i = 0; text.size() < 3 * orvix::LineBlocks::blockSize; ++i) {
        // Lines of all lengths, one of them longer than a block.
        text += std::string(i == 40 ? 2 * orvix::LineBlocks::blockSize
                                    : static_cast<std::size_t>(i * 37 % 9000),
                            static_cast<char>('a' + i % 26)) +
                "\n";
    }
    text += "no line feed";
    const TemporaryFile file(text);
    for (const int threads : {1, 3}) {
        orvix::LineBlocks blocks(file.path());
        ASSERT_TRUE(blocks.isOpen());
        EXPECT_EQ(blocks.fileSize(), text.size());
        std::string taken;
        std::vector<std::string> worked(100);
        blocks.share(
            threads,
            [&](const orvix::LineBlock& block, std::size_t number) {
                EXPECT_EQ(block.end()[-1], '\n');
                taken.append(block.begin(), block.size());
                return number < worked.size();
            },
            [&](const orvix::LineBlock& block, std::size_t number) {
                worked[number].assign(block.begin(), block.size());
            });
        EXPECT_TRUE(taken == text + "\n");
        std::string joined;
        for (const std::string& part : worked) {
            joined += part;
        }
        EXPECT_TRUE(joined == taken);
    }
    orvix::LineBlocks limited(file.path(), orvix::LineBlocks::blockSize);
    orvix::LineBlock block;
    while (limited.next(block)) {
    }
    EXPECT_TRUE(limited.lineTooLong());
}

}  // namespace
