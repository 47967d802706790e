#pragma once

#include <array>
#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace orvix::results {

/// Names of the six backbone atoms, in the order of arrays by atom.
inline constexpr std::array<std::string_view, 6> shiftAtoms = {"N", "HA", "C", "CA", "CB", "HN"};

/// Nuclei whose referencing is estimated. CA and CB are referenced together: their entries agree.
inline constexpr std::array<std::string_view, 4> offsetNuclei = {"CA", "CB", "HA", "C"};
/// Those with an estimate of their own.
inline constexpr std::array<std::string_view, 3> lineNuclei = {"CA", "HA", "C"};

/// A value for each atom of `shiftAtoms`, ppm.
using ByAtom = std::array<std::optional<double>, 6>;

/// A secondary shift beyond the limit of its residue type and atom.
struct Outlier {
    int residue = 0;
    std::string name;  ///< letter of the residue, cysteine state applied
    std::string atom;
    std::optional<double> shift, limit;  ///< ppm; the limit that was passed
    bool serious = false;                ///< more than twice the limit, for HA three times
    bool gross = false;  ///< serious, and not of an end of the chain, where limits don't hold
    bool operator==(const Outlier&) const = default;
};

/// The referencing offset of a nucleus, ppm.
struct ReferencingOffset {
    std::optional<double> offset;
    std::optional<double> error;        ///< of the fitted line; the run judges by it
    std::optional<double> uncertainty;  ///< what is to be expected of the estimate, see docs
    int count = 0;                      ///< residues that it comes from
    bool significant = false;           ///< by the rule of the run
    bool applied = false;               ///< taken off the shifts of the run
    bool operator==(const ReferencingOffset&) const = default;
};

/// The line through the secondary shifts of a nucleus over d = CA - CB, of the residues with d of
/// one sign; ppm. Without values where there are too few residues.
struct ReferencingLine {
    int count = 0;                           ///< residues
    std::optional<double> slope, intercept;  ///< shift = slope * d + intercept
    std::optional<double> error;             ///< standard error of the residuals
    std::optional<double> expected;          ///< intercept of well referenced shifts
    bool operator==(const ReferencingLine&) const = default;
};

struct ReferencingLines {
    ReferencingLine negative, positive;  ///< of the residues with d below 0, and the others
    bool operator==(const ReferencingLines&) const = default;
};

/// How many of the shifts that a nucleus can have are there.
struct Completeness {
    int assigned = 0, expected = 0;
    bool operator==(const Completeness&) const = default;
};

/// A residue whose rows name it differently from the sequence.
struct NameMismatch {
    int residue = 0;
    std::string sequenceName;  ///< empty when the sequence has no such residue
    std::string tableName;
    bool operator==(const NameMismatch&) const = default;
};

/// The least and the greatest secondary shift of a residue type, ppm.
struct ShiftLimits {
    double low = 0.0, high = 0.0;
    bool operator==(const ShiftLimits&) const = default;
};

/// All that the check of the shifts found.
struct ShiftReport {
    /// By `offsetNuclei`; none where there are too few shifts.
    std::array<std::optional<ReferencingOffset>, 4> offsets{};
    std::vector<Outlier> outliers;               ///< in row order
    std::array<Completeness, 6> completeness{};  ///< by `shiftAtoms`
    std::vector<NameMismatch> mismatches;        ///< each residue and name once
    std::array<ReferencingLines, 3> lines{};     ///< by `lineNuclei`
    /// By the letters of the sequence, then by `shiftAtoms`.
    std::map<std::string, std::array<std::optional<ShiftLimits>, 6>> limits;
    bool operator==(const ShiftReport&) const = default;
};

/// What is to be expected of an estimate whose line has the standard error `error`, ppm: actual
/// errors, measured on proteins of known referencing, are larger by a factor of the nucleus.
double referencingUncertainty(std::string_view nucleus, double error);

/// Place of `name` in one of the lists above; their length for a name that is not there.
template <std::size_t size>
constexpr std::size_t placeOf(const std::array<std::string_view, size>& names,
                              std::string_view name) {
    std::size_t place = 0;
    while (place < size && names[place] != name) {
        ++place;
    }
    return place;
}

}  // namespace orvix::results
