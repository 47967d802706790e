#pragma once

#include <memory>
#include <string>

#include "networks/network_kinds.h"
#include "search/database.h"
#include "shifts/observed_triplets.h"
#include "tables/gdb.h"

namespace orvix {

/// Where the components of a model come from. Each call loads anew; what a load has to say goes to
/// the streams of the calling thread, and one that fails throws RunEnd. May be called by several
/// threads at once.
class ModelSource {
  public:
    virtual ~ModelSource() = default;
    virtual std::shared_ptr<const GDB> table(const std::string& path) const = 0;
    virtual std::shared_ptr<const shifts::ObservedTriplets> observedTriplets(
        const std::string& path) const = 0;
    virtual std::shared_ptr<const networks::NetworkWeights> network(
        const std::string& prefix, const networks::NetworkKind& kind) const = 0;
    virtual std::shared_ptr<const search::Database> database(const std::string& path,
                                                             const std::string& excluded) const = 0;
};

/// Reads the text files of a data directory.
class TextSource : public ModelSource {
  public:
    std::shared_ptr<const GDB> table(const std::string& path) const override;
    std::shared_ptr<const shifts::ObservedTriplets> observedTriplets(
        const std::string& path) const override;
    std::shared_ptr<const networks::NetworkWeights> network(
        const std::string& prefix, const networks::NetworkKind& kind) const override;
    std::shared_ptr<const search::Database> database(const std::string& path,
                                                     const std::string& excluded) const override;
};

}  // namespace orvix
