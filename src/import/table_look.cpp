#include <algorithm>
#include <map>

#include "base/run_end.h"
#include "base/text.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/text_rows.h"

namespace orvix::importing {

namespace {

constexpr int mostTold = 10;

struct TableColumns {
    std::size_t residue = 0;
    std::size_t atom = 0;
    std::size_t shift = 0;
    std::size_t count = 0;

    TableColumns() = default;

    explicit TableColumns(const std::vector<std::string_view>& vars) : count(vars.size() - 1) {
        for (std::size_t i = 1; i < vars.size(); ++i) {
            residue = vars[i] == "RESID" ? i - 1 : residue;
            atom = vars[i] == "ATOMNAME" ? i - 1 : atom;
            shift = vars[i] == "SHIFT" ? i - 1 : shift;
        }
    }
};

std::string shownWords(const TextRows& rows) {
    return simplifyWhiteSpace(rows.text());
}

}  // namespace

ImportReport lookAtShiftTable(std::string_view text, const std::string& path) {
    ImportReport report;
    std::map<std::pair<std::string, std::string>, std::pair<std::string, int>> seen;
    int told = 0;
    const auto tell = [&](const std::string& what) {
        if (++told <= mostTold) {
            report.warn(what);
        }
    };
    TableColumns columns;
    TextRows rows(text);
    while (rows.next()) {
        const auto& words = rows.words();
        if (words.empty() || words[0].starts_with('#') || equalsFolded(words[0], "DATA") ||
            equalsFolded(words[0], "REMARK") || equalsFolded(words[0], "FORMAT")) {
            continue;
        }
        if (equalsFolded(words[0], "VARS")) {
            columns = TableColumns(words);
            continue;
        }
        if (columns.count == 0) {
            continue;
        }
        const std::string line = std::to_string(rows.line());
        if (words.size() != columns.count) {
            tell("line " + line + " has " + std::to_string(words.size()) +
                 " words where the table has " + std::to_string(columns.count) +
                 " columns: " + shownWords(rows));
        }
        if (words.size() <= std::max({columns.residue, columns.atom, columns.shift})) {
            continue;
        }
        const std::string value(words[columns.shift]);
        if (value.find(',') != std::string::npos) {
            std::string point = value;
            point[point.find(',')] = '.';
            throw InputRejected(atLine(
                path, rows.line(),
                "the shift " + value + " has a decimal comma; write it with a point, " + point));
        }
        const std::pair<std::string, std::string> key(words[columns.residue], words[columns.atom]);
        const auto [first, fresh] = seen.emplace(key, std::pair(value, rows.line()));
        if (!fresh) {
            const bool equal = first->second.first == value;
            const std::string before = std::to_string(first->second.second);
            tell("line " + line + " gives " + key.first + " " + key.second +
                 " a second time, after line " + before +
                 (equal ? "" : ": " + first->second.first + ", then " + value));
        }
    }
    if (told > mostTold) {
        report.warn("and " + std::to_string(told - mostTold) + " more rows like these");
    }
    warnOfCutLine(text, report);
    return report;
}

}  // namespace orvix::importing
