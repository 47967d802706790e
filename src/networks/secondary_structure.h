#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

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
