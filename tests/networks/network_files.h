#pragma once

#include <cstdio>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "networks/ann.h"
#include "support/temporary.h"

/// A temporary directory of weight files, removed at the end.
class NetworkFiles {
  public:
    std::string dir() const { return folder_.path(); }
    std::string path(const std::string& name) const { return folder_.path(name); }

    std::string write(const std::string& name, const std::string& content) const {
        return folder_.write(name, content);
    }

    /// A table of random weights of the columns "1" to `columns` and "b".
    std::string writeWeights(const std::string& name, int rows, int columns, unsigned seed) const {
        std::mt19937 random(seed);
        std::uniform_real_distribution<double> weight(-0.4, 0.4);
        std::string text = "REMARK test weights\n\nVARS  ";
        std::string formats = "FORMAT";
        char cell[32];
        for (int c = 1; c <= columns; ++c) {
            text += ' ';
            text += std::to_string(c);
            formats += " %9.6f";
        }
        text += " b\n" + formats + " %9.6f\n\n";
        for (int r = 0; r < rows; ++r) {
            for (int c = 0; c <= columns; ++c) {
                std::snprintf(cell, sizeof cell, " %9.6f", weight(random));
                text += cell;
            }
            text += '\n';
        }
        return write(name, text);
    }

    /// The files of one level for `members` members.
    void writeLevel(const std::string& prefix, int input, int hidden, int output, int members,
                    unsigned seed) const {
        writeWeights(prefix + ".WI.tab", members * input, input, seed);
        writeWeights(prefix + ".WL1.tab", members * hidden, input, seed + 1);
        writeWeights(prefix + ".WL2.tab", members * output, hidden, seed + 2);
    }

    /// A table of zeros but for the biases, which `biases` holds for one member, of `members`
    /// alike.
    std::string writeBiases(const std::string& name, int columns, const std::vector<double>& biases,
                            int members) const {
        std::string text = "VARS", formats = "FORMAT", zeros;
        for (int c = 1; c <= columns; ++c) {
            text += ' ' + std::to_string(c);
            formats += " %f";
            zeros += "0 ";
        }
        text += " b\n" + formats + " %f\n\n";
        for (int m = 0; m < members; ++m) {
            for (const double bias : biases) {
                text += zeros + std::to_string(bias) + '\n';
            }
        }
        return write(name, text);
    }

    /// A level that gives `results` whatever its input.
    void writeConstantLevel(const std::string& prefix, int input, int hidden,
                            const std::vector<double>& results, int members) const {
        const auto zeros = [](int count) {
            return std::vector<double>(static_cast<std::size_t>(count), 0.0);
        };
        writeBiases(prefix + ".WI.tab", input, zeros(input), members);
        writeBiases(prefix + ".WL1.tab", input, zeros(hidden), members);
        writeBiases(prefix + ".WL2.tab", hidden, results, members);
    }

  private:
    orvix::test::TemporaryDirectory folder_;
};

/// Random residue vectors of `length` values for the given residue numbers.
inline ANN::ResidueMap randomResidues(const std::vector<int>& residues, int length,
                                      unsigned seed = 7) {
    std::mt19937 random(seed);
    std::uniform_real_distribution<double> value(-1.0, 1.0);
    ANN::ResidueMap map;
    for (const int residue : residues) {
        for (int k = 0; k < length; ++k) {
            map[residue].push_back(value(random));
        }
    }
    return map;
}

inline std::vector<int> numbersFrom(int first, int count) {
    std::vector<int> numbers;
    for (int i = 0; i < count; ++i) {
        numbers.push_back(first + i);
    }
    return numbers;
}

inline std::vector<int> keysOf(const ANN::ResidueMap& map) {
    std::vector<int> keys;
    for (const auto& [key, value] : map) {
        keys.push_back(key);
    }
    return keys;
}

inline std::vector<double> joined(const std::vector<std::vector<double>>& parts) {
    std::vector<double> whole;
    for (const std::vector<double>& part : parts) {
        whole.insert(whole.end(), part.begin(), part.end());
    }
    return whole;
}

inline std::vector<double> without(std::vector<double> vector, std::size_t first,
                                   std::size_t count) {
    const auto at = vector.begin() + static_cast<std::ptrdiff_t>(first);
    vector.erase(at, at + static_cast<std::ptrdiff_t>(count));
    return vector;
}
