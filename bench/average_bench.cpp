// The search for the observed triplets nearest to a query, over a full table of 23,999 rows: the
// plain form, the fast one on the baseline instruction set, and the fast one as a run uses it. All
// three are compared before anything is timed; a difference ends the program.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <random>
#include <string>
#include <vector>

#include "gates.h"
#include "shifts/shift_average.h"

namespace {

constexpr int rowCount = 23999;
constexpr int queryCount = 40;
constexpr int wanted = 10;

struct Data {
    std::vector<double> cells;
    std::vector<std::string> texts;
    std::vector<double*> shifts;
    std::vector<std::string*> names;
    orvix::shifts::ObservedRows rows;
    std::vector<orvix::shifts::TripletQuery> queries;
    orvix::shifts::Homology homology;
    std::vector<double> atomPosition, atom, position;

    orvix::shifts::AverageWeights weights() const { return {atomPosition, atom, position}; }

    Data() : cells(rowCount * 18), texts(rowCount * 4) {
        std::mt19937 random(20240607);
        std::normal_distribution<double> shift(0.0, 1.5);
        std::uniform_real_distribution<double> unit(0.0, 1.0);
        const std::string letters = "ACDEFGHIKLMNPQRSTVWY";
        const auto letter = [&] {
            return std::string(1, letters[static_cast<std::size_t>(unit(random) * 20.0)]);
        };
        const auto value = [&] { return unit(random) < 0.2 ? 9999.0 : shift(random); };
        for (int row = 0; row < rowCount; ++row) {
            shifts.push_back(cells.data() + row * 18);
            names.push_back(texts.data() + row * 4);
            for (int j = 0; j < 18; ++j) {
                shifts.back()[j] = value();
            }
            for (int k = 1; k <= 3; ++k) {
                names.back()[k] = letter();
            }
        }
        rows = {shifts.data(), names.data(), rowCount};
        for (int q = 0; q < queryCount; ++q) {
            orvix::shifts::TripletQuery query;
            for (double& x : query.shifts) {
                x = value();
            }
            for (std::string& name : query.names) {
                name = letter();
            }
            queries.push_back(query);
        }
        for (char a : letters) {
            for (char b : letters) {
                homology[std::string(1, a)][std::string(1, b)] = a == b ? 0.0 : 4.0 * unit(random);
            }
        }
        for (int i = 0; i < 19; ++i) {
            atomPosition.push_back(0.2 + unit(random));
        }
        for (int i = 0; i < 7; ++i) {
            atom.push_back(1.0 + unit(random));
        }
        position = {0.0, 0.6, 1.0, 0.6};
    }
};

const Data& data() {
    static const Data instance;
    return instance;
}

using Search = std::vector<orvix::shifts::ScoredRow> (*)(const orvix::shifts::ObservedRows&,
                                                         const orvix::shifts::TripletQuery&,
                                                         const orvix::shifts::AverageWeights&,
                                                         const orvix::shifts::Homology&, int);

void search(benchmark::State& state, Search form) {
    const Data& input = data();
    std::size_t q = 0;
    for (auto _ : state) {
        const orvix::shifts::TripletQuery& query = input.queries[q++ % input.queries.size()];
        benchmark::DoNotOptimize(form(input.rows, query, input.weights(), input.homology, wanted));
    }
}

BENCHMARK_CAPTURE(search, plain, orvix::shifts::nearestRowsPlain)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, portable, orvix::shifts::nearestRowsPortable)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(search, fast, orvix::shifts::nearestRows)->Unit(benchmark::kMillisecond);

/// CPU time of the plain form over that of the fast one, query by query in turn; the median of five
/// rounds.
double ratio() {
    const Data& input = data();
    const auto timed = [&](Search form, const orvix::shifts::TripletQuery& query) {
        const std::clock_t start = std::clock();
        benchmark::DoNotOptimize(form(input.rows, query, input.weights(), input.homology, wanted));
        return static_cast<double>(std::clock() - start);
    };
    std::vector<double> ratios;
    for (int round = 0; round < 5; ++round) {
        double plain = 0.0;
        double fast = 0.0;
        for (const orvix::shifts::TripletQuery& query : input.queries) {
            plain += timed(orvix::shifts::nearestRowsPlain, query);
            fast += timed(orvix::shifts::nearestRows, query);
        }
        ratios.push_back(plain / fast);
    }
    std::sort(ratios.begin(), ratios.end());
    std::printf("average: ratio %.1f, %.1f to %.1f in five rounds\n", ratios[2], ratios[0],
                ratios[4]);
    return ratios[2];
}

}  // namespace

int main(int argc, char** argv) {
    const Data& input = data();
    for (const orvix::shifts::TripletQuery& query : input.queries) {
        const auto plain = orvix::shifts::nearestRowsPlain(input.rows, query, input.weights(),
                                                           input.homology, wanted);
        const auto run = [&](Search form) {
            return form(input.rows, query, input.weights(), input.homology, wanted);
        };
        if (plain.empty() || run(orvix::shifts::nearestRowsPortable) != plain ||
            run(orvix::shifts::nearestRows) != plain) {
            std::fprintf(stderr, "the forms of the search differ\n");
            return EXIT_FAILURE;
        }
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    Gates gates;
    gates.require("average of missing shifts", ratio(), 10.0);
    return gates.status();
}
