#include <cstring>

#include "fuzz_input.h"
#include "search/db.h"
#include "search/db_reader.h"

namespace {

constexpr int capacity = 40;

void makeRoom(DB& db) {
    db.shifts.reset(capacity);
    db.angles.reset(capacity);
    db.resids.reset(capacity);
    db.boxes.reset(capacity);
    db.resNames.reset(capacity);
    db.sources.protein.reset(capacity);
}

void requireSame(const DB& a, const DB& b, int rows) {
    for (int i = 0; i < rows; ++i) {
        require(std::memcmp(a.shifts[i], b.shifts[i], 12 * sizeof(float)) == 0);
        require(std::memcmp(a.angles[i], b.angles[i], 3 * sizeof(float)) == 0);
        require(a.resids[i] == b.resids[i] && a.boxes[i] == b.boxes[i]);
        require(a.resNames[i] == b.resNames[i] && a.sources[i] == b.sources[i]);
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string& path = inputFile(data, size);
    for (const char* const excluded : {"", "1abc"}) {
        DB plain;
        makeRoom(plain);
        const orvix::search::DatabaseReading expected =
            orvix::search::readDatabasePlain(path, excluded, capacity, plain);
        for (const orvix::search::LineParser reader :
             {orvix::search::fastLineReader(),
              orvix::search::LineParser(orvix::search::readDatabaseLinePortable)}) {
            DB fast;
            makeRoom(fast);
            const orvix::search::DatabaseReading found =
                orvix::search::readDatabase(path, excluded, capacity, 1, fast, reader);
            require(found.problem == expected.problem);
            if (expected.problem.empty()) {
                require(found.rows == expected.rows && found.full == expected.full);
                requireSame(plain, fast, expected.rows);
            }
        }
    }
    return 0;
}
