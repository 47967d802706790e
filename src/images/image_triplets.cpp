// The observed triplets as sections of an image.
#include <utility>

#include "images/image_components.h"
#include "images/image_texts.h"

namespace orvix::images {

void addTriplets(ImageWriter& writer, const std::string& name,
                 const shifts::ObservedTriplets& triplets) {
    const shifts::ObservedTriplets::Kept kept = triplets.kept();
    writer.add(name + "/shifts", kept.shifts);
    writer.add(name + "/middle", kept.middle);
    writer.add(name + "/sourceOf", std::span<const int>(kept.sourceOf));
    addTexts(writer, name + "/names", kept.names);
    addTexts(writer, name + "/sources", kept.sources);
}

std::shared_ptr<const shifts::ObservedTriplets> tripletsOf(
    const std::shared_ptr<const ImageFile>& image, const std::string& name) {
    using shifts::ObservedTriplets;
    const auto shifts = image->section<double>(name + "/shifts");
    const auto middle = image->section<double>(name + "/middle");
    const auto sourceOf = image->section<int>(name + "/sourceOf");
    auto names = textsOf(*image, name + "/names");
    auto sources = textsOf(*image, name + "/sources");
    if (!shifts || !middle || !sourceOf || !names || !sources ||
        sourceOf->size() >= ObservedTriplets::rowLimit ||
        shifts->size() != std::size_t{ObservedTriplets::rowLimit} * 18 ||
        middle->size() != sourceOf->size() * 6 || names->size() != sourceOf->size() * 3) {
        return nullptr;
    }
    ObservedTriplets::Kept kept;
    kept.shifts = *shifts;
    kept.middle = *middle;
    kept.names = std::move(*names);
    kept.sources = std::move(*sources);
    kept.sourceOf.assign(sourceOf->begin(), sourceOf->end());
    return std::make_shared<const ObservedTriplets>(std::move(kept), image);
}

}  // namespace orvix::images
