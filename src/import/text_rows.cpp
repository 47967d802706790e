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

namespace {

// "A.7.GLY" and "A.7.GLY.CA", also with the kind of object in front, as "NR:A.7.GLY".
bool splitDotted(std::string_view word, ShiftRow& row) {
    if (word.size() > 3 && word[2] == ':') {
        word.remove_prefix(3);
    }
    std::vector<std::string_view> parts;
    while (true) {
        const std::size_t dot = word.find('.');
        parts.push_back(word.substr(0, dot));
        if (dot == std::string_view::npos) {
            break;
        }
        word.remove_prefix(dot + 1);
    }
    int number = 0;
    if (parts.size() < 3 || parts.size() > 4 || !parseNumber(parts[1], number)) {
        return false;
    }
    row.assembly = parts[0];
    row.number = parts[1];
    row.residueName = parts[2];
    if (parts.size() == 4 && row.atom.empty()) {
        row.atom = parts[3];
    }
    return true;
}

std::size_t digitsFrom(std::string_view word, std::size_t at) {
    while (at < word.size() && isDigit(word[at])) {
        ++at;
    }
    return at;
}

}  // namespace

bool ResidueWords::split(std::string_view word, ShiftRow& row) {
    int number = 0;
    if (parseNumber(word, number)) {
        row.number = word;
        ++plain_;
        return true;
    }
    if (splitDotted(word, row)) {
        ++plain_;
        return true;
    }
    std::size_t name = 0;
    std::string_view molecule;
    const std::size_t dot = word.find_first_of(".:");
    if (dot != std::string_view::npos && dot + 1 < word.size() && isLetter(word[dot + 1]) &&
        word.find_first_of("0123456789", dot) != std::string_view::npos) {
        molecule = word.substr(0, dot);
        name = dot + 1;
    } else {
        name = digitsFrom(word, 0);
        molecule = word.substr(0, name);
    }
    std::size_t end = name;
    while (end < word.size() && isLetter(word[end])) {
        ++end;
    }
    if (end == name) {
        return false;
    }
    if (end == word.size() && parseNumber(molecule, number)) {  // "7GLY"
        row.number = molecule;
        row.residueName = word.substr(name);
        ++plain_;
        return true;
    }
    std::size_t digits = end;
    if (digits < word.size() && std::string_view("-_ +").find(word[digits]) != std::string::npos) {
        ++digits;
    }
    const std::size_t atom = digitsFrom(word, digits);
    const bool hyphen = digits > end && word[end] == '-';
    const std::string_view numberText =
        word.substr(hyphen ? end : digits, atom - (hyphen ? end : digits));
    std::string_view rest = word.substr(atom);
    if (!rest.empty() && std::string_view("-_.: ").find(rest[0]) != std::string::npos) {
        rest.remove_prefix(1);
    }
    if (atom == digits || !parseNumber(numberText, number) || word.back() == '-' ||
        (atom < word.size() && (rest.empty() || !isLetter(rest[0]) || !row.atom.empty()))) {
        return false;
    }
    ++(hyphen ? hyphens_ : plain_);
    if (!molecule.empty()) {
        row.assembly = molecule;
    }
    row.residueName = word.substr(name, end - name);
    row.number = numberText;
    if (!rest.empty()) {
        row.atom = rest;
    }
    return true;
}

void ResidueWords::settle(std::vector<ShiftRow>& rows) const {
    if (hyphens_ == 0 || plain_ > 0) {
        return;
    }
    for (ShiftRow& row : rows) {
        if (row.number.starts_with('-')) {
            row.number.erase(0, 1);
        }
    }
}

}  // namespace orvix::importing
