#include "import/profile_import.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <vector>

#include "base/numbers.h"

namespace orvix::importing {
namespace {

constexpr std::size_t letterCount = 20;
constexpr int unknown = -1;
/// Scale of ungapped BLOSUM62 scores and of the matrices that PSI-BLAST prints (Altschul et al.,
/// NAR 25, 1997, 3389).
constexpr double lambda = 0.3176;
constexpr double pseudocountWeight = 10.0;

using Frequencies = std::array<double, letterCount>;

/// Robinson and Robinson 1991, in the order of `profileLetters`.
constexpr Frequencies background = {0.07805, 0.01925, 0.05364, 0.06295, 0.03856, 0.07377, 0.02199,
                                    0.05142, 0.05744, 0.09019, 0.02243, 0.04487, 0.05203, 0.04264,
                                    0.05129, 0.07120, 0.05841, 0.06441, 0.01330, 0.03216};

int placeOf(char letter) {
    const auto upper = static_cast<char>(std::toupper(static_cast<unsigned char>(letter)));
    const std::size_t place = std::string_view(networks::profileLetters).find(upper);
    return place == std::string_view::npos ? unknown : static_cast<int>(place);
}

void scaleToOne(Frequencies& values) {
    double total = 0.0;
    for (double value : values) {
        total += value;
    }
    for (double& value : values) {
        value = total > 0.0 ? value / total : 0.0;
    }
}

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        if (!line.empty() && line.back() == '\r') {
            line.remove_suffix(1);
        }
        lines.push_back(line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

std::vector<std::string_view> wordsOf(std::string_view line) {
    constexpr std::string_view white = " \t\v\f\r";
    std::vector<std::string_view> words;
    for (std::size_t begin = line.find_first_not_of(white); begin != std::string_view::npos;) {
        const std::size_t end = std::min(line.find_first_of(white, begin), line.size());
        words.push_back(line.substr(begin, end - begin));
        begin = line.find_first_not_of(white, end);
    }
    return words;
}

std::string atLine(std::size_t index, const std::string& what) {
    return "line " + std::to_string(index + 1) + ": " + what;
}

std::string tooLong() {
    return "the sequence has more than " + std::to_string(networks::checkFileLengthLimit) +
           " residues, which a check file can't hold";
}

bool isWholeNumber(std::string_view word) {
    if (!word.empty() && (word.front() == '-' || word.front() == '+')) {
        word.remove_prefix(1);
    }
    return !word.empty() && word.size() <= 6 &&
           std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
}

/// Column letters of a matrix header: the places of its first 20 words, or nothing.
std::vector<int> headerColumns(const std::vector<std::string_view>& words) {
    std::vector<int> columns;
    if (words.size() < letterCount) {
        return columns;
    }
    std::array<bool, letterCount> seen{};
    for (std::size_t i = 0; i < letterCount; ++i) {
        const int place = words[i].size() == 1 ? placeOf(words[i][0]) : unknown;
        if (place == unknown || seen[static_cast<std::size_t>(place)]) {
            return {};
        }
        seen[static_cast<std::size_t>(place)] = true;
        columns.push_back(place);
    }
    return columns;
}

struct Alignment {
    std::vector<std::string> names;
    std::vector<std::string> rows;
};

std::string readFasta(std::string_view text, Alignment& alignment) {
    const std::vector<std::string_view> lines = linesOf(text);
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::string_view line = lines[i];
        if (!line.empty() && line.front() == '>') {
            alignment.names.emplace_back(line.substr(1));
            alignment.rows.emplace_back();
            continue;
        }
        for (char c : line) {
            if (c == ' ' || c == '\t') {
                continue;
            }
            if (alignment.rows.empty()) {
                return atLine(i, "expected a line that begins with \">\"");
            }
            if (std::isalpha(static_cast<unsigned char>(c)) == 0 && c != '-' && c != '.' &&
                c != '*') {
                return atLine(i, std::string("'") + c + "' is neither a residue letter nor a gap");
            }
            alignment.rows.back() += c;
        }
    }
    if (alignment.rows.empty()) {
        return "no sequence found";
    }
    for (std::size_t i = 1; i < alignment.rows.size(); ++i) {
        if (alignment.rows[i].size() != alignment.rows[0].size()) {
            return "sequence \"" + alignment.names[i] + "\" has " +
                   std::to_string(alignment.rows[i].size()) + " columns, the first one has " +
                   std::to_string(alignment.rows[0].size()) + ": the sequences are not aligned";
        }
    }
    return {};
}

bool isGap(char c) {
    return c == '-' || c == '.' || c == '*';
}

}  // namespace

std::string profileFromPssm(std::string_view text, networks::SequenceProfile& profile) {
    profile = networks::SequenceProfile();
    const std::vector<std::string_view> lines = linesOf(text);
    std::vector<int> columns;
    for (std::size_t i = 0; i < lines.size(); ++i) {
        const std::vector<std::string_view> words = wordsOf(lines[i]);
        if (columns.empty()) {
            columns = headerColumns(words);
            continue;
        }
        if (words.empty()) {
            if (profile.rows.empty()) {
                continue;
            }
            break;  // the statistics behind the matrix
        }
        if (words.size() < letterCount + 2 || !isWholeNumber(words[0]) || words[1].size() != 1) {
            return atLine(i, "expected a residue number, its letter and 20 scores");
        }
        Frequencies row{};
        for (std::size_t k = 0; k < letterCount; ++k) {
            if (!isWholeNumber(words[k + 2])) {
                return atLine(i, "'" + std::string(words[k + 2]) + "' is no whole score");
            }
            const auto place = static_cast<std::size_t>(columns[k]);
            const int score = std::clamp(textToInt(words[k + 2]), -100, 100);
            row[place] = background[place] * std::exp(lambda * score);
        }
        scaleToOne(row);
        profile.sequence += words[1];
        profile.rows.push_back(row);
        if (profile.rows.size() > static_cast<std::size_t>(networks::checkFileLengthLimit)) {
            return tooLong();
        }
    }
    if (columns.empty()) {
        return "no line with the 20 column letters of a score matrix found";
    }
    return profile.rows.empty() ? "the matrix has no rows" : "";
}

std::string profileFromAlignment(std::string_view text, const SubstitutionScores& scores,
                                 networks::SequenceProfile& profile) {
    profile = networks::SequenceProfile();
    Alignment alignment;
    if (std::string wrong = readFasta(text, alignment); !wrong.empty()) {
        return wrong;
    }
    const std::string& query = alignment.rows[0];
    std::vector<std::size_t> columns;
    for (std::size_t c = 0; c < query.size(); ++c) {
        if (!isGap(query[c])) {
            columns.push_back(c);
        }
    }
    if (columns.empty()) {
        return "the first sequence has no residues";
    }
    if (columns.size() > static_cast<std::size_t>(networks::checkFileLengthLimit)) {
        return tooLong();
    }

    // Position-based weights: a residue seen in few sequences of a column weighs more.
    std::vector<double> weights(alignment.rows.size(), 0.0);
    double kinds = 0.0;
    for (std::size_t c : columns) {
        std::array<int, letterCount> times{};
        for (const std::string& row : alignment.rows) {
            if (const int place = placeOf(row[c]); place != unknown) {
                ++times[static_cast<std::size_t>(place)];
            }
        }
        const auto present = static_cast<double>(
            std::count_if(times.begin(), times.end(), [](int t) { return t > 0; }));
        kinds += present;
        for (std::size_t s = 0; s < alignment.rows.size(); ++s) {
            if (const int place = placeOf(alignment.rows[s][c]); place != unknown) {
                weights[s] += 1.0 / (present * times[static_cast<std::size_t>(place)]);
            }
        }
    }
    // Diversity: how many kinds of residue a column holds beyond the first.
    const double diversity = kinds / static_cast<double>(columns.size()) - 1.0;

    // What takes the place of each residue type, by the substitution scores.
    std::array<Frequencies, letterCount> substitutes{};
    for (std::size_t a = 0; a < letterCount; ++a) {
        for (std::size_t b = 0; b < letterCount; ++b) {
            substitutes[a][b] = background[b] * std::exp(lambda * scores[a][b]);
        }
        scaleToOne(substitutes[a]);
    }

    for (std::size_t c : columns) {
        Frequencies observed{};
        for (std::size_t s = 0; s < alignment.rows.size(); ++s) {
            if (const int place = placeOf(alignment.rows[s][c]); place != unknown) {
                observed[static_cast<std::size_t>(place)] += weights[s];
            }
        }
        scaleToOne(observed);
        Frequencies expected{};
        for (std::size_t a = 0; a < letterCount; ++a) {
            for (std::size_t b = 0; b < letterCount; ++b) {
                expected[b] += observed[a] * substitutes[a][b];
            }
        }
        const double alpha = std::max(diversity, 0.0);
        Frequencies row{};
        for (std::size_t a = 0; a < letterCount; ++a) {
            row[a] = (alpha * observed[a] + pseudocountWeight * expected[a]) /
                     (alpha + pseudocountWeight);
        }
        if (std::all_of(row.begin(), row.end(), [](double value) { return value == 0.0; })) {
            row = background;  // a column of unknown letters alone
        }
        scaleToOne(row);
        profile.sequence += static_cast<char>(std::toupper(static_cast<unsigned char>(query[c])));
        profile.rows.push_back(row);
    }
    return {};
}

}  // namespace orvix::importing
