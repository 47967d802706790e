#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>
#include <vector>

struct sqlite3;
struct sqlite3_stmt;

namespace orvix::batch {

/// A value of a table: none, a whole number, a number, a text.
using Cell = std::variant<std::monostate, std::int64_t, double, std::string>;

class DatabaseFile;

/// A prepared statement.
class Statement {
  public:
    Statement(DatabaseFile& file, const std::string& sql);
    ~Statement();
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    /// Carries the statement out with these values for its parameters; rows are dropped.
    void run(const std::vector<Cell>& values = {});
    /// Begins to read rows.
    void begin(const std::vector<Cell>& values = {});
    /// The next row; false at the end.
    bool next();
    Cell cell(int column) const;
    std::string text(int column) const;
    std::int64_t integer(int column) const;
    int columns() const;

  private:
    void bind(const std::vector<Cell>& values);
    [[noreturn]] void fail() const;

    DatabaseFile& file_;
    sqlite3_stmt* statement_ = nullptr;
};

/// An SQLite file. All members throw RunError with the name of the file and the cause.
class DatabaseFile {
  public:
    enum class Open { readOrMake, existing };
    DatabaseFile(std::string path, Open how);
    ~DatabaseFile();
    DatabaseFile(const DatabaseFile&) = delete;
    DatabaseFile& operator=(const DatabaseFile&) = delete;

    void run(const std::string& sql);
    std::int64_t integer(const std::string& sql);
    std::string text(const std::string& sql);
    const std::string& path() const { return path_; }
    sqlite3* handle() const { return handle_; }
    [[noreturn]] void fail() const;

  private:
    std::string path_;
    sqlite3* handle_ = nullptr;
};

}  // namespace orvix::batch
