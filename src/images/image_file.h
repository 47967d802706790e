#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "images/image_format.h"

namespace orvix::images {

/// How much is compared before an image is used.
enum class ImageCheck {
    stamps,  ///< the header, and size and time of the last change of every source
    content  ///< also the content of the image and of every source
};

/// A section whose cells are of type T, read where it is mapped.
template <class T>
using Section = std::span<const T>;

/// An image mapped read-only: its pages are shared by all processes that use it. Nothing in it is
/// looked at before the whole header has been found to be right.
class ImageFile {
  public:
    /// The image at `path`; null for none, and for one that is not exactly what this program would
    /// make of the sources beside it today.
    static std::shared_ptr<const ImageFile> open(const std::string& path,
                                                 ImageCheck check = ImageCheck::stamps);
    ~ImageFile();
    ImageFile(const ImageFile&) = delete;
    ImageFile& operator=(const ImageFile&) = delete;

    bool has(std::string_view name) const { return sections_.contains(name); }
    /// A section by its name; nothing where there is none of cells of this size.
    template <class T>
    std::optional<Section<T>> section(std::string_view name) const {
        const auto found = sections_.find(name);
        if (found == sections_.end() || found->second->cell != sizeof(T)) {
            return std::nullopt;
        }
        return Section<T>(reinterpret_cast<const T*>(bytes_ + found->second->offset),
                          found->second->size / sizeof(T));
    }

  private:
    ImageFile(const unsigned char* bytes, std::size_t size) : bytes_(bytes), size_(size) {}
    bool accept(const std::string& directory, ImageCheck check);

    const unsigned char* bytes_;
    std::size_t size_;
    std::map<std::string_view, const SectionRecord*> sections_;
};

/// Size and time of the last change of a file that can be read, and the hash of its content where
/// asked for. Nothing for any other file.
std::optional<SourceRecord> stampOf(const std::string& directory, const std::string& name,
                                    bool hashed);

/// Whether both tell of the same state of a file.
bool sameStamp(const SourceRecord& a, const SourceRecord& b);

/// What `ImageHeader::tableHash` has to be for this header and the bytes of both tables.
std::uint64_t tableHash(ImageHeader header, std::span<const unsigned char> tables);

/// Gathers the sections of an image.
class ImageWriter {
  public:
    template <class T>
    void add(const std::string& name, std::span<const T> cells) {
        static_assert(std::is_trivially_copyable_v<T>);
        addBytes(name, {reinterpret_cast<const char*>(cells.data()), cells.size_bytes()},
                 sizeof(T));
    }
    /// The bytes of the whole image.
    std::string finish(std::span<const SourceRecord> sources) const;

  private:
    void addBytes(const std::string& name, std::string_view bytes, std::size_t cell);

    struct Added {
        std::string name;
        std::size_t offset, size, cell;  // offset in `body_`
    };
    std::vector<Added> added_;
    std::string body_;
};

}  // namespace orvix::images
