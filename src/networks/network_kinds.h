#pragma once

#include <string>
#include <vector>

#include "networks/network_weights.h"

namespace orvix::networks {

/// A network of the data directory: what its files are called, its widths, and the rules by which
/// its tables are read.
struct NetworkKind {
    std::string name;
    NetworkShape shape;
    WeightRules rules;
};

/// The phi/psi surface: the standard network, and the one of a single level that stands in where
/// shifts are missing or the chain ends.
extern const NetworkKind surfaceKind, hybridSurfaceKind;

/// Secondary structure from shifts: with all of them, without those of the residue itself, of the
/// one before and of the one after, and over five residues.
extern const NetworkKind classKind, classCentreKind, classPreviousKind, classNextKind,
    classFiveKind;

/// Secondary structure from the sequence with known classes, and from a profile alone.
extern const NetworkKind sequenceKind, profileKind;

/// Expected secondary shifts of a known conformation.
extern const NetworkKind shiftModelKind;

/// Letters of the residue types that have a chi1 network.
inline constexpr const char* chi1NetworkLetters = "CDEFHIKLMNQRSTVWY";
/// The chi1 network of one of these letters.
NetworkKind chi1Kind(char letter);

/// All of them.
std::vector<NetworkKind> allNetworkKinds();

/// The text files of a network, in the order in which they are read.
std::vector<std::string> networkFiles(const NetworkKind& kind);

}  // namespace orvix::networks
