#include "batch/collect.h"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <filesystem>

#include "base/run_end.h"
#include "batch/store.h"

namespace orvix::batch {
namespace {

namespace fs = std::filesystem;

/// A file under another name until it is whole.
class NewFile {
  public:
    explicit NewFile(const std::string& final) : final_(final) {
        const fs::path path(final);
        work_ = (path.parent_path() /
                 ("." + path.filename().string() + ".orvix-" + std::to_string(getpid())))
                    .string();
        remove();
    }
    ~NewFile() {
        if (!work_.empty()) {
            remove();
        }
    }
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    const std::string& path() const { return work_; }
    void publish() {
        if (std::rename(work_.c_str(), final_.c_str()) != 0) {
            throw RunError(final_ + ": can't be written: " + std::strerror(errno));
        }
        work_.clear();
    }

  private:
    void remove() const {
        std::error_code ignored;
        for (const char* ending : {"", "-journal", "-wal", "-shm"}) {
            fs::remove(work_ + ending, ignored);
        }
    }
    std::string final_, work_;
};

void refuseConflicts(DatabaseFile& joined, const std::string& store) {
    const std::string name = joined.text(
        "SELECT a.name FROM part.proteins a JOIN main.proteins b ON a.name = b.name "
        "WHERE a.key <> b.key ORDER BY a.name LIMIT 1");
    if (!name.empty()) {
        throw RunError(store + ": has the protein " + name +
                       " from another input, options, version or data than a store before it");
    }
}

void addStore(DatabaseFile& joined, const std::string& store) {
    {
        DatabaseFile part(store, DatabaseFile::Open::existing);
        if (part.integer("SELECT count(*) FROM sqlite_master") == 0) {
            throw RunError(store + ": is empty, no store of predictions");
        }
        prepareStore(part);
    }
    Statement(joined, "ATTACH ? AS part").run({store[0] == '/' ? store : "./" + store});
    refuseConflicts(joined, store);
    joined.run("BEGIN");
    joined.run(
        "CREATE TEMP TABLE fresh AS SELECT name FROM part.proteins "
        "WHERE name NOT IN (SELECT name FROM main.proteins)");
    for (const StoreTable& table : storeTables()) {
        joined.run("INSERT INTO main." + table.name + " (" + table.columnList() + ") SELECT " +
                   table.columnList() + " FROM part." + table.name + " WHERE " +
                   table.columns[0].name + " IN (SELECT name FROM fresh) ORDER BY " +
                   table.keyList());
    }
    const StoreTable& failures = failureTable();
    joined.run("INSERT OR IGNORE INTO main." + failures.name + " (" + failures.columnList() +
               ") SELECT " + failures.columnList() + " FROM part." + failures.name);
    joined.run("DROP TABLE fresh");
    joined.run("COMMIT");
    joined.run("DETACH part");
}

}  // namespace

void collectStores(const std::vector<std::string>& stores, const std::string& output) {
    NewFile file(output);
    {
        DatabaseFile joined(file.path(), DatabaseFile::Open::readOrMake);
        prepareStore(joined);
        joined.run("PRAGMA synchronous = OFF");
        for (const std::string& store : stores) {
            addStore(joined, store);
        }
        joined.run("DELETE FROM failures WHERE name IN (SELECT name FROM proteins)");
    }
    file.publish();
}

}  // namespace orvix::batch
