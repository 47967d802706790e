#pragma once

#include <memory>
#include <string>

class GDB;

namespace orvix::networks {
struct NetworkKind;
class NetworkWeights;
}  // namespace orvix::networks
namespace orvix::search {
class Database;
}  // namespace orvix::search
namespace orvix::shifts {
class ObservedTriplets;
}  // namespace orvix::shifts

namespace orvix {

/// Where the components of a model come from. The default reads the text files of a data directory.
class ModelSource;

/// The data directory in memory: reference tables, observed triplets, networks, the database of
/// known proteins. A component is loaded when it is first asked for, once for each path, and never
/// changes; any number of runs and threads may share one model.
///
/// What the loading of a component says on the run's streams is said again to every run that asks
/// for it, so that each run speaks like one in a process of its own. A component that can't be
/// loaded throws RunEnd and is tried again the next time.
class Model {
  public:
    Model();
    explicit Model(std::unique_ptr<const ModelSource> source);
    ~Model();
    Model(const Model&) = delete;
    Model& operator=(const Model&) = delete;

    /// A table of the common text format.
    std::shared_ptr<const GDB> table(const std::string& path) const;
    /// The observed triplets of `path`; rows whose SOURCE occurs in `excluded` are out of reach.
    std::shared_ptr<const shifts::ObservedTriplets> observedTriplets(
        const std::string& path, const std::string& excluded) const;
    /// The weights of a network whose text files begin with `prefix`.
    std::shared_ptr<const networks::NetworkWeights> network(
        const std::string& prefix, const networks::NetworkKind& kind) const;
    /// The database without the rows whose source word occurs in `excluded`.
    std::shared_ptr<const search::Database> database(const std::string& path,
                                                     const std::string& excluded) const;

  private:
    struct Components;
    std::unique_ptr<Components> components_;
};

}  // namespace orvix
