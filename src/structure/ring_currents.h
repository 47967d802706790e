#pragma once

#include <span>

#include "structure/ring_data.h"

namespace orvix::structure {

/// Scales `v` to length 1; a vector without a direction (null or not finite) becomes null.
void normalize(std::span<float, 3> v);

/// Replaces `a` by the cross product of `a` and `b`, which may be the same.
void crossInto(std::span<float, 3> a, std::span<const float, 3> b);

/// Computes `center`, `normal` and `transform` of a ring from its atoms, in double, rounded at the
/// end. The normal is null for atoms on a line. An atom count outside 1..6 changes nothing.
void fitRingPlane(RingData& ring);

/// The geometric factor of Haigh and Mallion (Prog. NMR Spectrosc. 13, 303, 1979) at `point`: over
/// the edges of the ring, the signed area that the edge and the point's foot in the ring plane
/// span, doubled, times the sum of the inverse cubes of the distances to the edge's ends, in
/// angstrom^-1. 0 where it has no finite value, as on a ring atom. Needs `fitRingPlane`.
double ringCurrentFactor(const RingData& ring, std::span<const float, 3> point);

}  // namespace orvix::structure
