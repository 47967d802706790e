#pragma once

#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "images/image_file.h"
#include "model/model_source.h"

namespace orvix::images {

/// Takes components from the image in the directory of their text files where that can be used, and
/// reads the text where not. The components are the same either way. Small tables are always read
/// as text.
class ImageSource : public ModelSource {
  public:
    explicit ImageSource(ImageCheck check = ImageCheck::stamps) : check_(check) {}

    std::shared_ptr<const GDB> table(const std::string& path) const override;
    std::shared_ptr<const shifts::ObservedTriplets> observedTriplets(
        const std::string& path) const override;
    std::shared_ptr<const networks::NetworkWeights> network(
        const std::string& prefix, const networks::NetworkKind& kind) const override;
    std::shared_ptr<const search::Database> database(const std::string& path,
                                                     const std::string& excluded) const override;

  private:
    /// The image for the file at `path`; null where there is none that can be used. Looked at once
    /// for each directory.
    std::shared_ptr<const ImageFile> imageFor(const std::string& path) const;

    ImageCheck check_;
    TextSource text_;
    mutable std::mutex mutex_;
    mutable std::map<std::string, std::shared_ptr<const ImageFile>> images_;  ///< by directory
};

/// Where the data of a run come from.
enum class ImageUse {
    none,    ///< always from the text files
    stamps,  ///< from images, see ImageCheck
    content
};

/// The use that a word stands for: `no`, `yes` or `check`; nothing for another word.
std::optional<ImageUse> imageUseFromWord(std::string_view word);

/// Environment variable that holds such a word; the programs read it.
inline constexpr const char* imageUseVariable = "ORVIX_IMAGE";

std::unique_ptr<const ModelSource> modelSource(ImageUse use);

}  // namespace orvix::images
