#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "networks/residue_range.h"

namespace orvix::networks {

/// Class values of a residue in the order helix, strand, coil.
using ClassValues = std::vector<double>;

/// A class letter with the margin by which it leads.
struct ClassCall {
    std::string letter = "x";
    double confidence = 0.0;
};

/// Class of three values by `letters` (helix, strand, coil); a tie goes to helix before strand
/// before coil. "x" when the largest value is 0 or there are not three values.
ClassCall callClass(const ClassValues& values, std::string_view letters);

/// Which of the shift networks stands for a residue, by where shifts are missing around it.
enum class ShiftNetwork { complete, centre, previous, next, none };

/// A residue with more than 3 shifts missing is left out of its own window by `centre`, of that of
/// its neighbours by `previous` and `next`; none where two or more of the three lack their shifts.
ShiftNetwork chooseNetwork(const MissingCounts& missing, int residue);

/// Whether shifts decide nothing for a residue: it lies outside the range worked on, or at an end
/// of it that is no end of the shifts.
bool outsideShifts(const ResidueRange& range, int residue);

/// Whether a residue is coil by rule: an end of the shifts, the number 1, or the end of the
/// sequence.
bool isChainEnd(const ResidueRange& range, int residue);

/// Sum of two class vectors scaled to 1, in single precision; `second` if the sum is 0.
ClassValues combineClasses(const ClassValues& first, const ClassValues& second);

/// What the table says of a residue.
struct ClassDecision {
    ClassCall call;       ///< H E L by shifts, h e c by sequence, x for none
    ClassValues values;   ///< helix, strand, coil as shown
    bool byRule = false;  ///< coil as an end of the chain, whatever its shifts say
};

/// The class by shifts, or by sequence where all values by shifts are 0. Both vectors hold three
/// values. At a chain end, three thirds are shown unless the sequence decides.
ClassDecision decideClass(const ClassValues& byShifts, const ClassValues& bySequence,
                          bool chainEnd);

/// A confidence as tables show it: below 1.
double shownConfidence(double confidence);

/// The three lines of sequence, class and confidence digits above the rows of a secondary structure
/// table, in blocks of 50 residues with a blank behind every tenth.
class ClassBlocks {
  public:
    /// Text in front of the block that closes the list.
    explicit ClassBlocks(std::string beforeLast) : beforeLast_(std::move(beforeLast)) {}
    void add(const std::string& residue, const std::string& letter, double confidence);
    /// All blocks, the last one included whatever it holds.
    std::string finish();

  private:
    std::string block();
    std::string beforeLast_, text_, residues_, letters_, digits_;
    int count_ = 0;
};

}  // namespace orvix::networks
