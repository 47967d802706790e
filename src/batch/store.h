#pragma once

#include <memory>
#include <string>
#include <vector>

#include "batch/database_file.h"
#include "batch/store_tables.h"

namespace orvix::batch {

/// A job that gave no result.
struct Failure {
    std::size_t number = 0;  ///< of its job
    std::string name, file, reason;
};

/// Makes the tables of a store in an empty file, or checks that the file is a store of this
/// version. Throws RunError.
void prepareStore(DatabaseFile& file);

/// The store of a batch while it is written. One transaction is open from the first change until
/// `commit`; what was not committed is not there after a kill.
class Store {
  public:
    /// Opens or makes the store; what a killed batch left of its transactions is put right. Throws
    /// RunError, also for a file that is no store of this version.
    explicit Store(const std::string& path);
    ~Store();
    Store(const Store&) = delete;
    Store& operator=(const Store&) = delete;

    /// Whether the protein of that name is there with that key. Gives it the number of its job.
    bool has(const std::string& name, const std::string& key, std::size_t number);
    /// Replaces all rows of the protein, and its failure if there was one.
    void put(const StoredProtein& protein);
    /// Replaces the failure of that name. With `outdated` the rows of an earlier result go.
    void putFailure(const Failure& failure, bool outdated);
    void commit();
    /// Commits and leaves one plain file, without a log beside it.
    void close();

  private:
    void change();
    void removeRows(const std::string& name);

    DatabaseFile file_;
    struct Statements;
    std::unique_ptr<Statements> statements_;
    bool changing_ = false;
};

}  // namespace orvix::batch
