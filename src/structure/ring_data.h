#pragma once

/// One aromatic ring of a structure.
struct RingData {
    int resNum = 0;              ///< residue number
    int atomCount = 0;           ///< 5 or 6
    float coor[6][3] = {};       ///< positions of the ring atoms in ring order, angstrom
    float center[3] = {};        ///< mean of the positions
    float normal[3] = {};        ///< unit normal of the ring plane
    float transform[3][3] = {};  ///< columns u, v, n: two axes in the ring plane and the normal
    float ringIntensity = 0.0F;  ///< strength of the ring's current
};
