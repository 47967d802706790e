#include <algorithm>

#include "import/csv.h"
#include "import/shift_file.h"
#include "import/shift_text.h"
#include "import/text_rows.h"

namespace orvix::importing {

namespace {

// Whether `lower` occurs in the text in any case.
bool containsFolded(std::string_view text, std::string_view lower) {
    const auto same = [](char c, char wanted) {
        return (c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c) == wanted;
    };
    return std::search(text.begin(), text.end(), lower.begin(), lower.end(), same) != text.end();
}

// A line with nothing but a tag: a STAR file that has lost its `loop_`.
bool hasTagLine(std::string_view text) {
    TextRows rows(text);
    while (rows.next()) {
        const auto& words = rows.words();
        if (!words.empty() && words[0].starts_with('_') &&
            (words.size() == 1 || words[1].starts_with('#')) &&
            words[0].find_first_of(",;") == std::string_view::npos) {
            return true;
        }
    }
    return false;
}

bool isXeasyRow(const std::vector<std::string_view>& words) {
    double shift = 0.0;
    double error = 0.0;
    int index = 0;
    int residue = 0;
    return words.size() >= 5 && parseNumber(words[0], index) && parseValue(words[1], shift) &&
           parseValue(words[2], error) && !parseNumber(words[3], index) &&
           parseNumber(words[4], residue);
}

}  // namespace

std::string findFormat(std::string_view text) {
    const bool loops = containsFolded(text, "loop_") || hasTagLine(text);
    for (const auto& [tag, format] :
         {std::pair{"_nef_chemical_shift.", "nef"}, std::pair{"_atom_chem_shift.", "nmrstar3"},
          std::pair{"_chem_shift_value", "nmrstar21"}}) {
        if (loops && containsFolded(text, tag)) {
            return format;
        }
    }
    constexpr int mostLooked = 20;
    int looked = 0;
    int listRows = 0;
    int viewRows = 0;
    TextRows rows(text);
    while (rows.next()) {
        const auto& words = rows.words();
        if (words.empty()) {
            continue;
        }
        const auto has = [&words](std::string_view name) {
            return std::any_of(words.begin(), words.end(),
                               [&](std::string_view word) { return foldLower(word) == name; });
        };
        if (has("group") && has("atom") && has("shift")) {
            return "sparky";
        }
        if (isXeasyRow(words)) {
            return "xeasy";
        }
        if (words[0].starts_with('#') || words[0].starts_with('!')) {
            continue;
        }
        ++looked;
        listRows += isListRow(words) ? 1 : 0;
        viewRows += isNmrViewRow(words) ? 1 : 0;
        if (looked == mostLooked) {
            break;
        }
    }
    if (CsvColumns::findHeader(text).first > 0) {
        return "csv";
    }
    if (2 * viewRows > looked) {
        return "nmrview";
    }
    if (2 * listRows > looked) {
        return "rows";
    }
    return {};
}

}  // namespace orvix::importing
