#include "batch/store.h"

#include "base/run_end.h"

namespace orvix::batch {

void prepareStore(DatabaseFile& file) {
    const bool empty = file.integer("SELECT count(*) FROM sqlite_master") == 0;
    if (!empty && file.integer("PRAGMA application_id") != storeMark) {
        throw RunError(file.path() + ": is a database, but no store of predictions");
    }
    const std::int64_t version = file.integer("PRAGMA user_version");
    if (!empty && version != storeVersion) {
        throw RunError(file.path() + ": is a store of version " + std::to_string(version) +
                       "; this program reads and writes version " + std::to_string(storeVersion));
    }
    if (!empty) {
        return;
    }
    std::string sql = "BEGIN IMMEDIATE;";
    sql += "PRAGMA application_id = " + std::to_string(storeMark) + ";";
    sql += "PRAGMA user_version = " + std::to_string(storeVersion) + ";";
    for (const StoreTable& table : storeTables()) {
        sql += table.create() + ";";
    }
    sql += failureTable().create() + ";";
    sql +=
        "CREATE TABLE provenance (key TEXT PRIMARY KEY, value TEXT NOT NULL) WITHOUT ROWID;"
        "INSERT INTO provenance VALUES ('schema', 'orvix-store'), ('schema_version', '" +
        std::to_string(storeVersion) + "');";
    file.run(sql + "COMMIT;");
}

struct Store::Statements {
    explicit Statements(DatabaseFile& file)
        : find(file, "SELECT key, job FROM proteins WHERE name = ?"),
          renumber(file, "UPDATE proteins SET job = ? WHERE name = ?"),
          putFailure(file, failureTable().insert()),
          removeFailure(file, "DELETE FROM failures WHERE name = ?") {
        for (const StoreTable& table : storeTables()) {
            insert.push_back(std::make_unique<Statement>(file, table.insert()));
            remove.push_back(std::make_unique<Statement>(
                file, "DELETE FROM " + table.name + " WHERE " + table.columns[0].name + " = ?"));
        }
    }
    Statement find, renumber, putFailure, removeFailure;
    std::vector<std::unique_ptr<Statement>> insert, remove;  ///< by `storeTables`
};

Store::Store(const std::string& path) : file_(path, DatabaseFile::Open::readOrMake) {
    prepareStore(file_);
    // A file system without shared memory stays with the journal that works there.
    file_.text("PRAGMA journal_mode = WAL");
    file_.run("PRAGMA synchronous = FULL");
    statements_ = std::make_unique<Statements>(file_);
}

Store::~Store() = default;

void Store::change() {
    if (!changing_) {
        file_.run("BEGIN IMMEDIATE");
        changing_ = true;
    }
}

bool Store::has(const std::string& name, const std::string& key, std::size_t number) {
    statements_->find.begin({name});
    if (!statements_->find.next() || statements_->find.text(0) != key) {
        return false;
    }
    const auto job = static_cast<std::int64_t>(number);
    if (statements_->find.integer(1) != job) {
        change();
        statements_->renumber.run({job, name});
    }
    return true;
}

void Store::removeRows(const std::string& name) {
    for (const auto& remove : statements_->remove) {
        remove->run({name});
    }
    statements_->removeFailure.run({name});
}

void Store::put(const StoredProtein& protein) {
    change();
    removeRows(protein.name);
    const std::vector<StoreTable>& tables = storeTables();
    for (std::size_t i = 0; i < tables.size(); ++i) {
        tables[i].rows(protein,
                       [&](const std::vector<Cell>& cells) { statements_->insert[i]->run(cells); });
    }
}

void Store::putFailure(const Failure& failure, bool outdated) {
    change();
    if (outdated) {
        removeRows(failure.name);
    }
    statements_->putFailure.run(
        {failure.name, static_cast<std::int64_t>(failure.number), failure.file, failure.reason});
}

void Store::commit() {
    if (changing_) {
        file_.run("COMMIT");
        changing_ = false;
    }
}

void Store::close() {
    commit();
    statements_.reset();
    file_.run("PRAGMA wal_checkpoint(TRUNCATE)");
    file_.text("PRAGMA journal_mode = DELETE");
}

}  // namespace orvix::batch
