#include "cli/nearest_word.h"

#include <algorithm>

namespace orvix::cli {
namespace {

/// Insertions, deletions, replacements and swaps of neighbours between two words.
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::vector<std::size_t>> steps(a.size() + 1,
                                                std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                steps[i][j] = i + j;
                continue;
            }
            const std::size_t replaced = steps[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
            steps[i][j] = std::min({steps[i - 1][j] + 1, steps[i][j - 1] + 1, replaced});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                steps[i][j] = std::min(steps[i][j], steps[i - 2][j - 2] + 1);
            }
        }
    }
    return steps[a.size()][b.size()];
}

constexpr std::size_t longestWord = 64;

}  // namespace

std::string nearestWord(const std::string& word, const std::vector<std::string>& known) {
    if (word.size() > longestWord) {
        return {};
    }
    std::string nearest;
    std::size_t least = std::max<std::size_t>(1, word.size() / 3) + 1;
    for (const std::string& candidate : known) {
        // A word that was broken off is near too, however much of it is missing.
        const bool begun = word.size() >= 3 && candidate.size() > word.size() &&
                           candidate.compare(0, word.size(), word) == 0;
        const std::size_t distance = begun ? 1 : editDistance(word, candidate);
        if (distance < least) {
            least = distance;
            nearest = candidate;
        }
    }
    return nearest;
}

}  // namespace orvix::cli
