#include "structure/ring_currents.h"

#include <array>
#include <cmath>
#include <string>
#include <vector>

#include "base/narrow.h"
#include "structure/pdb.h"

namespace {

using Vector = std::array<double, 3>;

constexpr double shiftPerFactor = 2.7274e-06;  // of benzene's current, as a fraction
constexpr double partsPerMillion = -1000000.0;

struct RingKind {
    const char* residue;
    float intensity;
    std::vector<const char*> ringAtoms;
};

// The six-membered ring of a residue stands before its five-membered one.
const std::vector<RingKind>& ringKinds() {
    static const std::vector<RingKind> kinds = {
        {"PHE", 1.46F, {"CG", "CD1", "CE1", "CZ", "CE2", "CD2"}},
        {"TYR", 1.24F, {"CG", "CD1", "CE1", "CZ", "CE2", "CD2"}},
        {"TRP", 1.24F, {"CD2", "CE2", "CZ2", "CH2", "CZ3", "CE3"}},
        {"HIS", 1.35F, {"CG", "ND1", "CE1", "NE2", "CD2"}},
        {"TRP", 1.32F, {"CG", "CD1", "NE1", "CE2", "CD2"}}};
    return kinds;
}

Vector widened(const float* v) {
    return {static_cast<double>(v[0]), static_cast<double>(v[1]), static_cast<double>(v[2])};
}

Vector minus(const Vector& a, const Vector& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

Vector cross(const Vector& a, const Vector& b) {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

Vector unit(const Vector& v) {
    const double length = std::sqrt(dot(v, v));
    if (!(length > 0.0) || !std::isfinite(length)) {
        return {};
    }
    return {v[0] / length, v[1] / length, v[2] / length};
}

void store(const Vector& from, float* to) {
    for (std::size_t k = 0; k < 3; ++k) {
        to[k] = orvix::narrowToFloat(from[k]);
    }
}

double inverseCube(double r) {
    return 1.0 / (r * r * r);
}

bool hasPlausibleCount(const RingData& ring) {
    return ring.atomCount >= 1 && ring.atomCount <= 6;
}

}  // namespace

namespace orvix::structure {

void normalize(std::span<float, 3> v) {
    store(unit(widened(v.data())), v.data());
}

void crossInto(std::span<float, 3> a, std::span<const float, 3> b) {
    store(cross(widened(a.data()), widened(b.data())), a.data());
}

void fitRingPlane(RingData& ring) {
    if (!hasPlausibleCount(ring)) {
        return;
    }
    const auto count = static_cast<std::size_t>(ring.atomCount);
    Vector sum = {};
    for (std::size_t i = 0; i < count; ++i) {
        for (std::size_t k = 0; k < 3; ++k) {
            sum[k] += static_cast<double>(ring.coor[i][k]);
        }
    }
    for (double& coordinate : sum) {
        coordinate /= static_cast<double>(count);
    }
    store(sum, ring.center);

    const Vector center = widened(ring.center);
    Vector normal = {};
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t before = (i + count - 1) % count;
        const Vector turn =
            cross(minus(widened(ring.coor[before]), center), minus(widened(ring.coor[i]), center));
        for (std::size_t k = 0; k < 3; ++k) {
            normal[k] += turn[k];
        }
    }
    store(unit(normal), ring.normal);

    // v lies across the normal's larger components, so that it is never close to null.
    const Vector m = widened(ring.normal);
    const bool alongX = m[0] > 0.5 || m[0] < -0.5;
    const Vector v = unit(alongX ? Vector{-m[1], m[0], 0.0} : Vector{0.0, -m[2], m[1]});
    const Vector u = cross(v, m);
    for (std::size_t k = 0; k < 3; ++k) {
        ring.transform[k][0] = narrowToFloat(u[k]);
        ring.transform[k][1] = narrowToFloat(v[k]);
        ring.transform[k][2] = ring.normal[k];
    }
}

double ringCurrentFactor(const RingData& ring, std::span<const float, 3> point) {
    if (!hasPlausibleCount(ring)) {
        return 0.0;
    }
    const auto count = static_cast<std::size_t>(ring.atomCount);
    Vector u = {};
    Vector v = {};
    for (std::size_t k = 0; k < 3; ++k) {
        u[k] = static_cast<double>(ring.transform[k][0]);
        v[k] = static_cast<double>(ring.transform[k][1]);
    }
    const Vector center = widened(ring.center);
    const Vector p = widened(point.data());
    const Vector offset = minus(p, center);
    const double x0 = dot(u, offset);
    const double y0 = dot(v, offset);

    // Of each ring atom: place in the ring plane as seen from the point's foot, and distance.
    std::array<double, 6> x = {};
    std::array<double, 6> y = {};
    std::array<double, 6> nearness = {};
    for (std::size_t i = 0; i < count; ++i) {
        const Vector atom = widened(ring.coor[i]);
        x[i] = dot(u, minus(atom, center)) - x0;
        y[i] = dot(v, minus(atom, center)) - y0;
        const Vector apart = minus(atom, p);
        nearness[i] = inverseCube(std::sqrt(dot(apart, apart)));
    }
    double factor = 0.0;
    for (std::size_t i = 0; i < count; ++i) {
        const std::size_t j = (i + 1) % count;
        factor += (nearness[i] + nearness[j]) * (x[i] * y[j] - x[j] * y[i]);
    }
    return std::isfinite(factor) ? factor : 0.0;
}

}  // namespace orvix::structure

void PDB::Vec3Norm(float* v) {
    orvix::structure::normalize(std::span<float, 3>(v, 3));
}

void PDB::Vec3Cross(float* a, float* b) {
    orvix::structure::crossInto(std::span<float, 3>(a, 3), std::span<const float, 3>(b, 3));
}

void PDB::calcPlane(RingData* ring) {
    if (ring != nullptr) {
        orvix::structure::fitRingPlane(*ring);
    }
}

void PDB::initOrbitalShift() {
    ringCount = 0;
    for (const auto& [residue, name] : residName3) {
        for (const RingKind& kind : ringKinds()) {
            if (name == kind.residue && ringCount < maxRings) {
                addRing(residue, kind.intensity, kind.ringAtoms);
            }
        }
    }
    for (int i = 0; i < ringCount; ++i) {
        calcPlane(&rings[i]);
    }
}

// Adds the ring if the structure has all its atoms.
void PDB::addRing(int residue, float intensity, const std::vector<const char*>& ringAtoms) {
    RingData ring;
    ring.resNum = residue;
    ring.atomCount = static_cast<int>(ringAtoms.size());
    ring.ringIntensity = intensity;
    for (std::size_t i = 0; i < ringAtoms.size(); ++i) {
        const CORdata& atom = findAtom(1, residue, ringAtoms[i]);
        if (atom.atomName.empty()) {
            return;
        }
        for (std::size_t k = 0; k < 3; ++k) {
            ring.coor[i][k] = atom.coorCopy[k];
        }
    }
    rings[ringCount++] = ring;
}

float PDB::getOrbitalShift(int model, int res, const std::string& atomName) {
    const CORdata& atom = findAtom(model, res, atomName);
    if (atom.atomName.empty()) {
        return 0.0F;
    }
    double total = 0.0;
    for (int i = 0; i < ringCount; ++i) {
        const RingData& ring = rings[i];
        // Of the residue's own atoms only the amide proton is far enough from the ring.
        if (ring.resNum == res && atomName != "HN") {
            continue;
        }
        total +=
            orvix::structure::ringCurrentFactor(ring, std::span<const float, 3>(atom.coorCopy)) *
            static_cast<double>(ring.ringIntensity) * shiftPerFactor;
    }
    return orvix::narrowToFloat(total * partsPerMillion);
}
