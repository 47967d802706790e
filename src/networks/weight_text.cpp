#include "networks/weight_text.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstring>
#include <map>

#include "base/numbers.h"
#include "base/text.h"
#include "tables/gdb2.h"

namespace orvix::networks {
namespace {

constexpr std::size_t blockSize = std::size_t{64} << 10;
constexpr std::size_t headerBlock = std::size_t{64} << 10;
constexpr std::size_t headerLimit = std::size_t{1} << 20;
constexpr std::size_t lineLimit = std::size_t{8} << 20;

constexpr double powersOfTen[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                  1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
constexpr std::ptrdiff_t exactDigits = 15;  // ten to this power is below 2^53

inline bool isWhite(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

inline unsigned digitOf(char c) {
    return static_cast<unsigned>(static_cast<unsigned char>(c)) - '0';
}

// Reads as much as there is, up to `count` bytes from `offset`.
std::size_t readAt(int descriptor, char* buffer, std::size_t count, std::size_t offset) {
    std::size_t got = 0;
    while (got < count) {
        const ssize_t n =
            ::pread(descriptor, buffer + got, count - got, static_cast<off_t>(offset + got));
        if (n <= 0) {
            break;
        }
        got += static_cast<std::size_t>(n);
    }
    return got;
}

// The word at `p`, which white space ends: up to 15 digits with at most one point make one exact
// division, all else goes to the general reader. Returns the end of the word.
inline const char* readWord(const char* p, double& value) {
    const char* const word = p;
    const bool negative = *p == '-';
    p += negative ? 1 : 0;
    const char* const digits = p;
    std::uint64_t mantissa = 0;
    for (unsigned d = digitOf(*p); d < 10; d = digitOf(*++p)) {
        mantissa = mantissa * 10 + d;
    }
    std::ptrdiff_t length = p - digits;
    std::ptrdiff_t places = 0;
    if (*p == '.') {
        const char* const fraction = ++p;
        // Taking eight digits at a time was no faster: most words have six.
        for (unsigned d = digitOf(*p); d < 10; d = digitOf(*++p)) {
            mantissa = mantissa * 10 + d;
        }
        places = p - fraction;
        length += places;
    }
    if (length > 0 && length <= exactDigits && isWhite(*p)) {
        const double size = static_cast<double>(mantissa) / powersOfTen[places];
        // Half of all weights are negative in no order: the sign must not be a branch.
        value = std::bit_cast<double>(std::bit_cast<std::uint64_t>(size) ^
                                      static_cast<std::uint64_t>(negative) << 63);
        return p;
    }
    while (!isWhite(*p)) {
        ++p;
    }
    value = textToDouble(std::string_view(word, static_cast<std::size_t>(p - word)));
    return p;
}

// A line that would give a table new columns.
bool changesTable(const char* word, const char* end) {
    if (*word != 'v' && *word != 'V' && *word != 'f' && *word != 'F') {
        return false;
    }
    const char* stop = word;
    while (stop < end && !isWhite(*stop)) {
        ++stop;
    }
    const std::string_view text(word, static_cast<std::size_t>(stop - word));
    return equalsFolded(text, "VARS") || equalsFolded(text, "FORMAT");
}

}  // namespace

WeightText::~WeightText() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool WeightText::open(const std::string& path, WeightRules rules, int columns) {
    rules_ = rules;
    columns_ = columns > 0 ? static_cast<std::size_t>(columns) : 0;
    // Asked before the file is opened: opening a pipe would take its reader's place.
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0 || !S_ISREG(status.st_mode)) {
        return false;
    }
    descriptor_ = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor_ < 0) {
        return false;
    }
    size_ = static_cast<std::size_t>(status.st_size);
    return readHeader();
}

bool WeightText::readHeader() {
    std::vector<char> buffer(std::min(size_, headerBlock));
    std::size_t got = readAt(descriptor_, buffer.data(), buffer.size(), 0);
    std::size_t at = 0;
    bool named = false;
    std::vector<std::string_view> words;
    while (true) {
        const std::string_view rest(buffer.data() + at, got - at);
        const std::size_t feed = rest.find('\n');
        if (feed == std::string_view::npos) {
            if (buffer.size() >= std::min(size_, headerLimit) || got < buffer.size()) {
                return false;
            }
            buffer.resize(std::min({size_, headerLimit, buffer.size() * 4}));
            got += readAt(descriptor_, buffer.data() + got, buffer.size() - got, got);
            continue;
        }
        const std::string_view line = rest.substr(0, feed);
        at += feed + 1;
        splitWords(line, words);
        if (words.empty()) {
            continue;
        }
        if (equalsFolded(words[0], "VARS")) {
            if (named || !takeNames(line)) {
                return false;
            }
            named = true;
        } else if (equalsFolded(words[0], "FORMAT")) {
            body_ = at;
            return named && takeFormats(line);
        }
    }
}

bool WeightText::takeNames(std::string_view line) {
    std::vector<std::string_view> words;
    splitWords(line, words);
    words.erase(words.begin());
    if (words.empty() || (rules_ == WeightRules::typed && words.size() > GDB2::maxColumns)) {
        return false;
    }
    // Of two columns of one name the later one counts.
    std::map<std::string_view, std::size_t> places;
    for (std::size_t i = 0; i < words.size(); ++i) {
        places[words[i]] = i;
    }
    const std::size_t none = columns_ + 1;
    slots_.assign(words.size(), none);
    for (std::size_t c = 0; c <= columns_; ++c) {
        const auto found = places.find(c < columns_ ? std::to_string(c + 1) : "b");
        if (found != places.end()) {
            slots_[found->second] = c;
        }
    }
    return true;
}

bool WeightText::takeFormats(std::string_view line) {
    std::vector<std::string_view> words;
    splitWords(line, words);
    const std::size_t behind =
        static_cast<std::size_t>(words[0].data() + words[0].size() - line.data());
    const std::string_view text = line.substr(behind);
    const int count = static_cast<int>(slots_.size());
    if (countOccurrences(text, '%') != count) {
        return false;
    }
    const std::vector<std::string> specifiers = splitSpecifiers(text, count);
    for (std::size_t i = 0; i < slots_.size(); ++i) {
        if (i >= specifiers.size() || !checkFormat(specifiers[i])) {
            return false;
        }
        const bool integer = specifiers[i].find('d') != std::string::npos;
        if (integer && rules_ == WeightRules::typed && slots_[i] <= columns_) {
            return false;
        }
    }
    return true;
}

std::size_t WeightText::lineStart(std::size_t from) const {
    std::vector<char> buffer(std::size_t{64} << 10);
    for (std::size_t at = from; at < size_;) {
        const std::size_t got = readAt(descriptor_, buffer.data(), buffer.size(), at);
        if (got == 0) {
            break;
        }
        const void* feed = std::memchr(buffer.data(), '\n', got);
        if (feed != nullptr) {
            return at + static_cast<std::size_t>(static_cast<const char*>(feed) - buffer.data()) +
                   1;
        }
        at += got;
    }
    return size_;
}

std::vector<WeightText::Part> WeightText::split(int count) const {
    std::vector<Part> parts;
    std::size_t begin = body_;
    for (int i = 1; i < count; ++i) {
        const std::size_t goal =
            body_ + bodySize() / static_cast<std::size_t>(count) * static_cast<std::size_t>(i);
        if (goal <= begin) {
            continue;
        }
        const std::size_t end = lineStart(goal - 1);
        parts.push_back({begin, end});
        begin = end;
    }
    parts.push_back({begin, size_});
    return parts;
}

bool WeightText::readRows(const Part& part, WeightTable& table) const {
    // One slot more than there are values takes what no column asks for.
    std::vector<double> cells(columns_ + 2, rules_ == WeightRules::typed ? 9999.0 : 0.0);
    // One more for a line feed behind the last line.
    std::size_t room = blockSize;
    std::vector<char> buffer(room + 1);
    table.columns = columns_;
    std::size_t prepared = 0;  // rows that there is room for
    std::size_t kept = 0;
    std::size_t at = part.begin;
    while (true) {
        const std::size_t wanted = std::min(room - kept, part.end - at);
        const std::size_t got = readAt(descriptor_, buffer.data() + kept, wanted, at);
        at += got;
        std::size_t filled = kept + got;
        const bool last = at >= part.end || got < wanted;
        if (last && filled > 0 && buffer[filled - 1] != '\n') {
            buffer[filled++] = '\n';
        }
        std::size_t whole = filled;
        while (whole > 0 && buffer[whole - 1] != '\n') {
            --whole;
        }
        if (!parseLines(buffer.data(), buffer.data() + whole, cells, table)) {
            return false;
        }
        if (last) {
            return true;
        }
        const std::size_t rows = table.rowCount();
        if (rows > prepared) {
            // As many as the rest should hold by what a row has taken so far, and some more.
            const std::size_t rest = rows * (part.end - at) / (at - part.begin);
            table.reserve(rest + rest / 16 + 2);
            prepared = rows + rest;
        }
        kept = filled - whole;
        std::memmove(buffer.data(), buffer.data() + whole, kept);
        if (kept > room / 2) {
            if (room > lineLimit) {
                return false;
            }
            room *= 2;
            buffer.resize(room + 1);
        }
    }
}

// `end` is behind a line feed, which stops every inner loop.
bool WeightText::parseLines(const char* p, const char* end, std::vector<double>& cells,
                            WeightTable& table) const {
    const std::size_t count = slots_.size();
    const std::size_t none = columns_ + 1;
    const bool narrow = rules_ == WeightRules::typed;
    while (p < end) {
        std::size_t words = 0;
        while (true) {
            while (isWhite(*p) && *p != '\n') {
                ++p;
            }
            if (*p == '\n') {
                break;
            }
            if (words == 0 && changesTable(p, end)) {
                return false;
            }
            if (words < count && slots_[words] != none) {
                double value = 0.0;
                p = readWord(p, value);
                cells[slots_[words]] =
                    narrow ? static_cast<double>(static_cast<float>(value)) : value;
            } else {
                while (!isWhite(*p)) {
                    ++p;
                }
            }
            ++words;
        }
        ++p;
        if (words == count) {
            table.addRow({cells.data(), columns_}, cells[columns_]);
        }
    }
    return true;
}

}  // namespace orvix::networks
