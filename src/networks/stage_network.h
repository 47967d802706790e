#pragma once

#include <memory>

#include "networks/network_kinds.h"
#include "networks/residue_range.h"

class ORVIX;

namespace orvix::networks {

/// The weights of a network for a stage of `run`, whose warnings they bring. A file that can't be
/// opened ends the run by the text rules.
std::shared_ptr<const NetworkWeights> stageNetwork(const ORVIX& run, const NetworkKind& kind);

/// Where the chain of `run` and what it works on begin and end.
ResidueRange residueRange(const ORVIX& run);

}  // namespace orvix::networks
