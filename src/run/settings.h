#pragma once

#include <string>

namespace orvix {

/// What a run is asked to do: all that a command line can settle, as values. A path that is empty
/// stands for the table of its default name in `tabDir`, see the comments.
struct Settings {
    std::string tabDir = "tab";  ///< directory of the tables, the database and the networks
    std::string pathSep = "/";   ///< directory separator

    std::string dbFile;        ///< orvix.tab, database of known proteins
    std::string weightFile;    ///< weight.tab, atom and position weights
    std::string homologyFile;  ///< homology.tab, residue similarity
    std::string randCoilFile;  ///< randcoil.tab, random coil shifts
    std::string rcAdjFile;     ///< rcadj.tab, their adjustment by the residue itself
    std::string rcPrevFile;    ///< rcprev.tab, by the residue before
    std::string rcNextFile;    ///< rcnext.tab, by the residue after
    std::string ssLimitFile;   ///< sslimit.tab, secondary shift limits

    std::string inTitle = "None";   ///< title of the input in the tables
    std::string refFile;            ///< reference structure (PDB format), empty for none
    std::string refTitle = "None";  ///< its title in the tables

    std::string exclList;        ///< database sources that occur in this text are left out
    double s2Limit = 0.4;        ///< 1 - the least S2 of a residue that is not `Dyn`
    int count = 10;              ///< matches that a residue needs to count as served
    int candidateMax = 25;       ///< matches kept by residue
    int firstResid = -999999;    ///< residues to work on; the shifts narrow the range further
    int lastResid = 999999;      ///< the last of them
    int alignLen = 7;            ///< window length of the database search, 1..8
    bool clip = true;            ///< clip the shifts of triplet records
    bool isoCorrect = false;     ///< deuterium isotope correction of CA and CB
    bool offsetCorrect = false;  ///< apply estimated referencing offsets
    bool noProton = false;       ///< take HA and HN as missing
    bool noOxiCysCheck = false;  ///< keep the cysteine states as given
    bool noVerb = true;          ///< no detail lines of the search among the messages
    bool noPath = true;          ///< messages do not name the files of the data directory
};

}  // namespace orvix
