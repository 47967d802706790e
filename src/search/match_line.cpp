#include "search/match_line.h"

#include <cstdio>

#include "search/db.h"

namespace orvix::search {

namespace {

char letterOf(const DB& db, int row) {
    return db.holds(row) ? db.resNames[row] : ' ';
}
int numberOf(const DB& db, int row) {
    return db.holds(row) ? db.resids[row] : 0;
}

}  // namespace

std::string matchLine(const DB& db, int row, int rank, double key, double rawScore,
                      const char* tail) {
    // Wide enough for every number, also one of hundreds of digits.
    char text[2048];
    std::snprintf(text, sizeof text,
                  " %-7d %4d %8.3f %8.3f  %8.3f  %8.3f  %1c%-3d %1c%-3d %1c%-3d %s%s\n", row, rank,
                  static_cast<double>(db.angles[row][0]), static_cast<double>(db.angles[row][1]),
                  key, rawScore, letterOf(db, row - 1), numberOf(db, row - 1), letterOf(db, row),
                  numberOf(db, row), letterOf(db, row + 1), numberOf(db, row + 1),
                  db.sources[row].c_str(), tail);
    return text;
}

}  // namespace orvix::search
