// The data directory in memory, component by component.
#include "model/model.h"

#include <utility>

#include "model/loaded_once.h"
#include "model/model_source.h"

namespace orvix {
namespace {

/// Filtered copies of large components that stay for the runs to come.
constexpr std::size_t keptExclusions = 4;

/// What is asked for without an exclusion stays for good, filtered copies make room for each other.
template <class Value>
struct Excludable {
    LoadedOnce<Value> whole;
    LoadedOnce<Value> filtered{keptExclusions};

    template <class Load>
    std::shared_ptr<const Value> get(const std::string& path, const std::string& excluded,
                                     const Load& load) {
        if (excluded.empty()) {
            return whole.get(path, load);
        }
        return filtered.get(path + '\0' + excluded, load);
    }
};

}  // namespace

struct Model::Components {
    std::unique_ptr<const ModelSource> source;
    LoadedOnce<GDB> tables;
    LoadedOnce<networks::NetworkWeights> networks;
    Excludable<shifts::ObservedTriplets> triplets;
    Excludable<search::Database> databases;
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
    return components_->triplets.get(
        path, excluded, [&] { return components_->source->observedTriplets(path, excluded); });
}

std::shared_ptr<const networks::NetworkWeights> Model::network(
    const std::string& prefix, const networks::NetworkKind& kind) const {
    return components_->networks.get(prefix,
                                     [&] { return components_->source->network(prefix, kind); });
}

std::shared_ptr<const search::Database> Model::database(const std::string& path,
                                                        const std::string& excluded) const {
    return components_->databases.get(
        path, excluded, [&] { return components_->source->database(path, excluded); });
}

}  // namespace orvix
