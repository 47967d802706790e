#include "support/made_data.h"

#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "base/phi_psi_grid.h"
#include "networks/check_file.h"

namespace orvix::test {
namespace {

void writeFile(const std::string& path, const std::string& text) {
    std::ofstream out(path, std::ios::binary);
    out << text;
    if (!out.flush()) {
        throw std::runtime_error("can't write " + path);
    }
}

std::string number(double value) {
    std::array<char, 32> buffer;
    std::snprintf(buffer.data(), buffer.size(), "%.3f", value);
    return buffer.data();
}

/// A table of weights: `columns` of inputs and one of biases, row after row for each member.
class WeightFile {
  public:
    WeightFile(int rows, int columns) : cells_(static_cast<std::size_t>(rows)), columns_(columns) {}

    void set(int row, int column, double value) {
        cells_[static_cast<std::size_t>(row)].push_back({column, value});
    }

    void write(const std::string& path, int members) const {
        std::string head = "REMARK made weights\n\nVARS", format = "FORMAT";
        for (int c = 1; c <= columns_; ++c) {
            head += " " + std::to_string(c);
            format += " %f";
        }
        std::string zeros;
        for (int c = 0; c <= columns_; ++c) {
            zeros += "0 ";
        }
        zeros.back() = '\n';
        std::string rows;
        for (const auto& cells : cells_) {
            if (cells.empty()) {
                rows += zeros;
                continue;
            }
            std::vector<double> row(static_cast<std::size_t>(columns_) + 1, 0.0);
            for (const auto& [column, value] : cells) {
                row[static_cast<std::size_t>(column)] = value;
            }
            for (const double value : row) {
                rows += value == 0.0 ? "0 " : number(value) + " ";
            }
            rows.back() = '\n';
        }
        std::ofstream out(path, std::ios::binary);
        out << head << " b\n" << format << " %f\n\n";
        for (int m = 0; m < members; ++m) {
            out << rows;
        }
    }

  private:
    std::vector<std::vector<std::pair<int, double>>> cells_;
    int columns_;
};

MadeLevel constant(int inputs, int hidden, const double (&values)[3]) {
    return {inputs, hidden, 3, {values[0], values[1], values[2]}, {}};
}

/// The level that hands on the values in the middle of its window of `inputs`.
MadeLevel handOn(int inputs, int hidden) {
    MadeLevel level{inputs, hidden, 3, {0.0, 0.0, 0.0}, {}};
    const int middle = inputs == 9 ? 3 : inputs / 2 - 1;
    for (int k = 0; k < 3; ++k) {
        level.signals.push_back({middle + k, {{k, 1.0}}});
    }
    return level;
}

/// A peak on the map: a box and, at 0.6 of its height, the eight boxes around it.
std::vector<std::pair<int, double>> peak(int box, double height) {
    std::vector<std::pair<int, double>> boxes;
    for (int phi = -angleBins; phi <= angleBins; phi += angleBins) {
        for (int psi = -1; psi <= 1; ++psi) {
            const bool top = phi == 0 && psi == 0;
            boxes.emplace_back(box + phi + psi, top ? height : 0.6 * height);
        }
    }
    return boxes;
}

std::vector<std::pair<int, double>> peaks(double helix, double strand) {
    std::vector<std::pair<int, double>> boxes = peak(made::helixBox, helix);
    const auto second = peak(made::strandBox, strand);
    boxes.insert(boxes.end(), second.begin(), second.end());
    return boxes;
}

std::vector<double> background(double helix, double strand) {
    std::vector<double> values(boxCount, 0.01);
    for (const auto& [box, height] : peaks(helix, strand)) {
        values[static_cast<std::size_t>(box)] = height;
    }
    return values;
}

/// The same sequence of values on every machine, -1 to 1.
class Noise {
  public:
    explicit Noise(std::uint32_t seed) : state_(seed) {}
    double next() {
        state_ = state_ * 1664525U + 1013904223U;
        return static_cast<double>(state_ >> 16U) / 32768.0 - 1.0;
    }

  private:
    std::uint32_t state_;
};

constexpr const char* letters = "ARNDCQEGHILKMFPSTWYV";
constexpr std::array<const char*, 6> atoms = {"N", "HA", "C", "CA", "CB", "HN"};
constexpr std::array<double, 6> randomCoil = {120.0, 4.4, 176.0, 56.0, 32.0, 8.3};
constexpr std::array<double, 6> helixShift = {-1.0, -0.3, 2.0, 2.5, -0.5, -0.2};
constexpr std::array<double, 6> strandShift = {1.5, 0.4, -1.5, -1.5, 1.5, 0.3};

enum class Fold { helix, turn, strand };

Fold foldAt(int place) {  // of 24, from 0
    return place < 11 ? Fold::helix : place < 14 ? Fold::turn : Fold::strand;
}

double secondaryShift(Fold fold, std::size_t atom) {
    return fold == Fold::helix ? helixShift[atom] : fold == Fold::strand ? strandShift[atom] : 0.0;
}

struct Table {
    std::string vars, format, rows;
    std::string text() const {
        return "REMARK made\n\nVARS " + vars + "\nFORMAT " + format + "\n\n" + rows;
    }
};

/// A table by residue type with a column for each of the six atoms.
Table atomTable(const std::array<double, 6>& values) {
    Table table{"RESNAME", "%s", ""};
    for (const char* atom : atoms) {
        table.vars += std::string(" ") + atom;
        table.format += " %8.3f";
    }
    for (const char letter : std::string(letters) + "c") {
        table.rows += letter;
        for (const double value : values) {
            table.rows += " " + number(value);
        }
        table.rows += '\n';
    }
    return table;
}

void writeTables(const std::string& tab) {
    writeFile(tab + "/randcoil.tab", atomTable(randomCoil).text());
    writeFile(tab + "/rcadj.tab", atomTable({0.1, 0.0, 0.0, 0.1, 0.0, 0.0}).text());
    writeFile(tab + "/rcprev.tab", atomTable({0.2, 0.0, 0.0, 0.0, 0.0, 0.0}).text());
    writeFile(tab + "/rcnext.tab", atomTable({0.0, 0.0, -0.1, 0.0, 0.0, 0.0}).text());
    Table iso{"RESNAME CA CB", "%s %8.3f %8.3f", ""};
    Table limits{"RESNAME", "%s", ""};
    for (const char* atom : atoms) {
        limits.vars += std::string(" ") + atom + "_MIN " + atom + "_MAX";
        limits.format += " %8.3f %8.3f";
    }
    Table blosum{"RESNAME", "%s", ""};
    Table homology{"RESNAME", "%s", ""};
    Table chi1{"RESNAME 0 1 2 3 4 5 6 7 8 9 10", "%s", ""};
    for (int k = 0; k <= 10; ++k) {
        chi1.format += " %.5f";
    }
    for (const char letter : std::string(letters)) {
        const std::string name(1, letter);
        blosum.vars += " " + name;
        blosum.format += " %4d";
        homology.vars += " " + name;
        homology.format += " %7.4f";
        iso.rows += name + " -0.5 -0.7\n";
        limits.rows += name + " -12 12 -2 2 -6 6 -6 6 -6 6 -3 3\n";
        blosum.rows += name;
        homology.rows += name;
        for (const char other : std::string(letters)) {
            blosum.rows += other == letter ? " 5" : " -1";
            homology.rows += other == letter ? " 0" : " 1";
        }
        blosum.rows += '\n';
        homology.rows += '\n';
        if (letter != 'A' && letter != 'G' && letter != 'P') {
            chi1.rows += name + " 1 0.6 0.4 0.3 0.2 0.15 0.1 0.08 0.05 0.03 0.02\n";
        }
    }
    writeFile(tab + "/isoadj.tab", iso.text());
    writeFile(tab + "/sslimit.tab", limits.text());
    writeFile(tab + "/BLOSUM62.tab", blosum.text());
    writeFile(tab + "/homology.tab", homology.text());
    writeFile(tab + "/chi1.tab", chi1.text());
    Table weights = {"RESNAME N HA C CA CB HN W", "%s %f %f %f %f %f %f %f", ""};
    weights.rows =
        "R1 0.02 1.7 0.1 0.1 0.1 0.6 0.3\nR2 0.06 4.3 0.2 0.3 0.3 1.6 1.0\n"
        "R3 0.02 1.7 0.1 0.1 0.1 0.6 0.5\nAVG 15 0.2 3.4 4.9 3.1 0.4 4.0\n";
    writeFile(tab + "/weight.tab", weights.text());
}

void writeNetworks(const std::string& tab) {
    const auto twoLevels = [&tab](const std::string& name, const MadeLevel& first,
                                  const MadeLevel& second, int members = 3) {
        writeLevel(tab + "/" + name + ".level1", first, members);
        writeLevel(tab + "/" + name + ".level2", second, members);
    };
    twoLevels("surf20", made::surface1, made::surface2);
    writeLevel(tab + "/surf20_hyb.level1", made::hybrid);
    twoLevels("ss", made::structure1, made::structure2);
    twoLevels("ss5", made::structureWide1, made::structureWide2);
    twoLevels("ss.center", constant(84, 20, {0, 0, 0}), constant(9, 6, made::center));
    twoLevels("ss.prev", constant(84, 20, {0, 0, 0}), constant(9, 6, made::before));
    twoLevels("ss.next", constant(84, 20, {0, 0, 0}), constant(9, 6, made::after));
    twoLevels("seqSS", constant(272, 60, {1, 0, 0}), constant(51, 15, made::sequence));
    twoLevels("seqSS15", constant(314, 70, {1, 0, 0}), constant(59, 15, made::profile), 5);
    int rank = 0;
    for (const char letter : std::string("CDEFHIKLMNQRSTVWY")) {
        // A score that falls with the first input and differs from type to type.
        const MadeLevel score{39, 15, 1, {0.3 + 0.01 * rank++}, {{0, {{0, -0.1}}}}};
        writeLevel(tab + "/chi1_" + letter + ".level1", score);
    }
}

/// Letter of residue `place` of protein `protein`; protein 0 is the query itself.
char letterAt(int protein, int place) {
    const std::size_t step = static_cast<std::size_t>(protein) * 3U;
    return protein == 0 ? made::query[place]
                        : letters[(static_cast<std::size_t>(place) * 7U + step) % 20U];
}

void writeDatabase(const std::string& tab) {
    std::string database;
    Table triplets = {"SOURCE", "%s", ""};
    for (int k = 1; k <= 3; ++k) {
        const std::string end = "_R" + std::to_string(k);
        triplets.vars += " RESID" + end + " RESNAME" + end;
        triplets.format += " %d %s";
        for (const char* atom : atoms) {
            triplets.vars += std::string(" ") + atom + end;
            triplets.format += " %7.3f";
        }
    }
    for (int protein = 0; protein < made::proteins; ++protein) {
        Noise noise(static_cast<std::uint32_t>(protein) + 11U);
        const std::string source = "made" + std::to_string(100 + protein);
        std::vector<std::string> cells;
        for (int place = 0; place < made::length; ++place) {
            const Fold fold = foldAt(place);
            const double phi = (fold == Fold::helix    ? -57.0
                                : fold == Fold::strand ? -110.0
                                                       : 60.0) +
                               6.0 * noise.next();
            const double psi = (fold == Fold::helix    ? -35.0
                                : fold == Fold::strand ? 130.0
                                                       : 40.0) +
                               6.0 * noise.next();
            const char letter = letterAt(protein, place);
            const bool plain = letter == 'A' || letter == 'G' || letter == 'P';
            const double chi1 = plain ? 9999.0 : -60.0 + 120.0 * ((place + protein) % 3);
            std::string cell = std::to_string(place + 1) + " " + letter, scaled;
            for (std::size_t atom = 0; atom < atoms.size(); ++atom) {
                const double shift = secondaryShift(fold, atom) + 0.2 * noise.next();
                cell += " " + number(shift);
                scaled += " " + number(shift) + " 1.0";
            }
            cells.push_back(cell);
            database += source + " " + letter + " " + std::to_string(place + 1) + " " +
                        number(phi) + " " + number(psi) + " " + number(chi1) + " " +
                        std::to_string(boxOf(phi, psi)) + scaled + "\n";
        }
        for (std::size_t i = 1; protein < made::observed && i + 1 < cells.size(); ++i) {
            triplets.rows +=
                source + " " + cells[i - 1] + " " + cells[i] + " " + cells[i + 1] + "\n";
        }
    }
    writeFile(tab + "/orvix.tab", database);
    writeFile(tab + "/orvix_obsCS.tab", triplets.text());
}

void writeQuery(const std::string& directory) {
    Noise noise(5);
    std::string text = "REMARK made query\n\nDATA FIRST_RESID 1\nDATA SEQUENCE " +
                       std::string(made::query) +
                       "\n\nVARS RESID RESNAME ATOMNAME SHIFT\nFORMAT %4d %1s %4s %8.3f\n\n";
    networks::SequenceProfile profile;
    profile.sequence = made::query;
    for (int place = 0; place < made::length; ++place) {
        for (std::size_t atom = 0; atom < atoms.size(); ++atom) {
            const double shift =
                randomCoil[atom] + secondaryShift(foldAt(place), atom) + 0.1 * noise.next();
            const bool missing = place == 17 || (place == 7 && std::string(atoms[atom]) == "CB");
            if (!missing) {
                text += std::to_string(place + 1) + " " + made::query[place] + " " + atoms[atom] +
                        " " + number(shift) + "\n";
            }
        }
        profile.rows.emplace_back();
        profile.rows.back().fill(0.05);
    }
    writeFile(directory + "/query.tab", text);
    networks::writeCheckFile(directory + "/query.check", profile);
}

}  // namespace

double MadeLevel::value(int k, const std::vector<double>& inputsOfSignals) const {
    double sum = bias[static_cast<std::size_t>(k)];
    for (std::size_t s = 0; s < signals.size(); ++s) {
        for (const auto& [output, weight] : signals[s].weights) {
            if (output == k) {
                sum += weight * std::tanh(std::tanh(inputsOfSignals[s]));
            }
        }
    }
    return sum;
}

namespace made {

const char* const query = "MKALVESRQDAGNTGKVTIYWFHC";
// The CA shift of the middle residue: five residues of 20 scores and 12 shift values, CA the fifth
// pair; three residues with the shift values first.
const MadeLevel surface1{160, 180, 324, background(0.4, 0.4), {{92, peaks(0.3, -0.3)}}};
const MadeLevel surface2{
    1620,
    360,
    324,
    background(0.1, 0.1),
    {{2 * 324 + helixBox, peak(helixBox, 1.0)}, {2 * 324 + strandBox, peak(strandBox, 1.0)}}};
const MadeLevel hybrid{160, 180, 324, background(0.2, 0.5), {}};
const MadeLevel structure1{96, 20, 3, {0.4, 0.4, 0.2}, {{40, {{0, 0.3}, {1, -0.3}}}}};
const MadeLevel structure2 = handOn(9, 6);
const MadeLevel structureWide1{164, 40, 3, {0.4, 0.3, 0.3}, {{92, {{0, 0.2}, {1, -0.2}}}}};
const MadeLevel structureWide2{19, 6, 3, {0.3, 0.3, 0.4}, {}};

}  // namespace made

void writeLevel(const std::string& prefix, const MadeLevel& level, int members) {
    WeightFile input(level.inputs, level.inputs);
    WeightFile first(level.hidden, level.inputs);
    WeightFile second(level.outputs, level.hidden);
    for (std::size_t i = 0; i < level.signals.size(); ++i) {
        const int s = static_cast<int>(i);
        input.set(s, level.signals[i].input, 1.0);
        first.set(s, s, 1.0);
        for (const auto& [output, weight] : level.signals[i].weights) {
            second.set(output, s, weight);
        }
    }
    for (int k = 0; k < level.outputs; ++k) {
        second.set(k, level.hidden, level.bias[static_cast<std::size_t>(k)]);
    }
    input.write(prefix + ".WI.tab", members);
    first.write(prefix + ".WL1.tab", members);
    second.write(prefix + ".WL2.tab", members);
}

void writeMadeData(const std::string& directory) {
    const std::string tab = directory + "/tab";
    std::filesystem::create_directories(tab);
    writeTables(tab);
    writeNetworks(tab);
    writeDatabase(tab);
    writeQuery(directory);
}

}  // namespace orvix::test
