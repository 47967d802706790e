#include "tables/shift_table_reports.h"

#include <ostream>

#include "base/streams.h"

namespace orvix::tables {

void giveNotice(GDB2& table, const std::string& text) {
    orvix::err() << text;
    table.noticeText += text;
}

bool failLoad(GDB2& table, const std::string& text) {
    orvix::err() << text;
    table.errorText += text;
    return false;
}

std::string padLeft(const std::string& text, std::size_t width) {
    return text.size() < width ? std::string(width - text.size(), ' ') + text : text;
}

bool ResidueMismatches::report(int resid, const std::string& expectedSource,
                               const std::string& expected, const std::string& nameSource,
                               const std::string& name) {
    if (!met_.emplace(resid, name).second) {
        return false;
    }
    residues_.insert(resid);
    giveNotice(table_, format_ + " Format Notice: Residue type mismatch, residue " +
                           padLeft(std::to_string(resid), 3) + " " + expectedSource + ": " +
                           padLeft(expected, 1) + " " + nameSource + ": " + padLeft(name, 1) +
                           ".\n");
    return true;
}

bool ResidueMismatches::conclude() {
    const int total = residueCount();
    if (total == 0) {
        return true;
    }
    const std::string figures =
        padLeft(std::to_string(total), 4) + " (" + padLeft(std::to_string(limit), 2) + " Max).\n";
    if (total >= limit) {
        return failLoad(table_,
                        format_ + " Format Errors: Too many sequence mismatches, " + figures);
    }
    giveNotice(table_, format_ + " Format Notice: Sequence mismatches, " + figures);
    return true;
}

}  // namespace orvix::tables
