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

// Takes the digits at the front; false when they make more than the widest cell.
bool takeNumber(std::string_view& spec, int& number) {
    number = 0;
    for (; !spec.empty() && isDigit(spec[0]); spec.remove_prefix(1)) {
        number = number * 10 + (spec[0] - '0');
        if (number > CellFormat::widest) {
            return false;
        }
    }
    return true;
}

// snprintf into `out`, whatever the length. `print` is called as print(buffer, size).
template <typename Print>
void appendPrinted(std::string& out, Print print) {
    char small[256];
    const int length = print(small, sizeof small);
    if (length < 0) {
        return;
    }
    const std::size_t size = static_cast<std::size_t>(length);
    if (size < sizeof small) {
        out.append(small, size);
        return;
    }
    const std::size_t old = out.size();
    out.resize(old + size + 1);
    print(out.data() + old, size + 1);
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
    for (; !spec.empty() && (spec[0] == '-' || spec[0] == '0'); spec.remove_prefix(1)) {
        leftAligned_ = leftAligned_ || spec[0] == '-';
        zeroFilled_ = zeroFilled_ || spec[0] == '0';
    }
    if (!takeNumber(spec, width_)) {
        return false;
    }
    if (!spec.empty() && spec[0] == '.') {
        spec.remove_prefix(1);
        if (!takeNumber(spec, precision_)) {
            return false;
        }
    }
    if (spec.empty() || spec[0] != type_) {
        return false;
    }
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
    const bool own = type_ == 'd' && meaningful_;
    const int width = own ? width_ : 0;
    const int precision = own ? precision_ : -1;
    appendPrinted(out, [&](char* to, std::size_t size) {
        if (own && leftAligned_) {
            return std::snprintf(to, size, "%-*.*d", width, precision, value);
        }
        if (own && zeroFilled_ && precision < 0) {
            return std::snprintf(to, size, "%0*d", width, value);
        }
        return std::snprintf(to, size, "%*.*d", width, precision, value);
    });
    out += after_;
}

void CellFormat::appendReal(std::string& out, double value) const {
    out += before_;
    const bool own = type_ == 'f' && meaningful_;
    const int width = own ? width_ : 0;
    const int precision = own ? precision_ : -1;
    appendPrinted(out, [&](char* to, std::size_t size) {
        if (own && leftAligned_) {
            return std::snprintf(to, size, "%-*.*f", width, precision, value);
        }
        if (own && zeroFilled_) {
            return std::snprintf(to, size, "%0*.*f", width, precision, value);
        }
        return std::snprintf(to, size, "%*.*f", width, precision, value);
    });
    out += after_;
}

}  // namespace orvix::tables
