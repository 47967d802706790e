#include "networks/surfann.h"

#include <algorithm>
#include <ostream>

#include "base/streams.h"
#include "networks/level_pass.h"
#include "networks/network_object.h"
#include "networks/surface_network.h"

namespace {

constexpr int memberCount = 3;
constexpr int level2Threads = 10;

void reportThreads(int threads) {
    orvix::out() << "\nThe number of processes is " << threads << ".\n";
}

}  // namespace

SURFANN::SURFANN() {
    input_code = 5;
}

SURFANN::SURFANN(int inputWidth1, int hiddenWidth1, int outputWidth1, int inputWidth2,
                 int hiddenWidth2, int outputWidth2, const std::string& dir,
                 const std::string& name)
    : ANN(inputWidth1, hiddenWidth1, outputWidth1, inputWidth2, hiddenWidth2, outputWidth2, dir,
          name) {
    input_code = 5;
}

void SURFANN::setHybrid(int flag) {
    hybrid = flag;
}

void SURFANN::setThread(int threads) {
    threadCount = threads;
}

void SURFANN::runANN(std::map<int, std::vector<double>>& input) {
    if (&input != &rawInput) {
        rawInput = input;
    }
    loadWeights();

    using orvix::networks::ObjectLevel;
    orvix::networks::passSurfaceNetwork(
        ObjectLevel(*this, 1, memberCount), ObjectLevel(*this, 2, memberCount), rawInput,
        static_cast<std::size_t>(std::max(0, outputSize1)), orvix::networks::passMaps(*this));
}

void SURFANN::runHybridANN(std::map<int, std::vector<double>>& input) {
    if (&input != &rawInput) {
        rawInput = input;
    }
    loadWeights();

    orvix::networks::passHybridNetwork(orvix::networks::ObjectLevel(*this, 1, memberCount),
                                       rawInput, level1Input, level1Output);
}

void SURFANN::loadWeights() {
    orvix::networks::loadTextFiles(*this, hybrid != 0 ? 1 : 2, memberCount,
                                   orvix::networks::WeightRules::typed);
}

void SURFANN::loadWeightsBIN() {
    loadedFromFiles = true;
    for (const auto& file : orvix::networks::layerFiles(*this, 2, memberCount, ".bin")) {
        orvix::networks::loadBinaryRows(file.path, file.members, file.rows, file.columns);
    }
}

void SURFANN::loadWeightBias3_omp(const std::string& file, std::map<int, std::vector<double>>& w0,
                                  std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                                  std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                                  std::vector<double>& b2, int rows, int cols) {
    const orvix::networks::LayerWeights members[] = {{&w0, &b0}, {&w1, &b1}, {&w2, &b2}};
    const int threads = std::max(1, threadCount);
    const orvix::networks::WeightTable table =
        orvix::networks::readWeightTable(file, orvix::networks::WeightRules::text, cols, threads);
    reportThreads(threads);
    orvix::networks::distributeRows(table, members, rows);
}

void SURFANN::loadWeightBias3BIN(const std::string& file, std::map<int, std::vector<double>>& w0,
                                 std::vector<double>& b0, std::map<int, std::vector<double>>& w1,
                                 std::vector<double>& b1, std::map<int, std::vector<double>>& w2,
                                 std::vector<double>& b2, int rows, int cols) {
    const orvix::networks::LayerWeights members[] = {{&w0, &b0}, {&w1, &b1}, {&w2, &b2}};
    orvix::networks::loadBinaryRows(file, members, rows, cols);
}

void SURFANN::calcLevel1() {
    orvix::networks::evaluateLevel(orvix::networks::ObjectLevel(*this, 1, memberCount), level1Input,
                                   orvix::networks::plainMean, 1, level1Output);
}

void SURFANN::calcLevel1_omp() {
    const int threads = std::max(1, threadCount);
    reportThreads(threads);
    orvix::networks::evaluateLevel(orvix::networks::ObjectLevel(*this, 1, memberCount), level1Input,
                                   orvix::networks::plainMean, threads, level1Output);
}

void SURFANN::calcLevel2_omp() {
    orvix::networks::evaluateLevel(orvix::networks::ObjectLevel(*this, 2, memberCount), level2Input,
                                   orvix::networks::plainMean, level2Threads, level2Output);
}

void SURFANN::applyVecAverage(std::vector<double>& a, std::vector<double>& b,
                              std::vector<double>& c, std::vector<double>& out) {
    const std::vector<double>* const members[] = {&a, &b, &c};
    orvix::networks::append(out, orvix::networks::plainMean(members));
}
