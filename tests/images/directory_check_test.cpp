// What is wrong with the files of a data directory is found and named.
#include "model/directory_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "base/sha256.h"
#include "support/made_data.h"
#include "support/temporary.h"

namespace {

using orvix::FileFinding;

std::string hashOf(const std::string& text) {
    return orvix::sha256({reinterpret_cast<const unsigned char*>(text.data()), text.size()});
}

TEST(Sha256, KnownHashes) {
    // The examples of FIPS 180-2, appendix B.
    EXPECT_EQ(hashOf("abc"), "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(hashOf("abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq"),
              "248d6a61d20638b8e5c026930c3e6039a33ce45964ff2167f6ecedd419db06c1");
    EXPECT_EQ(hashOf(std::string(1000000, 'a')),
              "cdc76e5c9914fb9281a1c7e284d73e67f1809a48a497200e046d39ccc7112cd0");
}

class DirectoryCheck : public testing::Test {
  protected:
    DirectoryCheck() { orvix::test::writeMadeData(directory.path()); }

    FileFinding finding(const std::string& name) const {
        for (const FileFinding& file : orvix::checkDataDirectory(directory.path("tab"))) {
            if (file.name == name) {
                return file;
            }
        }
        return {name, FileFinding::State::missing, "not looked at"};
    }

    /// What is found after the first `from` in a file became `to`.
    FileFinding after(const std::string& name, const std::string& from, const std::string& to) {
        const std::string whole = directory.read("tab/" + name);
        const std::size_t at = whole.find(from);
        EXPECT_NE(at, std::string::npos) << from;
        std::string text = whole;
        directory.write("tab/" + name, text.replace(at, from.size(), to));
        const FileFinding found = finding(name);
        directory.write("tab/" + name, whole);
        return found;
    }

    /// A file as a table of words, with one of them changed.
    FileFinding afterCell(const std::string& name, int line, int cell, const std::string& to) {
        const std::string whole = directory.read("tab/" + name);
        std::istringstream lines(whole);
        std::string text, read;
        for (int number = 1; std::getline(lines, read); ++number) {
            if (number == line) {
                std::istringstream words(read);
                std::string word;
                read.clear();
                for (int place = 1; words >> word; ++place) {
                    read += (place == 1 ? "" : " ") + (place == cell ? to : word);
                }
            }
            text += read + "\n";
        }
        directory.write("tab/" + name, text);
        const FileFinding found = finding(name);
        directory.write("tab/" + name, whole);
        return found;
    }

    orvix::test::TemporaryDirectory directory;
};

void expectBroken(const FileFinding& file, const std::string& part) {
    EXPECT_EQ(file.state, FileFinding::State::broken) << file.name;
    EXPECT_THAT(file.text, testing::HasSubstr(part)) << file.name;
}

TEST_F(DirectoryCheck, AWholeDirectoryIsSound) {
    for (const FileFinding& file : orvix::checkDataDirectory(directory.path("tab"))) {
        const auto expected = file.name == orvix::hashListName ? FileFinding::State::missing
                                                               : FileFinding::State::sound;
        EXPECT_EQ(file.state, expected) << file.name << ": " << file.text;
    }
}

TEST_F(DirectoryCheck, BrokenFilesAreNamedWithTheirFlaw) {
    std::filesystem::remove(directory.path("tab/ss.level2.WL1.tab"));
    EXPECT_EQ(finding("ss.level2.WL1.tab").state, FileFinding::State::missing);
    std::filesystem::create_directory(directory.path("tab/ss.level2.WL1.tab"));
    EXPECT_EQ(finding("ss.level2.WL1.tab").state, FileFinding::State::missing);

    // Cells of a database row: source, letter, number, phi, psi, chi1, box, shifts and scales.
    expectBroken(afterCell("orvix.tab", 3, 7, "324"), "residue 3: box 324");
    expectBroken(afterCell("orvix.tab", 3, 4, "181.0"), "residue 3: an angle");
    expectBroken(afterCell("orvix.tab", 5, 2, "J"), "residue 5: no residue letter");
    expectBroken(afterCell("orvix.tab", 2, 9, "-1"), "residue 2: a shift or its scale");
    expectBroken(afterCell("orvix.tab", 4, 19, ""), "line 4");
    const std::string weights = directory.read("tab/ss.level1.WI.tab");
    directory.write("tab/ss.level1.WI.tab", weights.substr(0, weights.size() / 2));
    expectBroken(finding("ss.level1.WI.tab"), "in place of 288");
    expectBroken(after("randcoil.tab", "RESNAME", "RESIDUE"), "no row A");
    expectBroken(after("sslimit.tab", "CA_MIN", "CA_LOW"), "column CA_MIN");
}

TEST_F(DirectoryCheck, ContentsAreHeldAgainstTheListOfHashes) {
    const std::string text = directory.read("tab/rcadj.tab");
    const std::string list = hashOf(text) + "  rcadj.tab\n" + hashOf("x") + "  other.txt\n";
    directory.write("tab/SHA256SUMS", list);
    EXPECT_EQ(finding("rcadj.tab").state, FileFinding::State::sound);
    EXPECT_EQ(finding("other.txt").state, FileFinding::State::missing);
    directory.write("tab/other.txt", "x");
    EXPECT_EQ(finding("other.txt").state, FileFinding::State::sound);
    directory.write("tab/rcadj.tab", text + "\n");
    expectBroken(finding("rcadj.tab"), "SHA256SUMS");
}

}  // namespace
