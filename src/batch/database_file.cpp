#include "batch/database_file.h"

#include <sqlite3.h>

#include <filesystem>

#include "base/run_end.h"

namespace orvix::batch {
namespace {

/// How long a file that another program has locked is waited for, milliseconds.
constexpr int lockPatience = 5000;
/// A disk with less room, bytes, counts as full.
constexpr std::uintmax_t leastSpace = 1U << 20U;

}  // namespace

DatabaseFile::DatabaseFile(std::string path, Open how) : path_(std::move(path)) {
    const int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_FULLMUTEX |
                      (how == Open::readOrMake ? SQLITE_OPEN_CREATE : 0);
    // A name that begins with "file:" is a file, no address.
    const std::string name = path_[0] == '/' ? path_ : "./" + path_;
    if (sqlite3_open_v2(name.c_str(), &handle_, flags, nullptr) != SQLITE_OK) {
        const std::string cause =
            handle_ != nullptr ? sqlite3_errmsg(handle_) : sqlite3_errstr(SQLITE_NOMEM);
        sqlite3_close_v2(handle_);
        throw RunError(path_ + ": " + cause);
    }
    sqlite3_busy_timeout(handle_, lockPatience);
}

DatabaseFile::~DatabaseFile() {
    sqlite3_close_v2(handle_);
}

void DatabaseFile::fail() const {
    std::string text = path_ + ": " + sqlite3_errmsg(handle_);
    // SQLite calls a log that can't grow an I/O error and keeps the cause to itself.
    std::error_code unknown;
    if ((sqlite3_errcode(handle_) & 0xFF) == SQLITE_IOERR &&
        std::filesystem::space(std::filesystem::absolute(path_).parent_path(), unknown).available <
            leastSpace) {
        text += ", the disk is full";
    }
    throw RunError(text);
}

void DatabaseFile::run(const std::string& sql) {
    if (sqlite3_exec(handle_, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) {
        fail();
    }
}

std::int64_t DatabaseFile::integer(const std::string& sql) {
    Statement statement(*this, sql);
    statement.begin();
    return statement.next() ? statement.integer(0) : 0;
}

std::string DatabaseFile::text(const std::string& sql) {
    Statement statement(*this, sql);
    statement.begin();
    return statement.next() ? statement.text(0) : std::string();
}

Statement::Statement(DatabaseFile& file, const std::string& sql) : file_(file) {
    if (sqlite3_prepare_v2(file.handle(), sql.c_str(), static_cast<int>(sql.size()), &statement_,
                           nullptr) != SQLITE_OK) {
        file.fail();
    }
}

Statement::~Statement() {
    sqlite3_finalize(statement_);
}

void Statement::fail() const {
    file_.fail();
}

void Statement::bind(const std::vector<Cell>& values) {
    sqlite3_reset(statement_);
    for (std::size_t i = 0; i < values.size(); ++i) {
        const int place = static_cast<int>(i) + 1;
        int code = SQLITE_OK;
        if (const auto* number = std::get_if<std::int64_t>(&values[i])) {
            code = sqlite3_bind_int64(statement_, place, *number);
        } else if (const auto* real = std::get_if<double>(&values[i])) {
            code = sqlite3_bind_double(statement_, place, *real);
        } else if (const auto* word = std::get_if<std::string>(&values[i])) {
            code = sqlite3_bind_text64(statement_, place, word->data(), word->size(),
                                       SQLITE_TRANSIENT, SQLITE_UTF8);
        } else {
            code = sqlite3_bind_null(statement_, place);
        }
        if (code != SQLITE_OK) {
            fail();
        }
    }
}

void Statement::run(const std::vector<Cell>& values) {
    bind(values);
    while (next()) {
    }
    sqlite3_reset(statement_);
}

void Statement::begin(const std::vector<Cell>& values) {
    bind(values);
}

bool Statement::next() {
    const int code = sqlite3_step(statement_);
    if (code != SQLITE_ROW && code != SQLITE_DONE) {
        fail();
    }
    return code == SQLITE_ROW;
}

Cell Statement::cell(int column) const {
    switch (sqlite3_column_type(statement_, column)) {
        case SQLITE_NULL:
            return {};
        case SQLITE_INTEGER:
            return static_cast<std::int64_t>(sqlite3_column_int64(statement_, column));
        case SQLITE_FLOAT:
            return sqlite3_column_double(statement_, column);
        default:
            return text(column);
    }
}

std::string Statement::text(int column) const {
    const auto* bytes = static_cast<const char*>(sqlite3_column_blob(statement_, column));
    return bytes == nullptr
               ? std::string()
               : std::string(bytes,
                             static_cast<std::size_t>(sqlite3_column_bytes(statement_, column)));
}

std::int64_t Statement::integer(int column) const {
    return sqlite3_column_int64(statement_, column);
}

int Statement::columns() const {
    return sqlite3_column_count(statement_);
}

}  // namespace orvix::batch
