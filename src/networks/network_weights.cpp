#include "networks/network_weights.h"

#include <algorithm>
#include <ostream>
#include <sstream>
#include <utility>

#include "base/streams.h"

namespace orvix::networks {
namespace {

struct LayerSize {
    int rows, columns;
};

std::array<LayerSize, layerCount> layerSizes(const NetworkShape::Level& level) {
    return {
        {{level.input, level.input}, {level.hidden, level.input}, {level.output, level.hidden}}};
}

// What is written as warnings while this lives; should that end in an exception, the text goes
// where it would have gone.
class WarningCapture {
  public:
    WarningCapture() : before_({&out(), &err()}), streams_({before_.out, &text_}) {}
    ~WarningCapture() { *before_.err << text_.str(); }
    WarningCapture(const WarningCapture&) = delete;
    WarningCapture& operator=(const WarningCapture&) = delete;

    std::string take() {
        std::string text = text_.str();
        text_.str("");
        return text;
    }

  private:
    std::ostringstream text_;
    Streams before_;
    ScopedStreams streams_;
};

}  // namespace

LevelWeights NetworkWeights::level(std::size_t number) const {
    return {levels_.at(number - 1), prefix_ + ".level" + std::to_string(number)};
}

std::shared_ptr<const NetworkWeights> loadNetwork(const std::string& prefix,
                                                  const NetworkShape& shape, WeightRules rules) {
    const std::shared_ptr<NetworkWeights> weights(new NetworkWeights(prefix, shape));
    WarningCapture warnings;
    for (std::size_t level = 1; level <= shape.levels(); ++level) {
        const auto sizes = layerSizes(level == 1 ? shape.level1 : shape.level2);
        std::vector<Member>& members = weights->levels_.emplace_back(shape.members);
        for (std::size_t layer = 0; layer < layerCount; ++layer) {
            const std::string file =
                prefix + ".level" + std::to_string(level) + "." + layerNames[layer] + ".tab";
            weights->tables_.push_back(readWeightTable(file, rules, sizes[layer].columns));
            std::vector<Layer> layers =
                memberLayers(weights->tables_.back(), sizes[layer].rows, shape.members);
            for (std::size_t m = 0; m < shape.members; ++m) {
                LayerView& view = layers[m].view;
                const LayerLists& lists = *weights->lists_.emplace_back(
                    std::make_unique<const LayerLists>(makeLists(view)));
                view.lists = listedRows({lists.strides, lists.counts, lists.index, lists.value},
                                        view.rows.size());
                members[m][layer] = std::move(layers[m]);
            }
        }
    }
    weights->warnings_ = warnings.take();
    return weights;
}

std::shared_ptr<const NetworkWeights> keptNetwork(const std::string& prefix,
                                                  const NetworkShape& shape,
                                                  std::vector<std::vector<Member>> levels,
                                                  std::shared_ptr<const void> owner) {
    const std::shared_ptr<NetworkWeights> weights(new NetworkWeights(prefix, shape));
    weights->levels_ = std::move(levels);
    weights->owner_ = std::move(owner);
    return weights;
}

std::vector<Layer> memberLayers(const WeightTable& table, int rows, std::size_t members) {
    const std::size_t perMember = rows > 0 ? static_cast<std::size_t>(rows) : 0;
    const std::vector<const double*> starts = table.rows();
    std::vector<Layer> layers(members);
    for (std::size_t m = 0; m < members; ++m) {
        const std::size_t first = std::min(m * perMember, starts.size());
        const std::size_t count = std::min(perMember, starts.size() - first);
        Layer& layer = layers[m];
        layer.leastRows = perMember;
        layer.biasCount = count;
        layer.view.bias = table.bias.data() + first;
        layer.view.inputs = count > 0 ? table.columns : 0;
        layer.view.rows.assign(starts.begin() + static_cast<std::ptrdiff_t>(first),
                               starts.begin() + static_cast<std::ptrdiff_t>(first + count));
        layer.view.rows.resize(std::max<std::size_t>(count, 1), nullptr);
        layer.view.lengths.assign(layer.view.rows.size(),
                                  static_cast<std::uint32_t>(layer.view.inputs));
    }
    return layers;
}

}  // namespace orvix::networks
