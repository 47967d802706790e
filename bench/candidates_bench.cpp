// What is done with the candidates of a residue: re-ranking of a thousand by their shifts, the
// plain form against the fast one, and the chi1 networks of 101, by maps against the kernel. Bits
// are compared first; a difference ends the program. Ratios are of processor seconds.
//
//   candidates_bench [--full]    --full: candidates out of a database of full size

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <functional>
#include <random>
#include <vector>

#include "gates.h"
#include "literal_layers.h"
#include "networks/chi1_network.h"
#include "search/database.h"
#include "search/rerank.h"
#include "synthetic_database.h"

namespace {

constexpr int rounds = 9;

double seconds(int repeats, const std::function<void()>& work) {
    const std::clock_t start = std::clock();
    for (int i = 0; i < repeats; ++i) {
        work();
    }
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC / repeats;
}

/// Prints the medians of both forms, measured in turn, and returns their ratio.
double compare(const char* what, int repeats, const std::function<void()>& plain,
               const std::function<void()>& fast) {
    std::vector<double> plainTimes, fastTimes;
    for (int round = 0; round < rounds; ++round) {
        plainTimes.push_back(seconds(repeats, plain));
        fastTimes.push_back(seconds(repeats, fast));
    }
    std::sort(plainTimes.begin(), plainTimes.end());
    std::sort(fastTimes.begin(), fastTimes.end());
    const double ratio = plainTimes[rounds / 2] / fastTimes[rounds / 2];
    std::printf("%s: plain %.4f ms (%.4f to %.4f), fast %.4f ms (%.4f to %.4f), ratio %.1f\n", what,
                1e3 * plainTimes[rounds / 2], 1e3 * plainTimes.front(), 1e3 * plainTimes.back(),
                1e3 * fastTimes[rounds / 2], 1e3 * fastTimes.front(), 1e3 * fastTimes.back(),
                ratio);
    return ratio;
}

[[noreturn]] void differ(const char* what) {
    std::fprintf(stderr, "FAILED: %s: the forms differ\n", what);
    std::exit(EXIT_FAILURE);
}

void rerank(int rowCount, Gates& gates) {
    constexpr int halfWidth = 3;
    DB db;
    synthetic::fill(db, rowCount, 20240501);
    std::mt19937 random(3);
    std::normal_distribution<double> shift(0.0, 1.5);
    orvix::search::QueryShifts query;
    query.halfWidth = halfWidth;
    for (std::size_t p = 0; p < 2 * halfWidth + 1; ++p) {
        for (std::size_t a = 0; a < orvix::search::backboneAtoms; ++a) {
            query.value[p][a] = shift(random);
            query.missing[p][a] = random() % 5 == 0;
        }
    }
    const std::vector<orvix::search::ProteinBlock> blocks = orvix::search::cutProteins(db);
    std::vector<int> rows;
    std::vector<orvix::search::ProteinBlock> blockOf;
    while (rows.size() < 1000) {
        const orvix::search::ProteinBlock& block = blocks[random() % blocks.size()];
        const int places = block.last - block.first + 1 - 2 * halfWidth;
        if (places > 0) {
            rows.push_back(block.first + halfWidth +
                           static_cast<int>(random() % static_cast<unsigned>(places)));
            blockOf.push_back(block);
        }
    }
    std::vector<double> plain(rows.size()), fast(rows.size());
    const auto runPlain = [&] {
        for (std::size_t k = 0; k < rows.size(); ++k) {
            plain[k] = orvix::search::shiftDistancePlain(query, db, rows[k], blockOf[k]);
        }
    };
    const auto runFast = [&] { orvix::search::shiftDistances(query, db, rows, fast); };
    runPlain();
    runFast();
    if (plain != fast) {
        differ("re-ranking");
    }
    // The plain form works on flat rows, too; what the fast one gains is the fetching of rows that
    // no cache holds.
    gates.require("re-ranking", compare("re-ranking of 1000", 20, runPlain, runFast), 0.6);
}

void chi1(Gates& gates) {
    literal::Network network;
    std::mt19937 random(4);
    literal::fill(network, {39, 15, 1, 101}, 0.0, random);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    std::vector<std::vector<double>> inputs(101, std::vector<double>(39));
    std::vector<const std::vector<double>*> windows;
    for (std::vector<double>& input : inputs) {
        for (double& x : input) {
            x = value(random);
        }
        windows.push_back(&input);
    }
    // The mean of the members belongs to both forms.
    std::vector<double> plain, fast;
    const auto runPlain = [&] {
        const orvix::networks::EnsembleOutput output = literal::pass(network, windows);
        plain.clear();
        for (std::size_t w = 0; w < windows.size(); ++w) {
            plain.push_back((output[0][w][0] + output[1][w][0] + output[2][w][0]) * (1 / 3.0));
        }
    };
    const orvix::networks::LevelWeights level{network.members, {}};
    const auto runFast = [&] { fast = orvix::networks::chi1Scores(level, inputs); };
    runPlain();
    runFast();
    if (plain != fast) {
        differ("chi1 networks");
    }
    gates.require("chi1 networks", compare("chi1 networks of 101", 20, runPlain, runFast), 8.0);
}

}  // namespace

int main(int argc, char** argv) {
    const bool full = argc == 2 && std::strcmp(argv[1], "--full") == 0;
    if (argc > 1 && !full) {
        std::fprintf(stderr, "usage: candidates_bench [--full]\n");
        return 2;
    }
    Gates gates;
    rerank(full ? synthetic::fullRows : 116505, gates);
    chi1(gates);
    return gates.status();
}
