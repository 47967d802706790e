#include "images/image_source.h"

#include <filesystem>

#include "images/image_components.h"

namespace orvix::images {
namespace {

std::string fileName(const std::string& path) {
    return std::filesystem::path(path).filename().string();
}

}  // namespace

std::shared_ptr<const ImageFile> ImageSource::imageFor(const std::string& path) const {
    const std::filesystem::path directory = std::filesystem::path(path).parent_path();
    const std::lock_guard lock(mutex_);
    const auto [found, fresh] = images_.try_emplace(directory.string());
    if (fresh) {
        found->second = ImageFile::open((directory / imageName).string(), check_);
    }
    return found->second;
}

std::shared_ptr<const GDB> ImageSource::table(const std::string& path) const {
    return text_.table(path);
}

std::shared_ptr<const shifts::ObservedTriplets> ImageSource::observedTriplets(
    const std::string& path) const {
    if (const auto image = imageFor(path)) {
        if (auto triplets = tripletsOf(image, fileName(path))) {
            return triplets;
        }
    }
    return text_.observedTriplets(path);
}

std::shared_ptr<const networks::NetworkWeights> ImageSource::network(
    const std::string& prefix, const networks::NetworkKind& kind) const {
    if (const auto image = imageFor(prefix)) {
        if (auto weights = networkOf(image, fileName(prefix), prefix, kind)) {
            return weights;
        }
    }
    return text_.network(prefix, kind);
}

std::shared_ptr<const search::Database> ImageSource::database(const std::string& path,
                                                              const std::string& excluded) const {
    if (const auto image = imageFor(path)) {
        if (auto database = databaseOf(image, fileName(path), path, excluded)) {
            return database;
        }
    }
    return text_.database(path, excluded);
}

std::optional<ImageUse> imageUseFromWord(std::string_view word) {
    if (word == "no") {
        return ImageUse::none;
    }
    if (word == "yes") {
        return ImageUse::stamps;
    }
    return word == "check" ? std::optional(ImageUse::content) : std::nullopt;
}

std::unique_ptr<const ModelSource> modelSource(ImageUse use) {
    if (use == ImageUse::none) {
        return std::make_unique<TextSource>();
    }
    return std::make_unique<ImageSource>(use == ImageUse::content ? ImageCheck::content
                                                                  : ImageCheck::stamps);
}

}  // namespace orvix::images
