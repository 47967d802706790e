#pragma once

#include <cstddef>
#include <cstdint>

namespace orvix::images {

// An image is: the header, the table of sources, the table of sections, the sections. Numbers are
// in the byte order of the machine that wrote it; another one refuses it.

/// Name of the image, in the directory of the text files that it was made from.
inline constexpr const char* imageName = "orvix.image";

inline constexpr char imageMagic[8] = {'O', 'R', 'V', 'I', 'X', 'I', 'M', 'G'};
inline constexpr std::uint32_t byteOrderMark = 0x01020304;
/// To be raised with every change of what the sections hold.
inline constexpr std::uint32_t formatVersion = 1;
/// Sections begin at multiples of this.
inline constexpr std::size_t sectionAlignment = 64;

struct ImageHeader {
    char magic[8];
    std::uint32_t byteOrder;
    std::uint32_t format;
    char program[32];  ///< version of the program, filled up with zeros
    std::uint64_t fileSize;
    std::uint64_t sourceCount;
    std::uint64_t sectionCount;
    std::uint64_t bodyHash;   ///< of all bytes behind the tables
    std::uint64_t tableHash;  ///< of header (this field 0) and tables
};

/// A text file that the image was made from.
struct SourceRecord {
    char name[64];  ///< in the directory of the image
    std::uint64_t size;
    std::int64_t seconds;  ///< time of the last change
    std::int64_t nanoseconds;
    std::uint64_t hash;  ///< of its content
};

struct SectionRecord {
    char name[64];
    std::uint64_t offset;  ///< from the beginning of the file
    std::uint64_t size;    ///< bytes
    std::uint64_t cell;    ///< bytes of one cell
};

static_assert(sizeof(ImageHeader) == 88 && sizeof(SourceRecord) == 96 &&
              sizeof(SectionRecord) == 88);

}  // namespace orvix::images
