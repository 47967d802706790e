#include "search/relatives.h"

#include <algorithm>
#include <array>

#include "base/alignment.h"
#include "search/database.h"
#include "search/db.h"

namespace orvix::search {
namespace {

constexpr int leastAligned = 20;

/// 1..26 for a letter of either case, 0 for anything else.
std::size_t letterCode(char letter) {
    if (letter >= 'a' && letter <= 'z') {
        return static_cast<std::size_t>(letter - 'a') + 1;
    }
    return letter >= 'A' && letter <= 'Z' ? static_cast<std::size_t>(letter - 'A') + 1 : 0;
}

/// Counts the pairs of neighbours that a protein has in common with a query, by how far the places
/// are apart: of relatives many lie at one distance, of others a few at each.
class SharedPairs {
  public:
    explicit SharedPairs(std::string_view query) : length_(query.size()) {
        for (std::size_t i = 1; i < query.size(); ++i) {
            places_[pairCode(query, i)].push_back(i);
        }
    }
    /// The greatest count at one distance.
    int atBestDistance(std::string_view protein) {
        counts_.assign(length_ + protein.size(), 0);
        int most = 0;
        for (std::size_t j = 1; j < protein.size(); ++j) {
            for (const std::size_t i : places_[pairCode(protein, j)]) {
                most = std::max(most, ++counts_[i + protein.size() - j]);
            }
        }
        return most;
    }

  private:
    static constexpr std::size_t codes = 27;
    static std::size_t pairCode(std::string_view text, std::size_t second) {
        return letterCode(text[second - 1]) * codes + letterCode(text[second]);
    }
    std::size_t length_;
    std::array<std::vector<std::size_t>, codes * codes> places_;
    std::vector<int> counts_;
};

/// Pairs at one distance that are expected of a relative: a pair stays whole with the square of the
/// identity, over half of the shorter sequence, of which insertions leave a quarter at one
/// distance. Never so few that chance brings them everywhere.
int expectedPairs(double identity, int shorter) {
    const int chance = std::clamp(shorter / 10, 3, 5);
    return std::max(chance, static_cast<int>(0.125 * identity * identity * shorter));
}

}  // namespace

std::vector<Relative> relativesOf(std::string_view sequence, const Database& database,
                                  double identity) {
    std::vector<Relative> found;
    SharedPairs pairs(sequence);
    const DB& rows = database.rows();
    for (const ProteinBlock& block : database.proteins()) {
        const std::string_view protein(&rows.resNames[block.first],
                                       static_cast<std::size_t>(block.last - block.first + 1));
        const auto shorter = static_cast<int>(std::min(protein.size(), sequence.size()));
        if (pairs.atBestDistance(protein) < expectedPairs(identity, shorter)) {
            continue;
        }
        const Alignment alignment = alignLocal(sequence, protein);
        if (alignment.identity() >= identity &&
            alignment.aligned >= std::max(shorter / 2, std::min(leastAligned, shorter))) {
            found.push_back({rows.sources[block.first], alignment.identity(), alignment.aligned});
        }
    }
    std::stable_sort(found.begin(), found.end(),
                     [](const Relative& a, const Relative& b) { return a.identity > b.identity; });
    return found;
}

std::string exclusionText(const std::string& excluded, const std::vector<Relative>& relatives) {
    std::string text = excluded;
    for (const Relative& one : relatives) {
        if (text.find(one.source) == std::string::npos) {
            text += (text.empty() ? "" : " ") + one.source;
        }
    }
    return text;
}

}  // namespace orvix::search
