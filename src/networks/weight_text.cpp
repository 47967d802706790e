#include "networks/weight_text.h"

#include <algorithm>
#include <atomic>
#include <deque>
#include <filesystem>
#include <iterator>
#include <map>
#include <mutex>

#include "base/decimal.h"
#include "base/missing.h"
#include "base/numbers.h"
#include "base/parallel.h"
#include "base/text.h"
#include "tables/gdb2.h"

namespace orvix::networks {
namespace {

constexpr std::size_t lineLimit = std::size_t{8} << 20;

// A thread is worth its start from about this much text on.
constexpr std::size_t textPerThread = std::size_t{4} << 20;

// A line that would give a table new columns.
bool changesTable(const char* word, const char* end) {
    if (*word != 'v' && *word != 'V' && *word != 'f' && *word != 'F') {
        return false;
    }
    const char* stop = word;
    while (stop < end && !isSpace(*stop)) {
        ++stop;
    }
    const std::string_view text(word, static_cast<std::size_t>(stop - word));
    return equalsFolded(text, "VARS") || equalsFolded(text, "FORMAT");
}

}  // namespace

std::optional<WeightTable> WeightText::read(const std::string& path, int threads) {
    // Asked before the file is opened: opening a pipe would take its reader's place.
    if (!std::filesystem::is_regular_file(path)) {
        return std::nullopt;
    }
    LineBlocks text(path, lineLimit);
    if (threads <= 0) {
        threads = std::min(availableThreads(), static_cast<int>(text.fileSize() / textPerThread));
    }
    LineBlock first;
    const char* body = text.next(first) ? readHeader(first) : nullptr;
    if (body == nullptr) {
        return std::nullopt;
    }
    // Blocks of rows in the order of the file. One thread keeps all of them in one table.
    std::deque<WeightTable> parts(1);
    std::atomic<bool> good = readRows(body, first.end(), parts[0]);
    const std::size_t rows = parts[0].rowCount();
    const auto rowsOf = [&](std::size_t bytes) {
        return rows * bytes / static_cast<std::size_t>(first.end() - body) + 2;
    };
    if (threads <= 1 && text.fileSize() > first.size()) {
        const std::size_t rest = rowsOf(text.fileSize() - first.size());
        parts[0].reserve(rest + rest / 16);
    }
    std::mutex mutex;
    text.share(
        std::max(1, threads),
        [&](const LineBlock&, std::size_t) {
            const std::lock_guard<std::mutex> hold(mutex);
            if (threads > 1) {
                parts.emplace_back();
            }
            return good.load();
        },
        [&](const LineBlock& block, std::size_t number) {
            std::unique_lock<std::mutex> hold(mutex);
            WeightTable& part = parts[threads > 1 ? number + 1 : 0];
            hold.unlock();
            if (threads > 1) {
                part.columns = columns_;
                part.reserve(rowsOf(block.size()));
            }
            if (!readRows(block.begin(), block.end(), part)) {
                good = false;
            }
        });
    if (!good || text.lineTooLong()) {
        return std::nullopt;
    }
    WeightTable table = std::move(parts[0]);
    for (std::size_t i = 1; i < parts.size(); ++i) {
        std::move(parts[i].blocks.begin(), parts[i].blocks.end(), std::back_inserter(table.blocks));
        table.bias.insert(table.bias.end(), parts[i].bias.begin(), parts[i].bias.end());
    }
    return table;
}

const char* WeightText::readHeader(const LineBlock& block) {
    bool named = false;
    std::vector<std::string_view> words;
    for (const char* p = block.begin(); p < block.end();) {
        const char* const feed = std::find(p, block.end(), '\n');
        const std::string_view line(p, static_cast<std::size_t>(feed - p));
        p = feed + 1;
        splitWords(line, words);
        if (words.empty()) {
            continue;
        }
        if (equalsFolded(words[0], "VARS")) {
            if (named || !takeNames(line)) {
                return nullptr;
            }
            named = true;
        } else if (equalsFolded(words[0], "FORMAT")) {
            return named && takeFormats(line) ? p : nullptr;
        }
    }
    return nullptr;
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

// `end` is behind a line feed, which stops every inner loop.
bool WeightText::readRows(const char* p, const char* end, WeightTable& table) const {
    table.columns = columns_;
    // One slot more than there are values takes what no column asks for.
    const std::size_t none = columns_ + 1;
    std::vector<double> cells(none + 1, rules_ == WeightRules::typed ? missingValue : 0.0);
    const std::size_t count = slots_.size();
    const bool narrow = rules_ == WeightRules::typed;
    while (p < end) {
        std::size_t words = 0;
        while (true) {
            while (isSpace(*p) && *p != '\n') {
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
                const char* const word = p;
                p = readPlainDecimal(word, value);
                if (p == nullptr) {
                    p = std::find_if(word, end, isSpace);
                    value = textToDouble({word, static_cast<std::size_t>(p - word)});
                }
                cells[slots_[words]] =
                    narrow ? static_cast<double>(static_cast<float>(value)) : value;
            } else {
                while (!isSpace(*p)) {
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
