#include "images/image_file.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <stdexcept>

#include "base/block_hash.h"
#include "base/version.h"

namespace orvix::images {
namespace {

/// A regular file mapped for reading; no bytes for any other, and for an empty one.
struct Mapping {
    const unsigned char* bytes = nullptr;
    std::size_t size = 0;
};

Mapping mapFile(const std::string& path) {
    Mapping mapping;
    // Without O_NONBLOCK a pipe without a writer would hold the caller up.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        return mapping;
    }
    struct stat status {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
        const auto size = static_cast<std::size_t>(status.st_size);
        void* const bytes = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, descriptor, 0);
        if (bytes != MAP_FAILED) {
            mapping = {static_cast<const unsigned char*>(bytes), size};
        }
    }
    close(descriptor);
    return mapping;
}

void unmap(const unsigned char* bytes, std::size_t size) {
    if (bytes != nullptr) {
        munmap(const_cast<unsigned char*>(bytes), size);
    }
}

template <std::size_t Size>
void setText(char (&field)[Size], std::string_view text) {
    if (text.size() >= Size) {
        throw std::length_error("a name of an image is too long");
    }
    std::memset(field, 0, Size);
    std::memcpy(field, text.data(), text.size());
}

template <std::size_t Size>
std::string_view textOf(const char (&field)[Size]) {
    return {field, static_cast<std::size_t>(std::find(field, field + Size, '\0') - field)};
}

/// The header that this program gives every image, without what depends on its content.
ImageHeader plainHeader() {
    ImageHeader header{};
    std::memcpy(header.magic, imageMagic, sizeof header.magic);
    header.byteOrder = byteOrderMark;
    header.format = formatVersion;
    setText(header.program, programVersion());
    return header;
}

std::size_t aligned(std::size_t offset) {
    return (offset + sectionAlignment - 1) / sectionAlignment * sectionAlignment;
}

}  // namespace

std::uint64_t tableHash(ImageHeader header, std::span<const unsigned char> tables) {
    header.tableHash = 0;
    const std::uint64_t parts[2] = {
        blockHash({reinterpret_cast<const unsigned char*>(&header), sizeof header}),
        blockHash(tables)};
    return blockHash({reinterpret_cast<const unsigned char*>(parts), sizeof parts});
}

std::optional<SourceRecord> stampOf(const std::string& directory, const std::string& name,
                                    bool hashed) {
    const std::string path = (std::filesystem::path(directory) / name).string();
    struct stat status {};
    if (stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode) ||
        access(path.c_str(), R_OK) != 0) {
        return std::nullopt;
    }
    SourceRecord record{};
    setText(record.name, name);
    record.size = static_cast<std::uint64_t>(status.st_size);
    record.seconds = status.st_mtim.tv_sec;
    record.nanoseconds = status.st_mtim.tv_nsec;
    if (hashed) {
        const Mapping content = mapFile(path);
        record.hash = blockHash({content.bytes, content.size});
        unmap(content.bytes, content.size);
    }
    return record;
}

bool sameStamp(const SourceRecord& a, const SourceRecord& b) {
    return a.size == b.size && a.seconds == b.seconds && a.nanoseconds == b.nanoseconds;
}

std::shared_ptr<const ImageFile> ImageFile::open(const std::string& path, ImageCheck check) {
    const Mapping mapping = mapFile(path);
    if (mapping.bytes == nullptr) {
        return nullptr;
    }
    const std::shared_ptr<ImageFile> image(new ImageFile(mapping.bytes, mapping.size));
    const std::string directory = std::filesystem::path(path).parent_path().string();
    return image->accept(directory, check) ? image : nullptr;
}

ImageFile::~ImageFile() {
    unmap(bytes_, size_);
}

bool ImageFile::accept(const std::string& directory, ImageCheck check) {
    ImageHeader header;
    if (size_ < sizeof header) {
        return false;
    }
    std::memcpy(&header, bytes_, sizeof header);
    const ImageHeader expected = plainHeader();
    constexpr std::size_t constantPart = offsetof(ImageHeader, fileSize);
    const std::size_t room = size_ - sizeof header;
    if (std::memcmp(&header, &expected, constantPart) != 0 || header.fileSize != size_ ||
        header.sourceCount > room / sizeof(SourceRecord)) {
        return false;
    }
    const std::size_t sourceBytes = header.sourceCount * sizeof(SourceRecord);
    if (header.sectionCount > (room - sourceBytes) / sizeof(SectionRecord)) {
        return false;
    }
    const std::size_t tableBytes = sourceBytes + header.sectionCount * sizeof(SectionRecord);
    const std::size_t body = sizeof header + tableBytes;
    if (header.tableHash != tableHash(header, {bytes_ + sizeof header, tableBytes})) {
        return false;
    }

    const auto* const sections =
        reinterpret_cast<const SectionRecord*>(bytes_ + sizeof header + sourceBytes);
    for (std::size_t i = 0; i < header.sectionCount; ++i) {
        const SectionRecord& section = sections[i];
        if (section.offset % sectionAlignment != 0 || section.offset < body ||
            section.offset > size_ || section.size > size_ - section.offset || section.cell == 0 ||
            section.size % section.cell != 0) {
            return false;
        }
        sections_[textOf(section.name)] = &section;
    }
    const bool wholeContent = check == ImageCheck::content;
    if (wholeContent && blockHash({bytes_ + body, size_ - body}) != header.bodyHash) {
        return false;
    }
    const auto* const sources = reinterpret_cast<const SourceRecord*>(bytes_ + sizeof header);
    return std::all_of(sources, sources + header.sourceCount, [&](const SourceRecord& source) {
        const auto now = stampOf(directory, std::string(textOf(source.name)), wholeContent);
        return now && sameStamp(source, *now) && (!wholeContent || now->hash == source.hash);
    });
}

void ImageWriter::addBytes(const std::string& name, std::string_view bytes, std::size_t cell) {
    body_.resize(aligned(body_.size()));
    added_.push_back({name, body_.size(), bytes.size(), cell});
    body_ += bytes;
}

std::string ImageWriter::finish(std::span<const SourceRecord> sources) const {
    const std::size_t tables = sources.size_bytes() + added_.size() * sizeof(SectionRecord);
    const std::size_t tableEnd = sizeof(ImageHeader) + tables;
    const std::size_t body = aligned(tableEnd);
    std::string image(body + body_.size(), '\0');
    const auto bytesAt = [&image](std::size_t at, std::size_t size) {
        return std::span(reinterpret_cast<const unsigned char*>(image.data()) + at, size);
    };

    std::size_t at = sizeof(ImageHeader);
    std::memcpy(image.data() + at, sources.data(), sources.size_bytes());
    at += sources.size_bytes();
    for (const Added& added : added_) {
        SectionRecord record{};
        setText(record.name, added.name);
        record.offset = body + added.offset;
        record.size = added.size;
        record.cell = added.cell;
        std::memcpy(image.data() + at, &record, sizeof record);
        at += sizeof record;
    }
    std::memcpy(image.data() + body, body_.data(), body_.size());

    ImageHeader header = plainHeader();
    header.fileSize = image.size();
    header.sourceCount = sources.size();
    header.sectionCount = added_.size();
    header.bodyHash = blockHash(bytesAt(tableEnd, image.size() - tableEnd));
    header.tableHash = tableHash(header, bytesAt(sizeof header, tables));
    std::memcpy(image.data(), &header, sizeof header);
    return image;
}

}  // namespace orvix::images
