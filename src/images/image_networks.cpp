// Networks as sections of an image: the layers of all levels and members one behind the other, in
// the form that the kernel takes. Rows that are kept as lists have no other form there.
#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "images/image_components.h"

namespace orvix::images {
namespace {

using networks::Layer;
using networks::LayerView;
using networks::ListedRows;
using networks::Member;
using networks::NetworkKind;

/// Sizes of a layer, as cells of its network's section "layers".
struct LayerSizes {
    std::uint64_t rows, inputs, biases, leastRows;
    std::uint64_t listed;  ///< places in lists
    std::uint64_t dense;   ///< weights of rows without lists
};

/// What the weights of a kind depend on beside their files.
std::vector<int> shapeOf(const NetworkKind& kind) {
    const networks::NetworkShape& shape = kind.shape;
    return {shape.level1.input,
            shape.level1.hidden,
            shape.level1.output,
            shape.level2.input,
            shape.level2.hidden,
            shape.level2.output,
            static_cast<int>(shape.members),
            static_cast<int>(kind.rules)};
}

/// The arrays of a network, filled layer by layer.
struct NetworkArrays {
    std::vector<LayerSizes> layers;
    networks::LayerLists lists;
    std::vector<double> dense, bias;
};

void addLayer(const Layer& layer, NetworkArrays& arrays) {
    const LayerView& view = layer.view;
    const networks::LayerLists lists = networks::makeLists(view);
    const std::size_t before = arrays.dense.size();
    for (std::size_t r = 0; r < view.rows.size(); ++r) {
        if (lists.strides[r / networks::layerBlockRows] == 0) {
            arrays.dense.insert(arrays.dense.end(), view.rows[r], view.rows[r] + view.inputs);
        }
    }
    const auto append = [](auto& all, const auto& more) {
        all.insert(all.end(), more.begin(), more.end());
    };
    append(arrays.lists.strides, lists.strides);
    append(arrays.lists.counts, lists.counts);
    append(arrays.lists.index, lists.index);
    append(arrays.lists.value, lists.value);
    append(arrays.bias, std::span(view.bias, layer.biasCount));
    arrays.layers.push_back({view.rows.size(), view.inputs, layer.biasCount, layer.leastRows,
                             lists.index.size(), arrays.dense.size() - before});
}

/// Takes the parts of sections in turn.
template <class T>
class Parts {
  public:
    explicit Parts(Section<T> section) : left_(section) {}
    /// False when there are fewer cells than that.
    bool next(std::uint64_t count, Section<T>& part) {
        if (count > left_.size()) {
            return false;
        }
        part = left_.first(count);
        left_ = left_.subspan(count);
        return true;
    }

    std::size_t left() const { return left_.size(); }

  private:
    Section<T> left_;
};

class NetworkReading {
  public:
    static std::optional<NetworkReading> of(const ImageFile& image, const std::string& name) {
        const auto sizes = image.section<LayerSizes>(name + "/layers");
        const auto strides = image.section<std::uint32_t>(name + "/strides");
        const auto counts = image.section<std::uint32_t>(name + "/counts");
        const auto index = image.section<std::uint32_t>(name + "/index");
        const auto value = image.section<double>(name + "/value");
        const auto dense = image.section<double>(name + "/dense");
        const auto bias = image.section<double>(name + "/bias");
        if (!sizes || !strides || !counts || !index || !value || !dense || !bias) {
            return std::nullopt;
        }
        return NetworkReading(*sizes, {*strides, *counts, *index, *value}, *dense, *bias);
    }

    std::size_t layers() const { return sizes_.size(); }

    /// The next layer; false when the sections don't hold it.
    bool next(Layer& layer) {
        const LayerSizes& size = sizes_[next_++];
        networks::LayerListSpans lists;
        Section<double> dense, bias;
        // A count of rows beyond what the section of counts holds ends here, before it is a size.
        if (size.rows > counts_.left() || size.inputs > UINT32_MAX ||
            !strides_.next((size.rows + networks::layerBlockRows - 1) / networks::layerBlockRows,
                           lists.strides) ||
            !counts_.next(size.rows, lists.counts) || !index_.next(size.listed, lists.index) ||
            !value_.next(size.listed, lists.value) || !dense_.next(size.dense, dense) ||
            !bias_.next(size.biases, bias)) {
            return false;
        }
        layer.biasCount = size.biases;
        layer.leastRows = size.leastRows;
        LayerView& view = layer.view;
        view.inputs = size.inputs;
        view.bias = bias.data();
        view.lists = networks::listedRows(lists, size.rows);
        if (view.lists.size() != lists.strides.size()) {
            return false;
        }
        view.lengths.assign(size.rows, static_cast<std::uint32_t>(view.inputs));
        view.rows.assign(size.rows, nullptr);
        std::size_t at = 0;
        for (std::size_t r = 0; r < size.rows; ++r) {
            if (view.lists[r / networks::layerBlockRows].index == nullptr) {
                if (dense.size() - at < view.inputs) {
                    return false;
                }
                view.rows[r] = dense.data() + at;
                at += view.inputs;
            }
        }
        return true;
    }

  private:
    NetworkReading(Section<LayerSizes> sizes, const networks::LayerListSpans& lists,
                   Section<double> dense, Section<double> bias)
        : sizes_(sizes),
          strides_(lists.strides),
          counts_(lists.counts),
          index_(lists.index),
          value_(lists.value),
          dense_(dense),
          bias_(bias) {}

    Section<LayerSizes> sizes_;
    std::size_t next_ = 0;
    Parts<std::uint32_t> strides_, counts_, index_;
    Parts<double> value_, dense_, bias_;
};

}  // namespace

void addNetwork(ImageWriter& writer, const NetworkKind& kind,
                const networks::NetworkWeights& weights) {
    NetworkArrays arrays;
    for (std::size_t level = 1; level <= kind.shape.levels(); ++level) {
        for (const Member& member : weights.level(level).members) {
            for (const Layer& layer : member) {
                addLayer(layer, arrays);
            }
        }
    }
    const std::vector<int> shape = shapeOf(kind);
    writer.add(kind.name + "/shape", std::span<const int>(shape));
    writer.add(kind.name + "/layers", std::span<const LayerSizes>(arrays.layers));
    writer.add(kind.name + "/strides", std::span<const std::uint32_t>(arrays.lists.strides));
    writer.add(kind.name + "/counts", std::span<const std::uint32_t>(arrays.lists.counts));
    writer.add(kind.name + "/index", std::span<const std::uint32_t>(arrays.lists.index));
    writer.add(kind.name + "/value", std::span<const double>(arrays.lists.value));
    writer.add(kind.name + "/dense", std::span<const double>(arrays.dense));
    writer.add(kind.name + "/bias", std::span<const double>(arrays.bias));
}

std::shared_ptr<const networks::NetworkWeights> networkOf(
    const std::shared_ptr<const ImageFile>& image, const std::string& name,
    const std::string& prefix, const NetworkKind& kind) {
    const auto shape = image->section<int>(name + "/shape");
    if (!shape || !std::ranges::equal(*shape, shapeOf(kind))) {
        return nullptr;
    }
    std::optional<NetworkReading> reading = NetworkReading::of(*image, name);
    const std::size_t levels = kind.shape.levels();
    if (!reading || reading->layers() != levels * kind.shape.members * networks::layerCount) {
        return nullptr;
    }
    std::vector<std::vector<Member>> members(levels, std::vector<Member>(kind.shape.members));
    for (std::vector<Member>& level : members) {
        for (Member& member : level) {
            for (Layer& layer : member) {
                if (!reading->next(layer)) {
                    return nullptr;
                }
            }
        }
    }
    return networks::keptNetwork(prefix, kind.shape, std::move(members), image);
}

}  // namespace orvix::images
