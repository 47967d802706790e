// Prepared images on the made data directory: the same data and runs as from text, and no use of an
// image that is not exactly what would be made today.
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "images/image_components.h"
#include "images/image_source.h"
#include "images/prepare.h"
#include "model/model.h"
#include "run/predict.h"
#include "search/db.h"
#include "support/made_data.h"
#include "support/temporary.h"

namespace {

using orvix::images::ImageCheck;
using orvix::images::ImageFile;
using orvix::images::ImageHeader;
using orvix::images::ImageUse;
using orvix::images::SectionRecord;
using orvix::images::SourceRecord;

std::string bytesOf(const void* cells, std::size_t size) {
    return {static_cast<const char*>(cells), size};
}

/// All that a database holds, as bytes.
std::vector<std::string> contentOf(const orvix::search::Database& database) {
    const DB& db = database.rows();
    const auto rows = static_cast<std::size_t>(db.dbSize);
    std::vector<std::string> content{
        bytesOf(db.shifts[0], rows * 12 * sizeof(float)),
        bytesOf(db.angles[0], rows * 3 * sizeof(float)), bytesOf(&db.resids[0], rows * sizeof(int)),
        bytesOf(&db.boxes[0], rows * sizeof(int)), bytesOf(&db.resNames[0], rows)};
    for (int i = 0; i < db.dbSize; ++i) {
        content.push_back(db.sources[i]);
    }
    content.push_back(bytesOf(database.proteins().data(), database.proteins().size_bytes()));
    for (int h = 0; h <= orvix::search::maxHalfWidth; ++h) {
        const auto planes = database.planes(h);
        EXPECT_EQ(planes->rows(), db.dbSize);
        EXPECT_EQ(planes->halfWidth(), h);
        const auto size = rows + 2 * std::size_t{orvix::search::DatabasePlanes::margin};
        for (const std::uint8_t* plane :
             {planes->tile(), planes->place(), planes->letter(), planes->centre()}) {
            content.push_back(bytesOf(plane - orvix::search::DatabasePlanes::margin, size));
        }
        content.push_back(planes->letters());
        content.push_back(std::to_string(planes->usable()) +
                          std::to_string(planes->hasStrayBoxes()));
        content.push_back(bytesOf(planes->blocks().data(), planes->blocks().size_bytes()));
    }
    return content;
}

class Images : public testing::Test {
  protected:
    Images() {
        orvix::test::writeMadeData(directory.path());
        prepared = orvix::images::prepareImage(tables);
    }

    std::shared_ptr<const ImageFile> open(ImageCheck check = ImageCheck::stamps) const {
        return ImageFile::open(prepared.path, check);
    }

    /// Everything that a run leaves, as text.
    std::vector<std::string> run(ImageUse use, orvix::Settings settings = {}) const {
        settings.tabDir = tables;
        settings.inTitle = "made";
        const auto model = std::make_shared<const orvix::Model>(orvix::images::modelSource(use));
        const orvix::Prediction prediction =
            orvix::predict(model, orvix::readShiftInput(directory.path("query.tab")), settings);
        std::vector<std::string> texts;
        for (orvix::ResultTable table : orvix::resultTables) {
            texts.push_back(tableText(prediction, table));
        }
        for (const orvix::Message& message : prediction.messages) {
            texts.push_back(message.text);
        }
        return texts;
    }

    /// Changes bytes of a file in place and puts them back at the end.
    class Changed {
      public:
        Changed(const std::string& path, std::size_t offset, const std::string& bytes)
            : descriptor_(::open(path.c_str(), O_RDWR)),
              offset_(static_cast<off_t>(offset)),
              before_(bytes.size(), '\0') {
            struct stat status {};
            EXPECT_EQ(fstat(descriptor_, &status), 0);
            times_[0] = status.st_atim;
            times_[1] = status.st_mtim;
            EXPECT_EQ(pread(descriptor_, before_.data(), before_.size(), offset_),
                      static_cast<ssize_t>(before_.size()));
            write(bytes);
        }
        ~Changed() {
            write(before_);
            close(descriptor_);
        }
        Changed(const Changed&) = delete;
        Changed& operator=(const Changed&) = delete;

      private:
        void write(const std::string& bytes) {
            EXPECT_EQ(pwrite(descriptor_, bytes.data(), bytes.size(), offset_),
                      static_cast<ssize_t>(bytes.size()));
            futimens(descriptor_, times_);
        }

        int descriptor_;
        off_t offset_;
        std::string before_;
        timespec times_[2]{};
    };

    orvix::test::TemporaryDirectory directory;
    std::string tables = directory.path("tab");
    orvix::images::Prepared prepared;
};

TEST_F(Images, HoldTheSameDataAsTheText) {
    EXPECT_THAT(prepared.leftOut, testing::IsEmpty());
    const auto image = open();
    ASSERT_NE(image, nullptr);
    const orvix::TextSource text;
    const std::string path = tables + "/orvix.tab";
    for (const std::string excluded : {"", "made100", "made1", "made399 made101", "made"}) {
        const auto mapped = orvix::images::databaseOf(image, "orvix.tab", path, excluded);
        ASSERT_NE(mapped, nullptr);
        EXPECT_EQ(contentOf(*mapped), contentOf(*text.database(path, excluded))) << excluded;
    }
    const auto mapped = orvix::images::tripletsOf(image, "orvix_obsCS.tab");
    const auto read = text.observedTriplets(tables + "/orvix_obsCS.tab");
    ASSERT_NE(mapped, nullptr);
    const auto a = mapped->kept();
    const auto b = read->kept();
    EXPECT_EQ(bytesOf(a.shifts.data(), a.shifts.size_bytes()),
              bytesOf(b.shifts.data(), b.shifts.size_bytes()));
    EXPECT_EQ(bytesOf(a.middle.data(), a.middle.size_bytes()),
              bytesOf(b.middle.data(), b.middle.size_bytes()));
    EXPECT_EQ(a.names, b.names);
    EXPECT_EQ(a.sources, b.sources);
    EXPECT_EQ(a.sourceOf, b.sourceOf);
    EXPECT_GT(b.sourceOf.size(), 0U);
}

TEST_F(Images, RunsGiveTheSameBytes) {
    orvix::Settings excluding;
    excluding.exclList = "made100";
    orvix::Settings withoutProtons;
    withoutProtons.noProton = true;
    for (const orvix::Settings& settings : {orvix::Settings(), excluding, withoutProtons}) {
        const auto expected = run(ImageUse::none, settings);
        EXPECT_EQ(run(ImageUse::stamps, settings), expected);
        EXPECT_EQ(run(ImageUse::content, settings), expected);
    }
}

TEST_F(Images, AreUsedAsLongAsStampsAgreeAndNoLonger) {
    const auto before = run(ImageUse::stamps);
    // A change that no stamp tells, the angles of some rows: the image goes on, unless the content
    // is asked for.
    const std::string database = directory.read("tab/orvix.tab");
    const std::size_t from = database.find('\n', database.size() / 4) + 1;
    std::string rows = database.substr(from, database.find('\n', from + 100000) - from);
    for (std::size_t at = 0; at < rows.size(); ++at) {
        // Phi begins behind the third word of a row.
        if (rows[at] == '-' && rows[at - 1] == ' ') {
            rows[at] = ' ';
        }
    }
    const Changed change(tables + "/orvix.tab", from, rows);
    EXPECT_EQ(run(ImageUse::stamps), before);
    EXPECT_NE(run(ImageUse::none), before);
    EXPECT_EQ(open(ImageCheck::content), nullptr);
    EXPECT_EQ(run(ImageUse::content), run(ImageUse::none));
}

TEST_F(Images, EverySourceCounts) {
    std::size_t sources = 0;
    for (const std::string& name : directory.names("tab")) {
        const std::string path = tables + "/" + name;
        if (name.find(".level") == std::string::npos && name != "orvix.tab" &&
            name != "orvix_obsCS.tab") {
            continue;
        }
        ++sources;
        struct stat status {};
        ASSERT_EQ(stat(path.c_str(), &status), 0);
        timespec times[2] = {status.st_atim, status.st_mtim};
        times[1].tv_nsec += times[1].tv_nsec == 0 ? 1 : -1;
        utimensat(AT_FDCWD, path.c_str(), times, 0);
        EXPECT_EQ(open(), nullptr) << name << " with another time";
        times[1] = status.st_mtim;
        utimensat(AT_FDCWD, path.c_str(), times, 0);

        const std::string text = directory.read("tab/" + name);
        directory.write("tab/" + name, text + "\n");
        utimensat(AT_FDCWD, path.c_str(), times, 0);
        EXPECT_EQ(open(), nullptr) << name << " with another size";
        directory.write("tab/" + name, text);
        utimensat(AT_FDCWD, path.c_str(), times, 0);

        std::filesystem::rename(path, path + ".gone");
        EXPECT_EQ(open(), nullptr) << name << " is gone";
        std::filesystem::rename(path + ".gone", path);
        ASSERT_NE(open(), nullptr) << name;
    }
    EXPECT_GT(sources, 50U);
}

TEST_F(Images, NoByteOfHeaderAndTablesMayDiffer) {
    ASSERT_NE(open(ImageCheck::content), nullptr);
    const std::string image = directory.read("tab/orvix.image");
    ImageHeader header;
    std::memcpy(&header, image.data(), sizeof header);
    const std::size_t behind = sizeof header + header.sourceCount * sizeof(SourceRecord) +
                               header.sectionCount * sizeof(SectionRecord);
    ASSERT_LT(behind, image.size());
    for (std::size_t at = 0; at < behind; ++at) {
        // All bits of the header, one of each byte of the tables.
        for (int bit = 0; bit < (at < sizeof header ? 8 : 1); ++bit) {
            const int which = at < sizeof header ? bit : static_cast<int>(at % 8);
            const Changed change(prepared.path, at,
                                 std::string(1, static_cast<char>(image[at] ^ (1 << which))));
            ASSERT_EQ(open(), nullptr) << "byte " << at << " bit " << which;
        }
    }
    for (std::size_t at = behind; at < image.size(); at += 997) {
        const Changed change(prepared.path, at, std::string(1, static_cast<char>(~image[at])));
        ASSERT_EQ(open(ImageCheck::content), nullptr) << "byte " << at;
    }
    EXPECT_NE(open(ImageCheck::content), nullptr);
}

TEST_F(Images, NoFieldMayDifferEvenUnderItsRightHash) {
    const std::string image = directory.read("tab/orvix.image");
    ImageHeader header;
    std::memcpy(&header, image.data(), sizeof header);
    const std::size_t sectionsAt = sizeof header + header.sourceCount * sizeof(SourceRecord);
    const std::size_t behind = sectionsAt + header.sectionCount * sizeof(SectionRecord);
    const auto opens = [&](const std::function<void(std::string&)>& change) {
        std::string changed = image;
        change(changed);
        ImageHeader sealed;
        std::memcpy(&sealed, changed.data(), sizeof sealed);
        const auto* const tablesAt =
            reinterpret_cast<const unsigned char*>(changed.data()) + sizeof sealed;
        // The hash is taken over the tables as the header's counts have them.
        const std::size_t size =
            sealed.sourceCount * sizeof(SourceRecord) + sealed.sectionCount * sizeof(SectionRecord);
        sealed.tableHash = orvix::images::tableHash(
            sealed, {tablesAt, std::min(size, changed.size() - sizeof sealed)});
        std::memcpy(changed.data(), &sealed, sizeof sealed);
        directory.write("tab/orvix.image", changed);
        return open() != nullptr;
    };
    const auto inHeader = [&](const std::function<void(ImageHeader&)>& change) {
        return opens([&](std::string& bytes) {
            ImageHeader changed = header;
            change(changed);
            std::memcpy(bytes.data(), &changed, sizeof changed);
        });
    };
    const auto inSection = [&](const std::function<void(SectionRecord&)>& change) {
        return opens([&](std::string& bytes) {
            SectionRecord record;
            std::memcpy(&record, bytes.data() + sectionsAt, sizeof record);
            change(record);
            std::memcpy(bytes.data() + sectionsAt, &record, sizeof record);
        });
    };
    EXPECT_TRUE(inHeader([](ImageHeader&) {}));
    EXPECT_FALSE(inHeader([](ImageHeader& h) { h.magic[0] = 'o'; }));
    EXPECT_FALSE(inHeader([](ImageHeader& h) { h.byteOrder = 0x04030201; }));
    EXPECT_FALSE(inHeader([](ImageHeader& h) { ++h.format; }));
    EXPECT_FALSE(inHeader([](ImageHeader& h) { h.program[0] = '5'; }));
    EXPECT_FALSE(inHeader([](ImageHeader& h) { h.program[31] = '1'; }));
    EXPECT_FALSE(inHeader([](ImageHeader& h) { ++h.fileSize; }));
    EXPECT_FALSE(inHeader([](ImageHeader& h) { h.sourceCount = ~std::uint64_t{0} / 3; }));
    EXPECT_FALSE(inHeader([](ImageHeader& h) { h.sectionCount = ~std::uint64_t{0} / 3; }));
    EXPECT_FALSE(inHeader([&](ImageHeader& h) { h.sectionCount = image.size() / 2; }));
    EXPECT_FALSE(inSection([](SectionRecord& s) { s.offset += 1; }));
    EXPECT_FALSE(inSection([](SectionRecord& s) { s.offset = 0; }));
    EXPECT_FALSE(inSection([&](SectionRecord& s) { s.offset = image.size() * 64; }));
    EXPECT_FALSE(inSection([&](SectionRecord& s) { s.size = image.size(); }));
    EXPECT_FALSE(inSection([](SectionRecord& s) { s.size = ~std::uint64_t{0} - 7; }));
    EXPECT_FALSE(inSection([](SectionRecord& s) { s.size -= 1; }));
    EXPECT_FALSE(inSection([](SectionRecord& s) { s.cell = 0; }));
    ASSERT_LT(behind, image.size());
}

TEST_F(Images, AnImageThatEndsEarlyOrLateIsNotUsed) {
    const std::string image = directory.read("tab/orvix.image");
    for (std::size_t cut = 0; cut < 50; ++cut) {
        // Every size of the header's beginning, then places all over the file.
        const std::size_t size = cut < 10 ? cut * 9 : image.size() * (cut - 9) / 41 - 1;
        directory.write("tab/orvix.image", image.substr(0, size));
        EXPECT_EQ(open(), nullptr) << size << " of " << image.size() << " bytes";
    }
    directory.write("tab/orvix.image", image + std::string(64, '\0'));
    EXPECT_EQ(open(), nullptr);
    std::filesystem::remove(prepared.path);
    EXPECT_EQ(open(), nullptr);
    std::filesystem::create_directory(prepared.path);
    EXPECT_EQ(open(), nullptr);
    std::filesystem::remove(prepared.path);
    directory.write("tab/orvix.image", image);
    EXPECT_NE(open(), nullptr);
}

TEST_F(Images, WhatSpeaksWhenReadStaysText) {
    std::filesystem::remove(tables + "/ss5.level1.WI.tab");
    directory.write("tab/seqSS15.level2.WL2.tab", "VARS 1 b\nFORMAT %f\n");
    const orvix::images::Prepared again = orvix::images::prepareImage(tables);
    EXPECT_THAT(again.leftOut, testing::Contains("ss5: ss5.level1.WI.tab is missing"));
    const auto image = open();
    ASSERT_NE(image, nullptr);
    EXPECT_TRUE(image->has("ss/layers"));
    EXPECT_FALSE(image->has("ss5/layers"));
    // Nothing but the image was left in the directory.
    EXPECT_EQ(directory.names("tab").count("orvix.image"), 1U);
    for (const std::string& name : directory.names("tab")) {
        EXPECT_NE(name[0], '.') << name;
    }
}

TEST_F(Images, AComponentThatDoesNotFitItsKindIsReadAsText) {
    const auto image = open();
    ASSERT_NE(image, nullptr);
    orvix::networks::NetworkKind kind = orvix::networks::classKind;
    const std::string prefix = tables + "/ss";
    EXPECT_NE(orvix::images::networkOf(image, "ss", prefix, kind), nullptr);
    kind.shape.members = 5;
    EXPECT_EQ(orvix::images::networkOf(image, "ss", prefix, kind), nullptr);
    EXPECT_EQ(orvix::images::networkOf(image, "other", prefix, kind), nullptr);
    EXPECT_EQ(orvix::images::tripletsOf(image, "orvix.tab"), nullptr);
    EXPECT_EQ(orvix::images::databaseOf(image, "orvix_obsCS.tab", prefix, ""), nullptr);
}

}  // namespace
