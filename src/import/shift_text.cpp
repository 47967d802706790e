#include "import/shift_text.h"

#include <unistd.h>
#include <zlib.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "base/numbers.h"
#include "base/run_end.h"
#include "base/text.h"

namespace orvix::importing {

namespace {

// One pass in place: the text may be large.
void unifyLineEnds(std::string& text) {
    std::size_t out = 0;
    for (std::size_t in = 0; in < text.size(); ++in) {
        char c = text[in];
        if (c == '\r') {
            if (in + 1 < text.size() && text[in + 1] == '\n') {
                continue;
            }
            c = '\n';
        }
        text[out++] = c;
    }
    text.resize(out);
}

std::string fold(std::string_view text, char first, char last, int shift) {
    std::string folded(text);
    for (char& c : folded) {
        if (c >= first && c <= last) {
            c = static_cast<char>(c + shift);
        }
    }
    return folded;
}

// Text of 16 bits a character, told by its mark or by the zeros that plain letters have in it.
bool isUtf16(const std::string& text, bool& littleEndian) {
    if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) {
        littleEndian = text[0] == '\xFF';
        return true;
    }
    constexpr std::size_t looked = 512;
    std::array<std::size_t, 2> zeros{};
    const std::size_t end = std::min(text.size(), looked) & ~std::size_t{1};
    for (std::size_t i = 0; i < end; ++i) {
        zeros[i % 2] += text[i] == '\0' ? 1U : 0U;
    }
    littleEndian = zeros[1] > zeros[0];
    return end >= 8 && zeros[littleEndian ? 1 : 0] * 4 > end && zeros[littleEndian ? 0 : 1] == 0;
}

void appendUtf8(std::string& out, unsigned code) {
    const auto add = [&out](unsigned byte) { out += static_cast<char>(byte); };
    if (code < 0x80) {
        add(code);
    } else if (code < 0x800) {
        add(0xC0 | code >> 6);
        add(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        add(0xE0 | code >> 12);
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    } else {
        add(0xF0 | code >> 18);
        add(0x80 | (code >> 12 & 0x3F));
        add(0x80 | (code >> 6 & 0x3F));
        add(0x80 | (code & 0x3F));
    }
}

std::string utf16ToUtf8(const std::string& text, bool littleEndian) {
    constexpr unsigned replacement = 0xFFFD;
    const auto unit = [&](std::size_t at) {
        const unsigned a = static_cast<unsigned char>(text[at]);
        const unsigned b = static_cast<unsigned char>(text[at + 1]);
        return littleEndian ? b << 8 | a : a << 8 | b;
    };
    std::string out;
    out.reserve(text.size() / 2);
    for (std::size_t at = 0; at + 1 < text.size(); at += 2) {
        unsigned code = unit(at);
        if (code >= 0xD800 && code < 0xE000) {
            const unsigned low = at + 3 < text.size() ? unit(at + 2) : 0;
            if (code < 0xDC00 && low >= 0xDC00 && low < 0xE000) {
                code = 0x10000 + ((code - 0xD800) << 10) + (low - 0xDC00);
                at += 2;
            } else {
                code = replacement;
            }
        }
        appendUtf8(out, code);
    }
    return out;
}

gzFile openShiftFile(const std::string& path) {
    if (path != standardInput) {
        return gzopen(path.c_str(), "rb");
    }
    const int copy = dup(STDIN_FILENO);
    gzFile file = copy < 0 ? nullptr : gzdopen(copy, "rb");
    if (file == nullptr && copy >= 0) {
        close(copy);
    }
    return file;
}

}  // namespace

std::string readShiftText(const std::string& path, std::size_t limit) {
    // zlib hands plain files through as they are.
    const std::unique_ptr<gzFile_s, int (*)(gzFile)> file(openShiftFile(path), gzclose);
    if (!file) {
        throw InputRejected(path + ": can't be opened for reading");
    }
    std::string text;
    std::array<char, 1 << 16> block;
    for (;;) {
        const int count = gzread(file.get(), block.data(), static_cast<unsigned>(block.size()));
        int code = Z_OK;
        const char* reason = gzerror(file.get(), &code);
        if (count < 0 || (code != Z_OK && code != Z_STREAM_END)) {
            throw InputRejected(
                path + ": can't be read: " + (code == Z_ERRNO ? "no readable file" : reason));
        }
        if (count == 0) {
            break;
        }
        if (text.size() + static_cast<std::size_t>(count) > limit) {
            throw InputRejected(path + ": holds more than " + std::to_string(limit >> 20) +
                                " MiB of text, more than a file of this kind should");
        }
        text.append(block.data(), static_cast<std::size_t>(count));
    }
    if (bool littleEndian = false; isUtf16(text, littleEndian)) {
        text = utf16ToUtf8(text, littleEndian);
    }
    if (text.starts_with("\xEF\xBB\xBF")) {
        text.erase(0, 3);
    }
    unifyLineEnds(text);
    return text;
}

std::string atLine(const std::string& path, int line, const std::string& text) {
    return path + ":" + std::to_string(line) + ": " + text;
}

std::string foldLower(std::string_view text) {
    return fold(text, 'A', 'Z', 'a' - 'A');
}
std::string foldUpper(std::string_view text) {
    return fold(text, 'a', 'z', 'A' - 'a');
}

bool isMissing(std::string_view value) {
    return value.empty() || value == "." || value == "?";
}

bool parseNumber(std::string_view text, int& number) {
    const std::size_t sign = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    const std::string_view digits = text.substr(sign);
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), isDigit)) {
        return false;
    }
    const int value = textToInt(text);
    if (value < -99999 || value > 99999) {
        return false;
    }
    number = value;
    return true;
}

bool parseValue(std::string_view text, double& value) {
    // Only decimals: the C reader would also take hexadecimal, "inf" and "nan".
    if (text.empty() || text.find_first_not_of("0123456789+-.eE") != std::string_view::npos) {
        return false;
    }
    double read = 0.0;
    const char* end = text.data() + text.size();
    if (readDouble(text.data(), end, read) != end || !std::isfinite(read)) {
        return false;
    }
    value = read;
    return true;
}

}  // namespace orvix::importing
