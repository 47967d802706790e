#include "search/scan_tables.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <vector>

namespace orvix::search {

namespace {

constexpr std::uint8_t tooFar = 255;
constexpr std::uint8_t limitUnits = 254;
/// The units are made anew when the shortfall to allow for has shrunk by this factor.
constexpr double rescaleBelow = 0.88;

template <class T>
std::size_t at(T i) {
    return static_cast<std::size_t>(i);
}

/// Whole units in a shortfall, never too many.
std::uint8_t wholeUnits(double shortfall, double perUnit) {
    const double units = shortfall * perUnit * (1.0 - 1e-12);
    return units >= tooFar ? tooFar : static_cast<std::uint8_t>(units);
}

/// The slots that a row can have.
std::vector<int> slotsInUse(const DatabasePlanes& planes) {
    std::vector<int> slots;
    for (int box = 0; box < boxCount; ++box) {
        slots.push_back(slotOfBox(box));
    }
    if (planes.hasStrayBoxes()) {
        slots.push_back(slotOfBox(-1));
    }
    return slots;
}

}  // namespace

ScanTables makeScanTables(const ScanQuery& query, const DatabasePlanes& planes) {
    ScanTables tables;
    tables.positions = 2 * query.halfWidth + 1;
    const std::string& letters = planes.letters();
    for (int p = 0; p < tables.positions; ++p) {
        const int j = p - query.halfWidth;
        const auto weight = static_cast<double>(scanWeights[std::abs(j)]);
        const auto map = query.resWeight.find(query.res + j);
        if (map != query.resWeight.end()) {
            for (const auto& [box, value] : map->second) {
                if (box >= 0 && box < boxCount) {
                    tables.box[at(p)][at(slotOfBox(box))] = weight * value;
                }
            }
        }
        const char letter = query.letterAt(query.res + j);
        for (std::size_t code = 0; code < letters.size(); ++code) {
            const double b = query.similarity(letter, letters[code]);
            tables.penalty[at(p)][code] = b < 0 ? 0.1 * b : 0.0;
        }
    }
    const char centre = query.centreLetter();
    const bool ownOnly = centre == 'P' || centre == 'G';
    const bool prolineNext = query.letterAt(query.res + 1) == 'P';
    for (std::size_t code = 0; code < letters.size(); ++code) {
        const char letter = letters[code];
        tables.centreAllowed[code] =
            !(ownOnly && letter != centre) && !(query.similarity(centre, letter) < 0);
        if (letter == centre && query.typeSpecific()) {
            tables.ownCode = static_cast<int>(code);
        }
    }
    for (std::size_t code = 0; code < letterCodes; ++code) {
        tables.nextAllowed[code] = !prolineNext || (code < letters.size() && letters[code] == 'P');
    }
    return tables;
}

FilterBuilder::FilterBuilder(const ScanTables& tables, const DatabasePlanes& planes,
                             bool unitTables)
    : unitTables_(unitTables) {
    const int h = planes.halfWidth();
    const std::vector<int> slots = slotsInUse(planes);
    const std::size_t letters = planes.letters().size();
    double size = 0.0;
    filter_.positions = tables.positions;
    for (int p = 0; p < tables.positions; ++p) {
        // The centre comes first, then its neighbours outward: that empties most groups soonest.
        const int offset = p % 2 == 0 ? -(p / 2) : (p + 1) / 2;
        Shortfalls& here = shortfalls_[at(p)];
        FilterPosition& position = filter_.position[p];
        here.window = offset + h;
        position.offset = offset;
        const auto& box = tables.box[at(here.window)];
        const auto& penalty = tables.penalty[at(here.window)];

        double highest = box[at(slots.front())];
        double lowest = highest;
        for (int slot : slots) {
            const double value = box[at(slot)];
            sound_ = sound_ && std::isfinite(value);
            highest = std::max(highest, value);
            lowest = std::min(lowest, value);
        }
        double worstLetter = 0.0;
        for (std::size_t code = 0; code < letters; ++code) {
            sound_ = sound_ && std::isfinite(penalty[code]);
            worstLetter = std::min(worstLetter, penalty[code]);
        }
        best_ += highest;
        size += std::max(std::abs(highest), std::abs(lowest)) - worstLetter;

        here.base = highest - lowest;
        here.box.fill(here.base);
        std::array<bool, tileCount> listed{};
        for (int slot : slots) {
            here.box[at(slot)] = highest - box[at(slot)];
            listed[at(slot / 16)] = listed[at(slot / 16)] || box[at(slot)] > lowest;
        }
        for (int tile = 0; tile < tileCount; ++tile) {
            if (listed[at(tile)]) {
                here.tile[at(position.tiles)] = tile;
                std::fill_n(position.tile[position.tiles], 32, static_cast<std::uint8_t>(tile));
                ++position.tiles;
            }
        }
        for (std::size_t code = 0; code < letterCodes; ++code) {
            here.letter[code] = -penalty[code];
            here.forbidden[code] = (offset == 0 && !tables.centreAllowed[code]) ||
                                   (offset == 1 && !tables.nextAllowed[code]);
            position.hasLetters =
                position.hasLetters || here.forbidden[code] || penalty[code] < 0.0;
        }
    }
    // Two additions at each position, each off by at most 2^-24 of a partial sum within `size`; the
    // factor leaves room for twice that.
    slack_ = size * std::ldexp(1.0, -19);
    sound_ = sound_ && size < 1e6;
}

bool FilterBuilder::update(float threshold) {
    const double budget = best_ - static_cast<double>(threshold) + slack_;
    if (!(budget > 0.0)) {
        return false;
    }
    if (unit_ == 0.0 || budget < budget_ * rescaleBelow) {
        budget_ = budget;
        unit_ = budget / limitUnits;
        unitTables_ ? scaleUnits() : scale();
        filter_.limit = limitUnits;
    } else {
        filter_.limit =
            static_cast<std::uint8_t>(std::min(budget / unit_ + 1e-6, double{limitUnits}));
    }
    units_.limit = filter_.limit;
    return true;
}

void FilterBuilder::scaleUnits() {
    const double perUnit = 1.0 / unit_;
    for (int p = 0; p < filter_.positions; ++p) {
        const Shortfalls& here = shortfalls_[at(p)];
        for (std::size_t slot = 0; slot < slotCount; ++slot) {
            units_.box[at(here.window)][slot] = wholeUnits(here.box[slot], perUnit);
        }
        for (std::size_t code = 0; code < letterCodes; ++code) {
            units_.letter[at(here.window)][code] = wholeUnits(here.letter[code], perUnit);
        }
    }
}

void FilterBuilder::scale() {
    const double perUnit = 1.0 / unit_;
    for (int p = 0; p < filter_.positions; ++p) {
        const Shortfalls& here = shortfalls_[at(p)];
        FilterPosition& position = filter_.position[p];
        position.base = wholeUnits(here.base, perUnit);
        for (int t = 0; t < position.tiles; ++t) {
            for (int place = 0; place < 16; ++place) {
                const std::uint8_t units =
                    wholeUnits(here.box[at(here.tile[at(t)] * 16 + place)], perUnit);
                const auto saving = static_cast<std::uint8_t>(position.base - units);
                position.saving[t][place] = saving;
                position.saving[t][place + 16] = saving;
            }
        }
        for (std::size_t code = 0; code < letterCodes; ++code) {
            const std::uint8_t units =
                here.forbidden[code] ? tooFar : wholeUnits(here.letter[code], perUnit);
            std::uint8_t* const half = code < 16 ? position.lowLetters : position.highLetters;
            half[code % 16] = units;
            half[code % 16 + 16] = units;
        }
    }
}

}  // namespace orvix::search
