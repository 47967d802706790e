// Tables of a store as text files.
#include <charconv>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <nlohmann/json.hpp>

#include "base/run_end.h"
#include "batch/collect.h"
#include "batch/store.h"

namespace orvix::batch {
namespace {

/// The shortest decimal that gives the number back.
std::string numberText(double value) {
    char text[40];
    const auto end = std::to_chars(text, text + sizeof text, value);
    return {text, end.ptr};
}

std::string csvField(const Cell& cell) {
    if (const auto* whole = std::get_if<std::int64_t>(&cell)) {
        return std::to_string(*whole);
    }
    if (const auto* number = std::get_if<double>(&cell)) {
        return numberText(*number);
    }
    const auto* text = std::get_if<std::string>(&cell);
    if (text == nullptr || text->find_first_of(",\"\r\n") == std::string::npos) {
        return text == nullptr ? std::string() : *text;
    }
    std::string quoted = "\"";
    for (const char c : *text) {
        quoted += c == '"' ? "\"\"" : std::string(1, c);
    }
    return quoted + '"';
}

std::string jsonField(const Cell& cell) {
    if (std::holds_alternative<std::monostate>(cell)) {
        return "null";
    }
    if (const auto* text = std::get_if<std::string>(&cell)) {
        return nlohmann::json(*text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
    }
    return csvField(cell);
}

/// A text file that takes its name when it is whole.
class TableFile {
  public:
    explicit TableFile(std::string path)
        : path_(std::move(path)), work_(path_ + ".part"), file_(std::fopen(work_.c_str(), "wbe")) {
        if (file_ == nullptr) {
            fail();
        }
    }
    ~TableFile() {
        if (file_ != nullptr) {
            std::fclose(file_);
            std::remove(work_.c_str());
        }
    }
    TableFile(const TableFile&) = delete;
    TableFile& operator=(const TableFile&) = delete;

    void write(const std::string& text) {
        if (std::fwrite(text.data(), 1, text.size(), file_) != text.size()) {
            fail();
        }
    }
    void publish() {
        std::FILE* const file = file_;
        file_ = nullptr;
        if (std::fclose(file) != 0 || std::rename(work_.c_str(), path_.c_str()) != 0) {
            const int problem = errno;
            std::remove(work_.c_str());
            errno = problem;
            fail();
        }
    }

  private:
    [[noreturn]] void fail() const {
        throw RunError(path_ + ": can't be written: " + std::strerror(errno));
    }
    std::string path_, work_;
    std::FILE* file_;
};

class TableExport {
  public:
    TableExport(const StoreTable& table, ExportFormat format, const std::string& directory)
        : table_(table),
          format_(format),
          file_(directory + "/" + table.name + (format == ExportFormat::csv ? ".csv" : ".jsonl")) {
        if (format == ExportFormat::csv) {
            std::string line;
            for (const StoreColumn& column : table.columns) {
                line += (line.empty() ? "" : ",") + column.name;
            }
            file_.write(line + "\n");
        }
    }
    void write(const Statement& row) {
        const bool csv = format_ == ExportFormat::csv;
        std::string line = csv ? "" : "{";
        for (std::size_t i = 0; i < table_.columns.size(); ++i) {
            const Cell cell = row.cell(static_cast<int>(i));
            line += i > 0 ? "," : "";
            line += csv ? csvField(cell) : "\"" + table_.columns[i].name + "\":" + jsonField(cell);
        }
        file_.write(line + (csv ? "\n" : "}\n"));
    }
    void publish() { file_.publish(); }

  private:
    const StoreTable& table_;
    ExportFormat format_;
    TableFile file_;
};

void exportTable(DatabaseFile& store, const StoreTable& table, ExportFormat format,
                 const std::string& directory) {
    TableExport out(table, format, directory);
    Statement proteins(store, "SELECT name FROM proteins ORDER BY job, name");
    Statement rows(store, "SELECT " + table.columnList() + " FROM " + table.name + " WHERE " +
                              table.columns[0].name + " = ? ORDER BY " + table.keyList());
    proteins.begin();
    while (proteins.next()) {
        rows.begin({proteins.text(0)});
        while (rows.next()) {
            out.write(rows);
        }
    }
    out.publish();
}

}  // namespace

void exportStore(const std::string& path, ExportFormat format, const std::string& directory) {
    DatabaseFile store(path, DatabaseFile::Open::existing);
    prepareStore(store);
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    if (error) {
        throw RunError("can't make the directory " + directory + ": " + error.message());
    }
    for (const StoreTable& table : storeTables()) {
        exportTable(store, table, format, directory);
    }
    const StoreTable& failures = failureTable();
    TableExport out(failures, format, directory);
    Statement rows(store, "SELECT " + failures.columnList() + " FROM failures ORDER BY job, name");
    rows.begin();
    while (rows.next()) {
        out.write(rows);
    }
    out.publish();
}

}  // namespace orvix::batch
