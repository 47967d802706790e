#pragma once

#include <memory>
#include <string>

#include "images/image_file.h"
#include "networks/network_kinds.h"
#include "search/database.h"
#include "shifts/observed_triplets.h"

namespace orvix::images {

// The components of a model as sections of an image, both ways. Sections of a component begin with
// its name: of a table the name of its file, of a network that of its kind. What is read back is
// null where the image lacks the component or its sections don't fit together.

void addDatabase(ImageWriter& writer, const std::string& name, const search::Database& database);
/// Without the rows whose source word occurs in `excluded`. Whole ones are read where they are
/// mapped.
std::shared_ptr<const search::Database> databaseOf(const std::shared_ptr<const ImageFile>& image,
                                                   const std::string& name, const std::string& path,
                                                   const std::string& excluded);

void addTriplets(ImageWriter& writer, const std::string& name,
                 const shifts::ObservedTriplets& triplets);
std::shared_ptr<const shifts::ObservedTriplets> tripletsOf(
    const std::shared_ptr<const ImageFile>& image, const std::string& name);

void addNetwork(ImageWriter& writer, const networks::NetworkKind& kind,
                const networks::NetworkWeights& weights);
/// `prefix` is what the weights are to name as the beginning of their files. `name` is theirs in
/// the image; the shape and the rules of `kind` have to be those that it was made with.
std::shared_ptr<const networks::NetworkWeights> networkOf(
    const std::shared_ptr<const ImageFile>& image, const std::string& name,
    const std::string& prefix, const networks::NetworkKind& kind);

}  // namespace orvix::images
