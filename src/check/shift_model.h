#pragma once

#include <array>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace orvix {
class Model;
namespace networks {
class NetworkWeights;
}
}  // namespace orvix

namespace orvix::check {

/// Atoms in the order of all arrays by atom: N, HA, C, CA, CB, HN (`results::shiftAtoms`).
inline constexpr std::size_t atomCount = 6;
using ByAtom = std::array<double, atomCount>;

/// A residue as the shift model sees it.
struct Conformation {
    std::string letter;              ///< "c" for a bonded cysteine; others than the 20 are unknown
    std::array<double, 3> states{};  ///< shares of helix, strand, coil; zeros if unknown
    std::optional<double> phi, psi;  ///< degrees; none if unknown
    std::string rotamer;             ///< g-, g+, t, valine's turned; any other word is unknown
};

/// Values that a residue brings to the input of the model, five residues make one input.
inline constexpr std::size_t conformationWidth = 34;
std::array<double, conformationWidth> conformationEntries(const Conformation& residue);

/// What secondary shifts a conformation should have: the network of that name in the data
/// directory and the spreads of measured shifts around it. An immutable value.
class ShiftModel {
  public:
    /// Takes the model from a table directory. Throws RunEnd (dataDirectory) for files that are
    /// missing or do not fit.
    static ShiftModel load(const Model& model, const std::string& tableDirectory);

    /// Its table of spreads in a table directory.
    static std::string tablePath(const std::string& tableDirectory);

    /// Expected secondary shifts (ppm) of each residue of a chain in sequence order.
    std::vector<ByAtom> expected(std::span<const Conformation> chain) const;

    /// Robust spread of measured around expected shifts, ppm; 0.0 for an atom or a letter without.
    double spread(const std::string& letter, std::size_t atom) const;

  private:
    ShiftModel() = default;
    std::shared_ptr<const networks::NetworkWeights> network_;
    std::map<std::string, ByAtom> spreads_;
};

}  // namespace orvix::check
