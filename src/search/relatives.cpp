#include "search/relatives.h"

#include <algorithm>
#include <cstdint>

#include "base/alignment.h"
#include "search/database.h"
#include "search/db.h"

namespace orvix::search {
namespace {

constexpr std::size_t wordLength = 4;
constexpr unsigned letterBits = 5;
constexpr std::uint32_t wordMask = (1U << (wordLength * letterBits)) - 1U;
constexpr int leastAligned = 20;
constexpr int leastWords = 3;

/// 1..26 for a letter of either case, 0 for anything else.
std::uint32_t letterCode(char letter) {
    if (letter >= 'a' && letter <= 'z') {
        return static_cast<std::uint32_t>(letter - 'a') + 1;
    }
    return letter >= 'A' && letter <= 'Z' ? static_cast<std::uint32_t>(letter - 'A') + 1 : 0;
}

/// The stretches of four residues that a query has.
class Words {
  public:
    explicit Words(std::string_view sequence) : known_(wordMask + 1U) {
        scan(sequence, [this](std::uint32_t word) { known_[word] = 1; });
    }
    /// How many stretches of `sequence` are among them.
    int shared(std::string_view sequence) const {
        int count = 0;
        scan(sequence, [&](std::uint32_t word) { count += known_[word]; });
        return count;
    }

  private:
    template <class Visit>
    static void scan(std::string_view sequence, const Visit& visit) {
        std::uint32_t word = 0;
        for (std::size_t i = 0; i < sequence.size(); ++i) {
            word = ((word << letterBits) | letterCode(sequence[i])) & wordMask;
            if (i + 1 >= wordLength) {
                visit(word);
            }
        }
    }
    std::vector<std::uint8_t> known_;
};

}  // namespace

std::vector<Relative> relativesOf(std::string_view sequence, const Database& database,
                                  double identity) {
    std::vector<Relative> found;
    if (sequence.size() < wordLength) {
        return found;
    }
    const Words words(sequence);
    const DB& rows = database.rows();
    // A stretch of four stays whole with the fourth power of the identity; half of that, over half
    // of the shorter sequence, leaves room for differences that stand apart.
    const double share = 0.25 * identity * identity * identity * identity;
    for (const ProteinBlock& block : database.proteins()) {
        const std::string_view protein(&rows.resNames[block.first],
                                       static_cast<std::size_t>(block.last - block.first + 1));
        const auto shorter = static_cast<int>(std::min(protein.size(), sequence.size()));
        const int least = std::max(leastWords, static_cast<int>(share * shorter));
        if (words.shared(protein) < least) {
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
