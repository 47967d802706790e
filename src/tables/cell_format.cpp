#include "tables/cell_format.h"

#include <cstdio>

#include "base/numbers.h"
#include "base/text.h"

namespace orvix::tables {
namespace {

// Takes literal text up to a conversion, "%%" being a percent sign.
void takeLiteral(std::string_view& spec, std::string& literal) {
    while (!spec.empty() && (spec[0] != '%' || spec.substr(0, 2) == "%%")) {
        literal += spec[0];
        spec.remove_prefix(spec[0] == '%' ? 2 : 1);
    }
}

// Takes the digits at the front and adds them to `safe`; false when they make more than the widest
// cell.
bool takeNumber(std::string_view& spec, int& number, std::string& safe) {
    number = 0;
    for (; !spec.empty() && isDigit(spec[0]); spec.remove_prefix(1)) {
        number = number * 10 + (spec[0] - '0');
        safe += spec[0];
        if (number > CellFormat::widest) {
            return false;
        }
    }
    return true;
}

// The specifier is one that this unit has made for a number of this type.
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
template <typename Number>
void appendPrinted(std::string& out, const char* spec, Number value) {
    char small[256];
    const int length = std::snprintf(small, sizeof small, spec, value);
    const std::size_t size = length < 0 ? 0 : static_cast<std::size_t>(length);
    if (size < sizeof small) {
        out.append(small, size);
        return;
    }
    const std::size_t old = out.size();
    out.resize(old + size + 1);
    std::snprintf(out.data() + old, size + 1, spec, value);
    out.resize(old + size);
}

}  // namespace

CellFormat::CellFormat(std::string_view spec) {
    for (const char letter : {'s', 'd', 'f'}) {
        if (type_ == '\0' && countOccurrences(spec, letter) == 1) {
            type_ = letter;
        }
    }
    meaningful_ = parse(spec);
    if (!meaningful_) {
        before_.clear();
        after_.clear();
        while (!spec.empty() && isSpace(spec.front())) {
            before_ += spec.front();
            spec.remove_prefix(1);
        }
        while (!spec.empty() && isSpace(spec.back())) {
            after_.insert(after_.begin(), spec.back());
            spec.remove_suffix(1);
        }
    }
}

bool CellFormat::parse(std::string_view spec) {
    takeLiteral(spec, before_);
    if (spec.empty()) {
        return false;
    }
    spec.remove_prefix(1);
    safe_ = "%";
    for (; !spec.empty() && (spec[0] == '-' || spec[0] == '0'); spec.remove_prefix(1)) {
        leftAligned_ = leftAligned_ || spec[0] == '-';
        safe_ += spec[0];
    }
    if (!takeNumber(spec, width_, safe_)) {
        return false;
    }
    if (!spec.empty() && spec[0] == '.') {
        spec.remove_prefix(1);
        safe_ += '.';
        if (!takeNumber(spec, precision_, safe_)) {
            return false;
        }
    }
    if (spec.empty() || spec[0] != type_) {
        return false;
    }
    safe_ += type_;
    spec.remove_prefix(1);
    takeLiteral(spec, after_);
    return spec.empty();
}

void CellFormat::appendCell(std::string& out, std::string_view text) const {
    if (type_ == 's') {
        appendText(out, text);
    } else if (type_ == 'd') {
        appendInt(out, textToInt(text));
    } else if (type_ == 'f') {
        appendReal(out, textToDouble(text));
    }
}

void CellFormat::appendText(std::string& out, std::string_view text) const {
    out += before_;
    if (type_ == 's' && meaningful_) {
        if (precision_ >= 0) {
            text = text.substr(0, static_cast<std::size_t>(precision_));
        }
        const std::size_t width = static_cast<std::size_t>(width_);
        const std::size_t fill = width > text.size() ? width - text.size() : 0;
        out.append(leftAligned_ ? 0 : fill, ' ');
        out += text;
        out.append(leftAligned_ ? fill : 0, ' ');
    } else {
        out += text;
    }
    out += after_;
}

void CellFormat::appendInt(std::string& out, int value) const {
    out += before_;
    appendPrinted(out, type_ == 'd' && meaningful_ ? safe_.c_str() : "%d", value);
    out += after_;
}

void CellFormat::appendReal(std::string& out, double value) const {
    out += before_;
    appendPrinted(out, type_ == 'f' && meaningful_ ? safe_.c_str() : "%f", value);
    out += after_;
}

}  // namespace orvix::tables
