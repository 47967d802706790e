#include <cstring>
#include <map>

#include "fuzz_input.h"
#include "networks/weight_maps.h"

namespace {

constexpr int columns = 3;

bool sameBits(const std::vector<double>& a, const std::vector<double>& b) {
    return a.size() == b.size() &&
           (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(double)) == 0);
}

void compareForms(const std::string& path, orvix::networks::WeightRules rules, int threads) {
    const auto fast = orvix::networks::readWeightTableFast(path, rules, columns, threads);
    bool ended = true;
    orvix::networks::WeightTable plain;
    untilRunEnds([&] {
        plain = orvix::networks::readWeightTablePlain(path, rules, columns);
        ended = false;
    });
    if (!fast) {
        return;
    }
    require(!ended && fast->columns == plain.columns && sameBits(fast->bias, plain.bias));
    const std::vector<const double*> got = fast->rows(), expected = plain.rows();
    for (std::size_t i = 0; i < expected.size(); ++i) {
        require(std::memcmp(got[i], expected[i], plain.columns * sizeof(double)) == 0);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string& path = inputFile(data, size);
    for (const orvix::networks::WeightRules rules :
         {orvix::networks::WeightRules::typed, orvix::networks::WeightRules::text}) {
        compareForms(path, rules, 1);
        compareForms(path, rules, 3);
    }
    std::map<int, std::vector<double>> rows[2];
    std::vector<double> bias[2];
    const orvix::networks::LayerWeights members[] = {{&rows[0], &bias[0]}, {&rows[1], &bias[1]}};
    orvix::networks::loadBinaryRows(path, members, 4, columns);
    untilRunEnds([&] {
        orvix::networks::distributeRows(
            orvix::networks::readWeightTable(path, orvix::networks::WeightRules::text, columns),
            members, 4);
    });
    return 0;
}
