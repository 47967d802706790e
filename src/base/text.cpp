#include "base/text.h"

#include <algorithm>
#include <climits>
#include <cstdint>

namespace orvix {

void splitWords(std::string_view text, std::vector<std::string_view>& words) {
    words.clear();
    const char* p = text.data();
    const char* const end = p + text.size();
    while (true) {
        while (p < end && isSpace(*p)) {
            ++p;
        }
        if (p == end) {
            return;
        }
        const char* const start = p;
        while (p < end && !isSpace(*p)) {
            ++p;
        }
        words.emplace_back(start, static_cast<std::size_t>(p - start));
    }
}

std::string joinWords(const std::vector<std::string_view>& words, std::size_t first) {
    std::string joined;
    for (std::size_t i = first; i < words.size(); ++i) {
        if (i > first) {
            joined += ' ';
        }
        joined += words[i];
    }
    return joined;
}

std::string simplifyWhiteSpace(std::string_view text) {
    std::vector<std::string_view> words;
    splitWords(text, words);
    return joinWords(words, 0);
}

std::vector<std::string> splitWhiteSpace(std::string_view text) {
    if (text.empty()) {
        return {std::string()};
    }
    std::vector<std::string_view> words;
    splitWords(text, words);
    return {words.begin(), words.end()};
}

std::vector<std::string> split(std::string_view separator, std::string_view text) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (start < text.size()) {
        std::size_t stop = separator.empty() ? std::string_view::npos : text.find(separator, start);
        stop = std::min(stop, text.size());
        if (stop > start) {
            pieces.emplace_back(text.substr(start, stop - start));
        }
        start = stop + separator.size();
    }
    return pieces;
}

std::string section(std::string_view text, char separator, int start, int end) {
    std::string joined;
    const std::vector<std::string> pieces = split(std::string_view(&separator, 1), text);
    const int count = static_cast<int>(pieces.size());
    for (int i = std::max(start, 0); i <= end && i < count; ++i) {
        joined += pieces[static_cast<std::size_t>(i)];
        if (i < end) {
            joined += separator;
        }
    }
    return joined;
}

int countOccurrences(std::string_view text, std::string_view part) {
    int count = 0;
    for (std::size_t at = text.find(part); at != std::string_view::npos;
         at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

int countOccurrences(std::string_view text, char c) {
    return static_cast<int>(std::count(text.begin(), text.end(), c));
}

bool equalsFolded(std::string_view word, std::string_view upper) {
    return std::equal(word.begin(), word.end(), upper.begin(), upper.end(), [](char w, char u) {
        return (w >= 'a' && w <= 'z' ? static_cast<char>(w - 'a' + 'A') : w) == u;
    });
}

bool checkFormat(std::string_view spec) {
    while (!spec.empty() && isSpace(spec.front())) {
        spec.remove_prefix(1);
    }
    while (!spec.empty() && isSpace(spec.back())) {
        spec.remove_suffix(1);
    }
    if (spec.size() < 2 || spec.front() != '%') {
        return false;
    }
    const char type = spec.back();
    const std::string_view middle = spec.substr(1, spec.size() - 2);
    return (type == 's' || type == 'd' || type == 'f') &&
           std::all_of(middle.begin(), middle.end(),
                       [](char c) { return c == '-' || c == '.' || isDigit(c); });
}

std::vector<std::string> splitSpecifiers(std::string_view line, int count) {
    // The blank makes sure that there is a piece in front of the first percent sign.
    std::string text(1, ' ');
    text += line;
    const std::vector<std::string> pieces = split("%", text);
    std::vector<std::string> specifiers;
    for (std::size_t i = 1; i <= static_cast<std::size_t>(std::max(count, 0)); ++i) {
        specifiers.emplace_back(1, '%');
        if (i < pieces.size()) {
            specifiers.back() += pieces[i];
        }
    }
    return specifiers;
}

void appendSequence(std::string_view sequence, int firstResid,
                    std::map<int, std::string>& residues) {
    for (const char c : sequence) {
        if (c == ' ') {
            continue;
        }
        const bool known = (c >= 'A' && c <= 'Y') || c == 'c' || c == 'p' || c == 'h' || c == '?';
        // A first number near the end of int leaves the rest of the sequence on the last number.
        const std::int64_t wanted = firstResid + static_cast<std::int64_t>(residues.size());
        const int resid = static_cast<int>(std::min<std::int64_t>(wanted, INT_MAX));
        residues.insert_or_assign(residues.end(), resid, std::string(1, known ? c : 'X'));
    }
}

}  // namespace orvix
