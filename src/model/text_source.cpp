// The components of a model from text files.
#include <ostream>

#include "base/streams.h"
#include "model/model_source.h"
#include "search/db.h"

namespace orvix {

std::shared_ptr<const GDB> TextSource::table(const std::string& path) const {
    return std::make_shared<const GDB>(path);
}

std::shared_ptr<const shifts::ObservedTriplets> TextSource::observedTriplets(
    const std::string& path) const {
    return std::make_shared<const shifts::ObservedTriplets>(GDB(path));
}

std::shared_ptr<const networks::NetworkWeights> TextSource::network(
    const std::string& prefix, const networks::NetworkKind& kind) const {
    auto weights = networks::loadNetwork(prefix, kind.shape, kind.rules);
    err() << weights->warnings();
    return weights;
}

std::shared_ptr<const search::Database> TextSource::database(const std::string& path,
                                                             const std::string& excluded) const {
    auto rows = std::make_unique<DB>();
    rows->setMaxDBSize(search::databaseCapacity);
    rows->loadDB(path, excluded);
    return std::make_shared<const search::Database>(std::move(rows));
}

}  // namespace orvix
