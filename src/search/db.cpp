#include "search/db.h"

#include <algorithm>
#include <new>
#include <ostream>

#include "base/parallel.h"
#include "base/run_end.h"
#include "base/streams.h"
#include "search/db_reader.h"

namespace {

constexpr int defaultCapacity = 2999999;

/// `text` stands behind a tab and closes its line.
orvix::RunEnd databaseEnd(const std::string& text) {
    return {orvix::EndReason::dataDirectory, 0, text, text.substr(1, text.size() - 2)};
}

}  // namespace

DB::DB() : maxDBSize(defaultCapacity), dbSize(0) {}

DB::DB(const std::string& file) : DB() {
    dbFile = file;
    loadDB(file);
}

DB::~DB() = default;

void DB::setMaxDBSize(int rows) {
    maxDBSize = rows;
}

void DB::release() {
    shifts.clear();
    angles.clear();
    resids.clear();
    boxes.clear();
    resNames.clear();
    sources.protein.clear();
    sources.names.assign(1, std::string());
    dbSize = 0;
}

void DB::loadDB(const std::string& file) {
    // The argument may be the member itself.
    const std::string path = file;
    release();
    dbFile = path;
    const int capacity = std::max(maxDBSize, 0);
    const auto rows = static_cast<std::size_t>(capacity);
    try {
        shifts.reset(rows);
        angles.reset(rows);
        resids.reset(rows);
        boxes.reset(rows);
        resNames.reset(rows);
        sources.protein.reset(rows);
    } catch (const std::bad_alloc&) {
        throw databaseEnd("\tNo memory for a database of " + std::to_string(capacity) +
                          " residues\n");
    }
    const orvix::search::DatabaseReading reading =
        orvix::search::readDatabase(path, exclList, capacity, orvix::availableThreads(), *this);
    if (!reading.opened) {
        throw databaseEnd("\tCan't open database file " + path + " for reading\n");
    }
    if (!reading.problem.empty()) {
        throw databaseEnd(reading.problem);
    }
    if (reading.full) {
        orvix::err() << "Warning:: Database " << path << "is larger than the allocated ("
                     << maxDBSize << "), not all entries are read!" << std::endl;
    }
    dbSize = reading.rows;
}

void DB::loadDB(const std::string& file, const std::string& excl) {
    exclList = excl;
    loadDB(file);
}
