#pragma once

#include <string>
#include <string_view>

namespace orvix::importing {

/// What an atom name of a shift file means to a run.
struct AtomName {
    enum class Kind {
        backbone,       ///< `name` is N, HN, HA, C, CA or CB
        glycineAlpha,   ///< a form of glycine's alpha protons: `name` is HA1, HA2, HA3, HAX, HAY or
                        ///< HA for the pair
        aminoTerminus,  ///< a proton of a free amino group
        other           ///< not read by a run
    };

    Kind kind = Kind::other;
    std::string name;
};

/// Reads an atom name, in any case, of a residue with this letter.
AtomName readAtomName(std::string_view name, char residue);

/// Place of an atom in a residue's rows of the table, from 0; -1 for any other name.
int atomOrder(std::string_view tableAtom);

/// Limits between which nearly all shifts of a folded or unfolded protein lie, in ppm.
struct ShiftRange {
    double low;
    double high;
};

/// The range of an atom of the table.
ShiftRange usualRange(std::string_view tableAtom);

}  // namespace orvix::importing
