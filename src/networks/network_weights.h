#pragma once

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "networks/ensemble_pass.h"
#include "networks/weight_table.h"

namespace orvix::networks {

/// The widths of a network and the size of its ensemble. Of a level, WI has `input` rows of `input`
/// weights, WL1 `hidden` rows of `input` and WL2 `output` rows of `hidden`.
struct NetworkShape {
    struct Level {
        int input = 0, hidden = 0, output = 0;
    };
    Level level1;
    Level level2;  ///< widths of 0 for a network of one level
    std::size_t members = 3;

    std::size_t levels() const { return level2.input > 0 ? 2 : 1; }
};

/// The ensemble of one level, with the name that its files share: "tab/ss.level1".
struct LevelWeights {
    std::span<const Member> members;
    std::string files;  ///< empty for weights that came from no file
};

/// The weights of one network as its text files hold them: a value that never changes after the
/// load and may serve any number of threads at once. A file that could not be read leaves its layer
/// empty, and the first window that meets the layer ends the run.
class NetworkWeights {
  public:
    NetworkWeights(const NetworkWeights&) = delete;
    NetworkWeights& operator=(const NetworkWeights&) = delete;

    const NetworkShape& shape() const { return shape_; }
    /// Level 1 or 2.
    LevelWeights level(std::size_t number) const;
    /// What the load wrote as warnings. It belongs into every run that uses the network, at its
    /// first use.
    const std::string& warnings() const { return warnings_; }

  private:
    friend std::shared_ptr<const NetworkWeights> loadNetwork(const std::string& prefix,
                                                             const NetworkShape& shape,
                                                             WeightRules rules);
    friend std::shared_ptr<const NetworkWeights> keptNetwork(
        const std::string& prefix, const NetworkShape& shape,
        std::vector<std::vector<Member>> levels, std::shared_ptr<const void> owner);
    NetworkWeights(std::string prefix, const NetworkShape& shape)
        : prefix_(std::move(prefix)), shape_(shape) {}

    std::string prefix_;
    NetworkShape shape_;
    std::vector<WeightTable> tables_;  // by level, then layer; the layers point into them
    std::vector<std::unique_ptr<const LayerLists>> lists_;
    std::vector<std::vector<Member>> levels_;  // level, member
    std::string warnings_;
    std::shared_ptr<const void> owner_;  // of weights that were loaded by someone else
};

/// Loads a network from the text files `prefix` + ".level1.WI.tab" and so on, level by level in the
/// order WI, WL1, WL2. By the text rules a file that can't be opened ends the run; by the typed
/// rules it leaves its layer empty and a warning in the value.
std::shared_ptr<const NetworkWeights> loadNetwork(const std::string& prefix,
                                                  const NetworkShape& shape, WeightRules rules);

/// A network of layers by level and member, whose weights `owner` keeps.
std::shared_ptr<const NetworkWeights> keptNetwork(const std::string& prefix,
                                                  const NetworkShape& shape,
                                                  std::vector<std::vector<Member>> levels,
                                                  std::shared_ptr<const void> owner);

/// The layers of an ensemble whose members follow each other in a table, `rows` rows each. Rows
/// behind the last member are dropped; a member that the table doesn't reach has an empty layer.
std::vector<Layer> memberLayers(const WeightTable& table, int rows, std::size_t members);

}  // namespace orvix::networks
