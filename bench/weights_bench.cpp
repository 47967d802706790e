// Loading the six weight tables of the surface network: in the plain form (words of a line, a map
// from column name to place, cells kept as text until they are asked for), through the table class
// cell by cell, and by the one-pass reader, in CPU and wall seconds. Results are compared bit for
// bit before a time counts. The tables are made in a temporary directory and removed.
//
// weights_bench [--full] [--repeat N]    --full: the sizes of the real network; else a sixteenth

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "gates.h"
#include "networks/weight_table.h"

namespace {

struct TableSize {
    int rows, columns;
    std::string path;
};

void writeTable(const TableSize& table, double zeroShare, std::mt19937& random) {
    std::normal_distribution<double> weight(0.0, 0.5);
    std::uniform_real_distribution<double> share(0.0, 1.0);
    std::string text = "REMARK weights\n\nVARS  ";
    for (int c = 1; c <= table.columns; ++c) {
        text += " " + std::to_string(c);
    }
    text += " b\nFORMAT";
    for (int c = 0; c <= table.columns; ++c) {
        text += " %9.6f";
    }
    text += "\n\n";
    std::ofstream file(table.path, std::ios::binary);
    char cell[32];
    for (int r = 0; r < 3 * table.rows; ++r) {
        for (int c = 0; c <= table.columns; ++c) {
            if (share(random) < zeroShare) {
                text += " 0";
            } else {
                std::snprintf(cell, sizeof cell, " %.6f", weight(random));
                text += cell;
            }
        }
        text += '\n';
        file.write(text.data(), static_cast<std::streamsize>(text.size()));
        text.clear();
    }
}

bool sameBits(const orvix::networks::WeightTable& a, const orvix::networks::WeightTable& b) {
    if (a.bias.size() != b.bias.size() || a.columns != b.columns) {
        return false;
    }
    const std::vector<const double*> rowsA = a.rows(), rowsB = b.rows();
    for (std::size_t r = 0; r < rowsA.size(); ++r) {
        if (std::memcmp(rowsA[r], rowsB[r], a.columns * sizeof(double)) != 0) {
            return false;
        }
    }
    return std::memcmp(a.bias.data(), b.bias.data(), a.bias.size() * sizeof(double)) == 0;
}

/// The plain form: a row is a list of words; a cell is looked up by its column's name and converted
/// to a 32-bit float, as a typed column holds it.
orvix::networks::WeightTable readPlainly(const TableSize& table) {
    std::ifstream file(table.path);
    std::map<std::string, std::size_t> column;
    std::map<int, std::vector<std::string>> rows;
    std::string line, word;
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::vector<std::string> cells;
        while (words >> word) {
            cells.push_back(word);
        }
        if (cells.empty() || cells[0] == "REMARK" || cells[0] == "FORMAT") {
            continue;
        }
        if (cells[0] == "VARS") {
            for (std::size_t c = 1; c < cells.size(); ++c) {
                column[cells[c]] = c - 1;
            }
            continue;
        }
        const int number = static_cast<int>(rows.size()) + 1;
        rows[number] = cells;
    }
    orvix::networks::WeightTable result;
    result.columns = static_cast<std::size_t>(table.columns);
    for (const auto& [number, cells] : rows) {
        const auto value = [&row = cells, &column](const std::string& name) {
            return static_cast<double>(std::strtof(row.at(column.at(name)).c_str(), nullptr));
        };
        std::vector<double> weights;
        for (int c = 1; c <= table.columns; ++c) {
            weights.push_back(value(std::to_string(c)));
        }
        result.addRow(weights, value("b"));
    }
    return result;
}

struct Form {
    std::string name;
    std::function<orvix::networks::WeightTable(const TableSize&)> read;
    std::vector<double> cpu;
    std::vector<double> wall;
};

double median(std::vector<double> values) {
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

int measure(const std::vector<TableSize>& tables, double zeroShare, int repeats, Gates& gates) {
    using orvix::networks::WeightRules;
    std::mt19937 random(20240502);
    double bytes = 0.0;
    for (const TableSize& table : tables) {
        writeTable(table, zeroShare, random);
        bytes += static_cast<double>(std::filesystem::file_size(table.path));
    }
    std::vector<Form> forms;
    forms.push_back({"plain form", readPlainly, {}, {}});
    forms.push_back({"table class",
                     [](const TableSize& t) {
                         return orvix::networks::readWeightTablePlain(t.path, WeightRules::typed,
                                                                      t.columns);
                     },
                     {},
                     {}});
    for (const int threads : {1, 2}) {
        forms.push_back({"one pass " + std::to_string(threads) + "T",
                         [threads](const TableSize& t) {
                             auto table = orvix::networks::readWeightTableFast(
                                 t.path, WeightRules::typed, t.columns, threads);
                             return table ? std::move(*table) : orvix::networks::WeightTable();
                         },
                         {},
                         {}});
    }
    for (const TableSize& table : tables) {
        const orvix::networks::WeightTable expected = forms[0].read(table);
        for (const Form& form : forms) {
            if (expected.bias.empty() || !sameBits(form.read(table), expected)) {
                std::printf("FAILED: %s differs on %s\n", form.name.c_str(), table.path.c_str());
                return 1;
            }
        }
    }
    for (int i = 0; i < repeats; ++i) {
        for (Form& form : forms) {
            const auto start = std::chrono::steady_clock::now();
            const std::clock_t cpu = std::clock();
            std::vector<orvix::networks::WeightTable> kept;
            for (const TableSize& table : tables) {
                kept.push_back(form.read(table));
            }
            form.cpu.push_back(static_cast<double>(std::clock() - cpu) / CLOCKS_PER_SEC);
            form.wall.push_back(
                std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
        }
    }
    std::printf("\n%.1f MB, %.0f %% zero cells, bits equal\n", 1e-6 * bytes, 100 * zeroShare);
    std::printf("%-12s %10s %10s %10s %10s %10s %10s\n", "form", "CPU s", "min", "max", "wall s",
                "CPU ratio", "wall ratio");
    for (const Form& form : forms) {
        std::printf("%-12s %10.3f %10.3f %10.3f %10.3f %10.1f %10.1f\n", form.name.c_str(),
                    median(form.cpu), *std::min_element(form.cpu.begin(), form.cpu.end()),
                    *std::max_element(form.cpu.begin(), form.cpu.end()), median(form.wall),
                    median(forms[0].cpu) / median(form.cpu),
                    median(forms[0].wall) / median(form.wall));
        if (form.name == "one pass 1T") {
            gates.require(zeroShare > 0.0 ? "weight text, 90 % zero" : "weight text",
                          median(forms[0].cpu) / median(form.cpu), 8.0);
        }
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    int part = 4;
    int repeats = 5;
    for (int i = 1; i < argc; ++i) {
        const std::string option = argv[i];
        if (option == "--full") {
            part = 1;
        } else if (option == "--repeat" && i + 1 < argc) {
            repeats = std::max(1, std::atoi(argv[++i]));
        } else {
            std::fprintf(stderr, "usage: weights_bench [--full] [--repeat N]\n");
            return 2;
        }
    }
    const std::filesystem::path folder =
        std::filesystem::temp_directory_path() / ("weights_bench." + std::to_string(getpid()));
    std::filesystem::create_directories(folder);
    const int shapes[][2] = {{160, 160},   {180, 160},  {324, 180},
                             {1620, 1620}, {360, 1620}, {324, 360}};
    std::vector<TableSize> tables;
    for (const auto& shape : shapes) {
        tables.push_back({shape[0] / part, shape[1] / part,
                          (folder / (std::to_string(tables.size()) + ".tab")).string()});
    }
    Gates gates;
    int status = measure(tables, 0.0, repeats, gates);
    if (status == 0) {
        status = measure(tables, 0.9, repeats, gates);
    }
    std::filesystem::remove_all(folder);
    return status != 0 ? status : gates.status();
}
