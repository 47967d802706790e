#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <random>
#include <string>
#include <vector>

#include "run/orvix.h"
#include "search/db.h"
#include "search/map_clusters.h"

/// Made-up databases and queries in the shape of real ones, the same for the same seed.
namespace synthetic {

inline constexpr int fullRows = 2330110;

inline double wrapped(double angle) {
    return angle >= 180.0 ? angle - 360.0 : angle < -180.0 ? angle + 360.0 : angle;
}

inline int boxOf(double phi, double psi) {
    const auto bin = [](double angle) { return static_cast<int>((angle + 180.0) * 0.05) % 18; };
    return bin(phi) * 18 + bin(psi);
}

/// A database of `rows` residues in proteins of 60 to 900 residues, with segments of helix, strand
/// and coil, natural letter frequencies, a numbering gap behind 0.4 % of the rows, and shifts that
/// follow the segments. Values have three decimals, as in a file.
inline void fill(DB& db, int rows, unsigned seed) {
    const auto count = static_cast<std::size_t>(rows);
    db.setMaxDBSize(rows + 1);
    db.shifts.reset(count + 1);
    db.angles.reset(count + 1);
    db.resids.reset(count + 1);
    db.boxes.reset(count + 1);
    db.resNames.reset(count + 1);
    db.sources.protein.reset(count + 1);
    db.sources.names.assign(1, std::string());

    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    const std::string letters = "ACDEFGHIKLMNPQRSTVWYc";
    std::discrete_distribution<int> letter{8.2, 1.2, 5.5, 6.5, 3.9, 7.1, 2.2, 5.7, 5.8, 9.5, 2.3,
                                           4.1, 4.5, 3.8, 5.2, 6.6, 5.4, 6.8, 1.3, 3.2, 0.6};
    const double centre[4][3] = {{-63, -42, 7}, {-118, 132, 20}, {-75, 145, 22}, {57, 40, 15}};
    const double offset[2][6] = {{-1.7, -0.35, 2.2, 2.6, -0.5, -0.2},
                                 {1.3, 0.5, -1.6, -1.4, 2.0, 0.4}};
    const auto rounded = [](double value) {
        return static_cast<float>(std::round(value * 1000.0) / 1000.0);
    };
    int left = 0;
    int segmentLeft = 0;
    int segment = 0;
    int number = 0;
    for (int i = 0; i < rows; ++i) {
        if (left == 0) {
            const double draw = uniform(random);
            left = std::clamp(static_cast<int>(60 + 190 * -std::log(1.0 - draw)), 60, 900);
            number = static_cast<int>(random() % 30);
            std::string name = std::to_string(db.sources.names.size());
            name += "_A";
            db.sources.names.push_back(name);
            segmentLeft = 0;
        }
        if (segmentLeft == 0) {
            const double draw = uniform(random);
            segment = draw < 0.3 ? 0 : draw < 0.6 ? 1 : draw < 0.94 ? 2 : 3;
            segmentLeft = segment == 0   ? 6 + static_cast<int>(random() % 14)
                          : segment == 1 ? 3 + static_cast<int>(random() % 6)
                          : segment == 2 ? 1 + static_cast<int>(random() % 6)
                                         : 1;
        }
        --left;
        --segmentLeft;
        number += uniform(random) < 0.004 ? 2 + static_cast<int>(random() % 9) : 1;
        db.sources.protein[i] = static_cast<int>(db.sources.names.size()) - 1;
        db.resids[i] = number;
        db.resNames[i] = letters[static_cast<std::size_t>(letter(random))];
        const double phi = wrapped(centre[segment][0] + centre[segment][2] * normal(random));
        const double psi = wrapped(centre[segment][1] + centre[segment][2] * normal(random));
        db.angles[i][0] = rounded(phi);
        db.angles[i][1] = rounded(psi);
        db.angles[i][2] =
            db.resNames[i] == 'A' || db.resNames[i] == 'G'
                ? 9999.0F
                : rounded(wrapped(-60.0 + 120.0 * (random() % 3) + 9 * normal(random)));
        db.boxes[i] =
            boxOf(static_cast<double>(db.angles[i][0]), static_cast<double>(db.angles[i][1]));
        for (int atom = 0; atom < 6; ++atom) {
            const double base = segment < 2 ? offset[segment][atom] : 0.0;
            const bool missing = uniform(random) < 0.1;
            db.shifts[i][2 * atom] = missing ? 0.0F : rounded(base + 0.8 * normal(random));
            db.shifts[i][2 * atom + 1] = missing ? 0.0F : rounded(0.8 + 0.4 * uniform(random));
        }
    }
    db.dbSize = rows;
}

/// Writes `db` as database text.
inline void write(DB& db, const std::string& path) {
    std::FILE* const file = std::fopen(path.c_str(), "w");
    if (file == nullptr) {
        std::abort();
    }
    for (int i = 0; i < db.dbSize; ++i) {
        std::fprintf(file, "%-12s %c %4d %8.3f %8.3f %8.3f %3d", db.sources[i].c_str(),
                     db.resNames[i], db.resids[i], static_cast<double>(db.angles[i][0]),
                     static_cast<double>(db.angles[i][1]), static_cast<double>(db.angles[i][2]),
                     db.boxes[i]);
        for (int k = 0; k < 12; ++k) {
            std::fprintf(file, " %6.3f", static_cast<double>(db.shifts[i][k]));
        }
        std::fputc('\n', file);
    }
    std::fclose(file);
}

/// Makes `run` ready to search `db` (which it takes over) with a query of `length` residues, 1 to
/// `length`, cut from the database: maps as a network gives them, peaked at the angles of the
/// stretch, a second basin in three residues of ten, through clusters and the search map's rules.
inline void prepareRun(ORVIX& run, DB* db, int length, unsigned seed) {
    run.db = db;
    run.cutProteinBlocks();
    std::mt19937 random(seed);
    std::normal_distribution<double> normal;
    std::uniform_real_distribution<double> uniform;
    const int start = static_cast<int>(random() % static_cast<unsigned>(db->dbSize - length));
    const std::string order = "ACDEFGHIKLMNPQRSTVWY";
    const std::array<int, 20> same{4, 9, 6, 5, 6, 6, 8, 4, 5, 4, 5, 6, 7, 5, 5, 4, 5, 4, 11, 7};
    for (std::size_t a = 0; a < order.size(); ++a) {
        for (std::size_t b = 0; b <= a; ++b) {
            // About the shares of scores that such matrices have: a quarter of 0 or more.
            const double draw = uniform(random);
            const double score = a == b        ? same[a]
                                 : draw < 0.08 ? 1
                                 : draw < 0.25 ? 0
                                 : draw < 0.52 ? -1
                                 : draw < 0.80 ? -2
                                 : draw < 0.97 ? -3
                                               : -4;
            run.blosum[order[a]][order[b]] = score;
            run.blosum[order[b]][order[a]] = score;
        }
    }
    run.firstResid = 1;
    run.lastResid = length;
    run.provideShiftMatrix(static_cast<std::size_t>(length));
    for (int r = 1; r <= length; ++r) {
        const int row = start + r - 1;
        run.seqChar[r] = db->resNames[row];
        double* const shifts = run.shiftMatrix[r - 1];
        for (int atom = 0; atom < 6; ++atom) {
            shifts[atom] =
                db->shifts[row][2 * atom + 1] == 0.0F
                    ? 9999.0
                    : static_cast<double>(db->shifts[row][2 * atom]) + 0.3 * normal(random);
        }
        const bool twoBasins = uniform(random) < 0.3;
        const double share = twoBasins ? 0.5 + 0.35 * uniform(random) : 1.0;
        const double width = 14.0 + 16.0 * uniform(random);
        const auto other = static_cast<int>(random() % static_cast<unsigned>(db->dbSize));
        std::vector<double> map(324);
        for (int box = 0; box < 324; ++box) {
            const double phi = -170.0 + 20.0 * (box / 18);
            const double psi = -170.0 + 20.0 * (box % 18);
            const auto peak = [&](int at) {
                const double dp = std::abs(phi - static_cast<double>(db->angles[at][0]));
                const double ds = std::abs(psi - static_cast<double>(db->angles[at][1]));
                const double x = std::min(dp, 360.0 - dp) / width;
                const double y = std::min(ds, 360.0 - ds) / width;
                return std::exp(-0.5 * (x * x + y * y));
            };
            map[static_cast<std::size_t>(box)] = 0.9 * share * peak(row) +
                                                 0.9 * (1.0 - share) * peak(other) +
                                                 0.01 * uniform(random);
        }
        ClusterData& found = run.clusters[r];
        orvix::search::clusterMap(map, found);
        double sum = 0.0;
        for (int c = 1; c <= found.clusterCount; ++c) {
            sum += found.clusterSum[c];
        }
        run.annConfidence[r] = sum > 0.0 ? found.clusterSum[1] / sum : 0.0;
        run.annPhiPsi[r] = map;
    }
    run.deriveSearchMap();
}

}  // namespace synthetic
