#include "search/db_reader.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <deque>
#include <fstream>
#include <iterator>
#include <mutex>
#include <string_view>
#include <utility>
#include <vector>

#include "base/line_blocks.h"
#include "search/db.h"
#include "search/db_text.h"

namespace orvix::search {

namespace {

/// Consecutive rows of one source word.
struct SourceRun {
    int firstRow;
    std::string source;
};

DatabaseRow cellsOf(DB& db, int row) {
    DatabaseRow cells;
    cells.shifts = db.shifts[row];
    cells.angles = db.angles[row];
    cells.resid = &db.resids[row];
    cells.box = &db.boxes[row];
    cells.letter = &db.resNames[row];
    return cells;
}

void clearRow(DB& db, int row) {
    std::fill_n(db.shifts[row], 12, 0.0F);
    std::fill_n(db.angles[row], 3, 0.0F);
    db.resids[row] = 0;
    db.boxes[row] = 0;
    db.resNames[row] = '\0';
}

std::string describe(const std::string& path, std::int64_t line, LineResult result) {
    return "\tDatabase file " + path + ", line " + std::to_string(line) +
           (result == LineResult::sourceTooLong
                ? ": source word of more than " + std::to_string(maxSourceLength) + " characters\n"
                : ": not the " + std::to_string(databaseFields) + " fields of a residue\n");
}

void appendSource(std::vector<SourceRun>& runs, int row, std::string_view source) {
    if (runs.empty() || runs.back().source != source) {
        runs.push_back({row, std::string(source)});
    }
}

/// Fills the source column from the runs of all rows, in order of rows.
void storeSources(const std::vector<SourceRun>& runs, int rows, DB& db) {
    for (std::size_t k = 0; k < runs.size(); ++k) {
        if (runs[k].source != db.sources.names.back()) {
            db.sources.names.push_back(runs[k].source);
        }
        const int end = k + 1 < runs.size() ? runs[k + 1].firstRow : rows;
        std::fill(db.sources.protein.data() + runs[k].firstRow, db.sources.protein.data() + end,
                  static_cast<int>(db.sources.names.size()) - 1);
    }
}

struct LineCount {
    int rows = 0;            ///< lines that hold a row
    std::int64_t lines = 0;  ///< all lines
};

std::string_view lineAt(const char* p, const char* end) {
    const void* const feed = std::memchr(p, '\n', static_cast<std::size_t>(end - p));
    return {p, static_cast<std::size_t>(static_cast<const char*>(feed) - p)};
}

LineCount countLines(const LineBlock& block) {
    LineCount count;
    for (const char* p = block.begin(); p < block.end(); ++count.lines) {
        const std::string_view line = lineAt(p, block.end());
        if (static_cast<unsigned char>(*p) > '#' || !isSkippedLine(line)) {
            ++count.rows;
        }
        p += line.size() + 1;
    }
    return count;
}

/// The reading of one file, with what its threads share.
class Reading {
  public:
    Reading(const std::string& path, const std::string& exclList, int capacity, DB& db,
            LineParser readLine)
        : path_(path), exclList_(exclList), capacity_(capacity), db_(db), readLine_(readLine) {}

    /// Several threads may read at once when nothing is excluded: each block is counted before the
    /// next is taken, so its rows are known.
    DatabaseReading read(LineBlocks& text, int threads) {
        text.share(
            threads,
            [this, threads](const LineBlock& block, std::size_t) {
                return take(block, threads > 1);
            },
            [this, threads](const LineBlock& block, std::size_t number) {
                work(block, number, threads > 1);
            });
        DatabaseReading result;
        result.opened = true;
        std::vector<SourceRun> runs;
        for (Part& part : parts_) {
            if (!part.problem.empty()) {
                result.problem = part.problem;
                return result;
            }
            result.full = result.full || part.full;
            std::move(part.runs.begin(), part.runs.end(), std::back_inserter(runs));
        }
        if (text.lineTooLong() && !result.full) {
            result.problem = describe(path_, nextLine_, LineResult::tooFewFields);
            return result;
        }
        result.rows = nextRow_;
        storeSources(runs, result.rows, db_);
        if (result.rows < capacity_) {
            // What an excluded last row left behind.
            clearRow(db_, result.rows);
        }
        return result;
    }

  private:
    /// A block of lines.
    struct Part {
        int row = 0;            ///< its first one, behind the last one when it was read
        std::int64_t line = 1;  ///< likewise
        bool full = false;
        std::string problem;
        std::vector<SourceRun> runs;
    };

    bool take(const LineBlock& block, bool countFirst) {
        const std::lock_guard<std::mutex> hold(mutex_);
        if (stop_) {
            return false;
        }
        Part& part = parts_.emplace_back();
        part.row = nextRow_;
        part.line = nextLine_;
        if (countFirst) {
            const LineCount count = countLines(block);
            nextLine_ += count.lines;
            nextRow_ += std::min(count.rows, capacity_ - nextRow_);
            stop_ = nextRow_ == capacity_ && count.rows > 0;
        }
        return true;
    }

    void work(const LineBlock& block, std::size_t number, bool counted) {
        std::unique_lock<std::mutex> hold(mutex_);
        Part& part = parts_[number];
        hold.unlock();
        readPart(block, part);
        hold.lock();
        if (!counted) {
            nextRow_ = part.row;
            nextLine_ = part.line;
        }
        stop_ = stop_ || part.full || !part.problem.empty();
    }

    void readPart(const LineBlock& block, Part& part) {
        const char* const end = block.end();
        for (const char* p = block.begin(); p < end; ++part.line) {
            if (*p == '\n' || *p == '#') {
                p += lineAt(p, end).size() + 1;
                continue;
            }
            if (part.row >= capacity_) {
                // Only a capacity of 0 gets here with a row still to read.
                const std::string_view line = lineAt(p, end);
                part.full = !isSkippedLine(line);
                if (part.full) {
                    return;
                }
                p += line.size() + 1;
                continue;
            }
            DatabaseRow cells = cellsOf(db_, part.row);
            LineResult result = LineResult::row;
            const char* feed = readLine_(p, cells);
            if (feed == nullptr) {
                const std::string_view line = lineAt(p, end);
                result = readDatabaseLinePlain(line, cells);
                feed = line.data() + line.size();
            }
            p = feed + 1;
            if (result == LineResult::blank) {
                continue;
            }
            if (result != LineResult::row) {
                part.problem = describe(path_, part.line, result);
                return;
            }
            if (isExcluded(exclList_, cells.source)) {
                continue;
            }
            appendSource(part.runs, part.row, cells.source);
            ++part.row;
            if (part.row == capacity_) {
                part.full = true;
                return;
            }
        }
    }

    const std::string& path_;
    const std::string& exclList_;
    const int capacity_;
    DB& db_;
    const LineParser readLine_;
    std::mutex mutex_;
    bool stop_ = false;
    int nextRow_ = 0;
    std::int64_t nextLine_ = 1;
    std::deque<Part> parts_;  // in the order of the file; what is there stays in its place
};

/// Below this size a second thread is not worth its start.
constexpr std::size_t severalThreadsFrom = std::size_t{16} << 20;

constexpr std::size_t longestLine = std::size_t{1} << 24;

}  // namespace

bool isExcluded(const std::string& exclList, std::string_view source) {
    return !exclList.empty() && exclList.find(source) != std::string::npos;
}

DatabaseReading readDatabase(const std::string& path, const std::string& exclList, int capacity,
                             int threads, DB& db, LineParser readLine) {
    static_assert(LineBlock::margin >= lineMargin);
    LineBlocks text(path, longestLine);
    if (!text.isOpen()) {
        return {};
    }
    if (text.fileSize() > LineBlocks::blockSize * 4) {
        db.shifts.useLargePages();
        db.angles.useLargePages();
        db.resids.useLargePages();
        db.boxes.useLargePages();
        db.resNames.useLargePages();
        db.sources.protein.useLargePages();
    }
    const bool several = exclList.empty() && text.fileSize() >= severalThreadsFrom;
    return Reading(path, exclList, capacity, db, readLine)
        .read(text, several ? std::max(1, threads) : 1);
}

DatabaseReading readDatabasePlain(const std::string& path, const std::string& exclList,
                                  int capacity, DB& db) {
    DatabaseReading result;
    std::ifstream file(path);
    result.opened = static_cast<bool>(file);
    std::vector<SourceRun> runs;
    std::string line;
    for (std::int64_t number = 1; std::getline(file, line); ++number) {
        if (isSkippedLine(line)) {
            continue;
        }
        if (result.rows >= capacity) {
            result.full = true;
            break;
        }
        DatabaseRow cells = cellsOf(db, result.rows);
        const LineResult fit = readDatabaseLinePlain(line, cells);
        if (fit != LineResult::row) {
            result.problem = describe(path, number, fit);
            return result;
        }
        if (isExcluded(exclList, cells.source)) {
            clearRow(db, result.rows);
            continue;
        }
        appendSource(runs, result.rows, cells.source);
        if (++result.rows == capacity) {
            result.full = true;
            break;
        }
    }
    storeSources(runs, result.rows, db);
    return result;
}

}  // namespace orvix::search
