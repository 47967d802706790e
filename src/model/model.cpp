// The data directory in memory, component by component.
#include "model/model.h"

#include <utility>

#include "model/loaded_once.h"
#include "model/model_source.h"

namespace orvix {
namespace {

/// Filtered copies of large components that stay for the runs to come.
constexpr std::size_t keptExclusions = 4;

}  // namespace

struct Model::Components {
    std::unique_ptr<const ModelSource> source;
    LoadedOnce<GDB> tables;
    LoadedOnce<networks::NetworkWeights> networks;
    LoadedOnce<shifts::ObservedTriplets> triplets;
    LoadedOnce<shifts::ObservedTriplets> filteredTriplets{keptExclusions};
    LoadedOnce<search::Database> databases;
    LoadedOnce<search::Database> filteredDatabases{keptExclusions};
};

Model::Model() : Model(std::make_unique<TextSource>()) {}

Model::Model(std::unique_ptr<const ModelSource> source)
    : components_(std::make_unique<Components>()) {
    components_->source = std::move(source);
}

Model::~Model() = default;

std::shared_ptr<const GDB> Model::table(const std::string& path) const {
    return components_->tables.get(path, [&] { return components_->source->table(path); });
}

std::shared_ptr<const shifts::ObservedTriplets> Model::observedTriplets(
    const std::string& path, const std::string& excluded) const {
    const auto whole = components_->triplets.get(
        path, [&] { return components_->source->observedTriplets(path); });
    if (excluded.empty()) {
        return whole;
    }
    return components_->filteredTriplets.get(path + '\0' + excluded, [&] {
        return std::make_shared<const shifts::ObservedTriplets>(
            *whole, [&excluded](const std::string& source) {
                return excluded.find(source) != std::string::npos;
            });
    });
}

std::shared_ptr<const networks::NetworkWeights> Model::network(
    const std::string& prefix, const networks::NetworkKind& kind) const {
    return components_->networks.get(prefix,
                                     [&] { return components_->source->network(prefix, kind); });
}

std::shared_ptr<const search::Database> Model::database(const std::string& path,
                                                        const std::string& excluded) const {
    LoadedOnce<search::Database>& databases =
        excluded.empty() ? components_->databases : components_->filteredDatabases;
    return databases.get(path + '\0' + excluded,
                         [&] { return components_->source->database(path, excluded); });
}

}  // namespace orvix
