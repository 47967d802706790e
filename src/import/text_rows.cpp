#include "import/text_rows.h"

#include "base/text.h"
#include "import/shift_text.h"

namespace orvix::importing {

namespace {

bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

}  // namespace

bool TextRows::next() {
    if (rest_.empty()) {
        return false;
    }
    const std::size_t end = rest_.find('\n');
    text_ = rest_.substr(0, end);
    rest_.remove_prefix(end == std::string_view::npos ? rest_.size() : end + 1);
    ++line_;
    splitWords(text_, words_);
    return true;
}

std::string TextRows::shown() const {
    return "line " + std::to_string(line_) + ": " + simplifyWhiteSpace(text_);
}

bool splitResidueWord(std::string_view word, ShiftRow& row) {
    int number = 0;
    if (parseNumber(word, number)) {
        row.number = word;
        return true;
    }
    std::size_t name = 0;
    const std::size_t dot = word.find_first_of(".:");
    if (dot != std::string_view::npos) {
        row.assembly = word.substr(0, dot);
        name = dot + 1;
    } else {
        while (name < word.size() && isDigit(word[name])) {
            ++name;
        }
        row.assembly = word.substr(0, name);
    }
    std::size_t end = name;
    while (end < word.size() && isLetter(word[end])) {
        ++end;
    }
    if (end == name || !parseNumber(word.substr(end), number)) {
        row.assembly.clear();
        return false;
    }
    row.residueName = word.substr(name, end - name);
    row.number = word.substr(end);
    return true;
}

}  // namespace orvix::importing
