#include <cstdlib>

#include "search/db.h"
#include "search/triplet_scan.h"

namespace orvix::search {

namespace {

template <class Key, class Inner, class Value>
double lookUp(const std::map<Key, std::map<Inner, Value>>& table, Key key, Inner inner) {
    const auto row = table.find(key);
    if (row == table.end()) {
        return 0.0;
    }
    const auto cell = row->second.find(inner);
    return cell == row->second.end() ? 0.0 : cell->second;
}

float scoreWindow(const ScanQuery& query, const DB& db, int i) {
    float s = 0.0F;
    for (int j = -query.halfWidth; j <= query.halfWidth; ++j) {
        if (static_cast<long long>(db.resids[i + j]) - db.resids[i] != j) {
            return -9999.0F;
        }
        s = static_cast<float>(static_cast<double>(s) +
                               static_cast<double>(scanWeights[std::abs(j)]) *
                                   lookUp(query.resWeight, query.res + j, db.boxes[i + j]));
        const double b = lookUp(query.blosum, query.letterAt(query.res + j), db.resNames[i + j]);
        if (b < 0) {
            s = static_cast<float>(static_cast<double>(s) + 0.1 * b);
        }
    }
    return s;
}

/// Cuts `matches` to its highest entries; true if that took something away.
bool cut(std::map<double, int>& matches) {
    if (matches.size() <= static_cast<std::size_t>(scanLimit)) {
        return false;
    }
    while (matches.size() > static_cast<std::size_t>(scanLimit)) {
        matches.erase(matches.begin());
    }
    return true;
}

ScoredRows fallingOrder(const std::map<double, int>& matches) {
    ScoredRows rows;
    for (auto it = matches.rbegin(); it != matches.rend(); ++it) {
        rows.emplace_back(static_cast<float>(it->first), it->second);
    }
    return rows;
}

}  // namespace

char ScanQuery::letterAt(int r) const {
    const auto found = seqChar.find(r);
    return found == seqChar.end() ? '\0' : found->second;
}

char ScanQuery::centreLetter() const {
    const char letter = letterAt(res);
    return letter == 'c' ? 'C' : letter == 'h' ? 'H' : letter;
}

bool ScanQuery::typeSpecific() const {
    const char letter = centreLetter();
    return letter != 'A' && letter != 'G' && letter != 'P';
}

double ScanQuery::similarity(char query, char row) const {
    return lookUp(blosum, query, row);
}

ScanHits scanPlain(const ScanQuery& query, const DB& db, std::span<const ProteinBlock> blocks) {
    const char letter = query.centreLetter();
    const bool typeSpecific = query.typeSpecific();
    const int h = query.halfWidth;
    std::map<double, int> matches, typeMatches;
    float t1 = -999.0F;
    float t2 = -999.0F;
    for (const ProteinBlock& block : blocks) {
        for (int i = block.first + h; i <= block.last - h; ++i) {
            if ((letter == 'P' || letter == 'G') && db.resNames[i] != letter) {
                continue;
            }
            if (query.letterAt(query.res + 1) == 'P' &&
                !(db.holds(i + 1) && db.resNames[i + 1] == 'P')) {
                continue;
            }
            if (lookUp(query.blosum, letter, db.resNames[i]) < 0) {
                continue;
            }
            const float s = scoreWindow(query, db, i);
            if (s > t1) {
                matches[static_cast<double>(s)] = i;
                if (s > t2 && typeSpecific && db.resNames[i] == letter) {
                    typeMatches[static_cast<double>(s)] = i;
                }
            }
        }
        if (cut(matches)) {
            t1 = static_cast<float>(matches.begin()->first);
        }
        if (typeSpecific && cut(typeMatches)) {
            t2 = static_cast<float>(typeMatches.begin()->first);
        }
    }
    return {fallingOrder(matches), fallingOrder(typeMatches)};
}

}  // namespace orvix::search
