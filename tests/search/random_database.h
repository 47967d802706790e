#pragma once

#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "search/database_planes.h"
#include "search/db.h"
#include "support/temporary.h"

/// A file that goes away with the object.
class TextFile {
  public:
    explicit TextFile(const std::string& content) : file_(content), path(file_.path()) {}

  private:
    orvix::test::TemporaryFile file_;

  public:
    std::string path;
};

/// One residue of a hand-made database.
struct Residue {
    std::string source;
    char letter;
    int number;
    float phi, psi, chi1;
    int box;
    std::vector<float> shifts = std::vector<float>(12, 0.0F);
};

inline void sizeDatabase(DB& db, int rows, int spare = 1) {
    const auto count = static_cast<std::size_t>(rows + spare);
    db.setMaxDBSize(rows + spare);
    db.shifts.reset(count);
    db.angles.reset(count);
    db.resids.reset(count);
    db.boxes.reset(count);
    db.resNames.reset(count);
    db.sources.protein.reset(count);
    db.sources.names.assign(1, std::string());
    db.dbSize = rows;
}

inline void setResidue(DB& db, int row, const Residue& residue) {
    std::copy(residue.shifts.begin(), residue.shifts.end(), db.shifts[row]);
    db.angles[row][0] = residue.phi;
    db.angles[row][1] = residue.psi;
    db.angles[row][2] = residue.chi1;
    db.resids[row] = residue.number;
    db.boxes[row] = residue.box;
    db.resNames[row] = residue.letter;
    if (db.sources.names.back() != residue.source) {
        db.sources.names.push_back(residue.source);
    }
    db.sources.protein[row] = static_cast<int>(db.sources.names.size()) - 1;
}

struct RandomOptions {
    int rows = 20000;
    int longestBlock = 120;
    double gapShare = 0.02;
    int boxes = 324;  ///< boxes are drawn from the first ones
    std::string letters = "AACDEFGGGHIKLLMNPPPQRSTVWYchX";
    bool strayBoxes = false;
};

/// Rows without any sense to them; block lengths from 1 up, so that many are shorter than a window.
inline void fillRandom(DB& db, std::mt19937& random, const RandomOptions& options) {
    sizeDatabase(db, options.rows);
    const auto below = [&random](int limit) {
        return static_cast<int>(random() % static_cast<unsigned>(limit));
    };
    int left = 0;
    int protein = 0;
    Residue residue;
    for (int row = 0; row < options.rows; ++row) {
        if (left-- == 0) {
            left = below(options.longestBlock);
            residue.number = below(50) - 20;
            residue.source = "s" + std::to_string(protein++);
        }
        residue.number += below(10000) < options.gapShare * 10000 ? below(4) - 1 : 1;
        residue.letter =
            options
                .letters[static_cast<std::size_t>(below(static_cast<int>(options.letters.size())))];
        residue.box = below(options.boxes);
        if (options.strayBoxes && below(20) == 0) {
            residue.box = below(2) == 0 ? -1 - below(1000) : 324 + below(1 << 30);
        }
        residue.phi = static_cast<float>(below(3600) - 1800) / 10.0F;
        residue.psi = static_cast<float>(below(3600) - 1800) / 10.0F;
        residue.chi1 = below(5) == 0 ? 9999.0F : static_cast<float>(below(3600) - 1800) / 10.0F;
        for (int atom = 0; atom < 6; ++atom) {
            const auto a = static_cast<std::size_t>(atom);
            residue.shifts[2 * a] = static_cast<float>(below(8000) - 4000) / 1000.0F;
            residue.shifts[2 * a + 1] =
                below(6) == 0 ? 0.0F : static_cast<float>(500 + below(1000)) / 1000.0F;
        }
        setResidue(db, row, residue);
    }
}

inline std::vector<orvix::search::ProteinBlock> proteinBlocks(const DB& db) {
    std::vector<orvix::search::ProteinBlock> blocks;
    for (int row = 0; row < db.dbSize; ++row) {
        if (row == 0 || db.sources[row] != db.sources[row - 1]) {
            blocks.push_back({row, row});
        }
        blocks.back().last = row;
    }
    return blocks;
}
