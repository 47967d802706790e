// The database scan: the plain form on ordered maps against the fast one, on the same queries in
// one process. Every measured residue is first compared bit for bit; a difference ends the program.
//
//   scan_bench [--rows=N] [--residues=N] [--maps=real|zero]
//
// --rows=full stands for a database of full size.
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>
#include <vector>

#include "gates.h"
#include "search/triplet_scan.h"
#include "search/triplet_search.h"
#include "synthetic_database.h"

namespace {

constexpr int queryLength = 76;

struct Setup {
    ORVIX run;
    std::vector<orvix::search::ProteinBlock> blocks;
    std::vector<int> residues;

    orvix::search::ScanQuery query(int res) const {
        return {res, 3, run.seqChar, run.resWeight, run.blosum};
    }
};

Setup* setup = nullptr;

std::string takeOption(int& argc, char** argv, const std::string& name, const std::string& preset) {
    const std::string start = "--" + name + "=";
    std::string value = preset;
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], start.c_str(), start.size()) == 0) {
            value = argv[i] + start.size();
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    return value;
}

/// Seconds of processor time, which other work on the machine disturbs least.
double secondsOf(const auto& work) {
    const std::clock_t start = std::clock();
    work();
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

constexpr const char* levelNames[] = {"portable", "avx2", "avx512"};

std::vector<orvix::InstructionLevel> levels() {
    std::vector<orvix::InstructionLevel> all;
    for (int level = 0; level <= static_cast<int>(orvix::instructionLevel()); ++level) {
        all.push_back(static_cast<orvix::InstructionLevel>(level));
    }
    return all;
}

/// Compares all levels with the plain form and prints how their times relate.
int compareAll(bool realMaps) {
    const orvix::search::DatabasePlanes planes(*setup->run.db, setup->blocks, 3);
    std::vector<double> plainTimes;
    std::vector<std::vector<double>> times(levels().size());
    std::size_t hits = 0;
    for (int res : setup->residues) {
        orvix::search::ScanHits plain;
        plainTimes.push_back(secondsOf([&] {
            plain = orvix::search::scanPlain(setup->query(res), *setup->run.db, setup->blocks);
        }));
        for (const orvix::InstructionLevel level : levels()) {
            orvix::search::ScanHits fast;
            times[static_cast<std::size_t>(level)].push_back(secondsOf(
                [&] { fast = orvix::search::scanFast(setup->query(res), planes, level); }));
            if (plain.matches != fast.matches || plain.typeMatches != fast.typeMatches) {
                std::fprintf(stderr, "results differ at residue %d\n", res);
                std::exit(1);
            }
        }
        hits += plain.matches.size();
    }
    std::printf("%d rows, %zu residues, all scores and rows equal (%zu matches)\n",
                setup->run.db->dbSize, setup->residues.size(), hits);
    std::printf("median ms/residue: plain %.3f", 1e3 * median(plainTimes));
    for (const orvix::InstructionLevel level : levels()) {
        const double fast = median(times[static_cast<std::size_t>(level)]);
        std::printf(", %s %.3f (ratio %.1f)", levelNames[static_cast<int>(level)], 1e3 * fast,
                    median(plainTimes) / fast);
    }
    std::printf("\n");
    Gates gates;
    for (const orvix::InstructionLevel level : levels()) {
        // Without selective maps little can be left out; in few rows the insertions, whose number
        // hardly grows with them, weigh most.
        constexpr double leastOfMany[] = {12.0, 60.0, 80.0};
        constexpr double leastOfFew[] = {11.0, 16.0, 17.0};
        const double* const least = setup->run.db->dbSize > 1000000 ? leastOfMany : leastOfFew;
        const auto at = static_cast<std::size_t>(level);
        gates.require((std::string("scan, ") + levelNames[at]).c_str(),
                      median(plainTimes) / median(times[at]), realMaps ? least[at] : 4.0);
    }
    return gates.status();
}

void scanBench(benchmark::State& state, orvix::InstructionLevel level) {
    const orvix::search::DatabasePlanes planes(*setup->run.db, setup->blocks, 3);
    std::size_t next = 0;
    for (auto _ : state) {
        const int res = setup->residues[next++ % setup->residues.size()];
        benchmark::DoNotOptimize(orvix::search::scanFast(setup->query(res), planes, level));
    }
}

void wholeSearch(benchmark::State& state) {
    const orvix::search::SearchInput input = setup->run.searchInput();
    std::size_t next = 0;
    for (auto _ : state) {
        const int res = setup->residues[next++ % setup->residues.size()];
        benchmark::DoNotOptimize(orvix::search::searchResidue(input, res));
    }
}

void makePlanes(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(orvix::search::DatabasePlanes(*setup->run.db, setup->blocks, 3));
    }
}

}  // namespace

int main(int argc, char** argv) {
    const std::string rowsText = takeOption(argc, argv, "rows", "116505");
    const int rows = rowsText == "full" ? synthetic::fullRows : std::atoi(rowsText.c_str());
    const int residues = std::atoi(takeOption(argc, argv, "residues", "8").c_str());
    const std::string maps = takeOption(argc, argv, "maps", "real");
    if (rows < 1000 || residues < 1 || residues > queryLength - 2) {
        std::fprintf(stderr, "at least 1000 rows, and 1 to %d residues\n", queryLength - 2);
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    Setup made;
    setup = &made;
    DB* const db = new DB;
    synthetic::fill(*db, rows, 20240501);
    synthetic::prepareRun(made.run, db, queryLength, 7);
    if (maps == "zero") {
        for (auto& [res, map] : made.run.resWeight) {
            for (auto& [box, value] : map) {
                value = 0.0;
            }
        }
    }
    for (int k = 1; k < made.run.dbProteinCount; ++k) {
        made.blocks.push_back({made.run.dbProteinFirst[k], made.run.dbProteinLast[k]});
    }
    for (int k = 0; k < residues; ++k) {
        made.residues.push_back(2 + k * (queryLength - 2) / residues);
    }
    const int status = compareAll(maps == "real");
    for (const orvix::InstructionLevel level : levels()) {
        benchmark::RegisterBenchmark(
            (std::string("scan/") + levelNames[static_cast<int>(level)]).c_str(), scanBench, level);
    }
    benchmark::RegisterBenchmark("search/residue", wholeSearch);
    benchmark::RegisterBenchmark("planes", makePlanes);
    benchmark::RunSpecifiedBenchmarks();
    return status;
}
