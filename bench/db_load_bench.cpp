// Reading the database text: the plain form (formatted input, line by line) against the block
// reader, both into the same kind of object, in one process. All cells are compared first; a
// difference ends the program. Ratios are of processor seconds.
//
//   db_load_bench [--rows=N]
//
// --rows=full stands for a database of full size (300 MB in the directory for temporary files).
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "base/parallel.h"
#include "gates.h"
#include "search/db_reader.h"
#include "synthetic_database.h"

namespace {

struct Input {
    std::string path;
    int rows = 0;
};
Input input;

void prepare(DB& db, int capacity) {
    const auto count = static_cast<std::size_t>(capacity);
    db.shifts.reset(count);
    db.angles.reset(count);
    db.resids.reset(count);
    db.boxes.reset(count);
    db.resNames.reset(count);
    db.sources.protein.reset(count);
    db.sources.names.assign(1, std::string());
}

/// Reads the file once; returns processor seconds. `threads` 0 is the plain form.
double read(DB& db, int threads) {
    const std::clock_t start = std::clock();
    prepare(db, synthetic::fullRows);
    const orvix::search::DatabaseReading reading =
        threads == 0
            ? orvix::search::readDatabasePlain(input.path, "", synthetic::fullRows, db)
            : orvix::search::readDatabase(input.path, "", synthetic::fullRows, threads, db);
    db.dbSize = reading.rows;
    return static_cast<double>(std::clock() - start) / CLOCKS_PER_SEC;
}

bool sameContent(DB& a, DB& b) {
    const auto rows = static_cast<std::size_t>(a.dbSize);
    if (a.dbSize != b.dbSize || a.dbSize != input.rows ||
        std::memcmp(a.shifts[0], b.shifts[0], rows * 12 * sizeof(float)) != 0 ||
        std::memcmp(a.angles[0], b.angles[0], rows * 3 * sizeof(float)) != 0 ||
        std::memcmp(&a.resids[0], &b.resids[0], rows * sizeof(int)) != 0 ||
        std::memcmp(&a.boxes[0], &b.boxes[0], rows * sizeof(int)) != 0 ||
        std::memcmp(&a.resNames[0], &b.resNames[0], rows) != 0) {
        return false;
    }
    for (int i = 0; i < a.dbSize; ++i) {
        if (a.sources[i] != b.sources[i]) {
            return false;
        }
    }
    return true;
}

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

int compareAll() {
    std::vector<double> plain, one, several;
    for (int round = 0; round < 5; ++round) {
        DB reference;
        plain.push_back(read(reference, 0));
        for (const auto& [threads, times] : {std::pair{1, &one}, std::pair{2, &several}}) {
            DB db;
            times->push_back(read(db, threads));
            if (!sameContent(reference, db)) {
                std::fprintf(stderr, "contents differ\n");
                std::exit(1);
            }
        }
    }
    std::printf("%d rows, all cells equal\n", input.rows);
    std::printf("median CPU s: plain %.3f, one thread %.3f (ratio %.1f), two %.3f (ratio %.1f)\n",
                median(plain), median(one), median(plain) / median(one), median(several),
                median(plain) / median(several));
    Gates gates;
    gates.require("database text, one thread", median(plain) / median(one), 6.0);
    return gates.status();
}

void load(benchmark::State& state) {
    for (auto _ : state) {
        DB db;
        read(db, static_cast<int>(state.range(0)));
        benchmark::DoNotOptimize(db.shifts[0]);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(std::filesystem::file_size(input.path)) *
                            state.iterations());
}

}  // namespace

int main(int argc, char** argv) {
    std::string rows = "116505";
    int kept = 1;
    for (int i = 1; i < argc; ++i) {
        if (std::strncmp(argv[i], "--rows=", 7) == 0) {
            rows = argv[i] + 7;
        } else {
            argv[kept++] = argv[i];
        }
    }
    argc = kept;
    input.rows = rows == "full" ? synthetic::fullRows - 1 : std::atoi(rows.c_str());
    if (input.rows < 1 || input.rows >= synthetic::fullRows) {
        std::fprintf(stderr, "1 to %d rows\n", synthetic::fullRows - 1);
        return 1;
    }
    benchmark::Initialize(&argc, argv);
    input.path = (std::filesystem::temp_directory_path() /
                  ("db_load_bench_" + std::to_string(std::clock()) + ".txt"))
                     .string();
    {
        DB made;
        synthetic::fill(made, input.rows, 20240501);
        synthetic::write(made, input.path);
    }
    const int status = compareAll();
    benchmark::RegisterBenchmark("load/plain", load)->Arg(0)->UseRealTime();
    benchmark::RegisterBenchmark("load/one_thread", load)->Arg(1)->UseRealTime();
    benchmark::RegisterBenchmark("load/two_threads", load)->Arg(2)->UseRealTime();
    benchmark::RunSpecifiedBenchmarks();
    std::filesystem::remove(input.path);
    return status;
}
