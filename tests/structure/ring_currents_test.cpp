#include "structure/ring_currents.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

#include "structure/pdb.h"
#include "structure_text.h"

namespace {

using Point = std::array<double, 3>;

const std::vector<std::string> pheRing = {"CG", "CD1", "CE1", "CZ", "CE2", "CD2"};

// Ring coordinates (x and y in its plane, z along its normal) to space: a turn and a shift.
Point place(const Point& p) {
    const double c = std::cos(0.7);
    const double s = std::sin(0.7);
    const Point turned = {p[0], c * p[1] - s * p[2], s * p[1] + c * p[2]};
    return {c * turned[0] + s * turned[2] + 10.0, turned[1] - 4.0,
            c * turned[2] - s * turned[0] + 2.5};
}

void addAtom(PDB& pdb, int residue, const std::string& type, const std::string& name,
             const Point& p) {
    CORdata atom;
    atom.resNum = residue;
    atom.resName = type;
    atom.atomName = name;
    for (std::size_t k = 0; k < 3; ++k) {
        atom.coorCopy[k] = static_cast<float>(p[k]);
    }
    pdb.atoms[1][residue][name] = atom;
    pdb.residName3[residue] = type;
}

// Corners of a regular polygon about the origin of the plane.
std::vector<Point> polygon(std::size_t count, double radius, double x0 = 0.0) {
    std::vector<Point> corners;
    for (std::size_t i = 0; i < count; ++i) {
        const double turn =
            2.0 * std::numbers::pi * static_cast<double>(i) / static_cast<double>(count);
        corners.push_back({x0 + radius * std::cos(turn), radius * std::sin(turn), 0.0});
    }
    return corners;
}

void addRing(PDB& pdb, int residue, const std::string& type, const std::vector<std::string>& names,
             const std::vector<Point>& corners) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        addAtom(pdb, residue, type, names[i], place(corners[i]));
    }
}

// The shift in ring coordinates: over the edges, twice the area that each spans with the foot of
// the point, times the inverse cubes of the distances to its ends.
double expectedShift(const std::vector<Point>& corners, const Point& p, double intensity) {
    double sum = 0.0;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const Point& a = corners[i];
        const Point& b = corners[(i + 1) % corners.size()];
        const double area = (a[0] - p[0]) * (b[1] - p[1]) - (b[0] - p[0]) * (a[1] - p[1]);
        const double ra = std::hypot(a[0] - p[0], a[1] - p[1], p[2]);
        const double rb = std::hypot(b[0] - p[0], b[1] - p[1], p[2]);
        sum += area * (std::pow(ra, -3) + std::pow(rb, -3));
    }
    return -2.7274 * intensity * sum;
}

TEST(RingCurrents, ShiftAboutABenzeneRing) {
    PDB pdb = readStructure("END\n");
    const std::vector<Point> ring = polygon(6, 1.39);
    addRing(pdb, 5, "PHE", pheRing, ring);
    pdb.initOrbitalShift();
    ASSERT_EQ(pdb.ringCount, 1);

    // Three angstrom above the centre, worked out by hand: six edges, each spanning R^2 sin 60 with
    // the foot, both ends sqrt(R^2 + 9) away.
    addAtom(pdb, 30, "ALA", "HN", place({0, 0, 3}));
    const double above = -2.7274 * 1.46 * 12.0 * 1.39 * 1.39 * std::sin(std::numbers::pi / 3.0) /
                         std::pow(1.39 * 1.39 + 9.0, 1.5);
    EXPECT_NEAR(pdb.getOrbitalShift(1, 30, "HN"), above, 2e-5);
    EXPECT_NEAR(above, -2.212, 1e-3);
    // Outward of the ring in its plane the shift is downfield.
    addAtom(pdb, 31, "ALA", "HN", place({4, 0, 0}));
    EXPECT_GT(pdb.getOrbitalShift(1, 31, "HN"), 0.3F);

    for (const Point& p : {Point{0.5, 0.2, 2.5}, Point{-2, 3, -1}, Point{5, 1, 0.5}}) {
        addAtom(pdb, 32, "ALA", "CB", place(p));
        EXPECT_NEAR(pdb.getOrbitalShift(1, 32, "CB"), expectedShift(ring, p, 1.46), 2e-5);
    }
}

TEST(RingCurrents, OwnRingCountsForTheAmideProtonAlone) {
    PDB pdb = readStructure("END\n");
    addRing(pdb, 5, "TYR", pheRing, polygon(6, 1.39));
    addAtom(pdb, 5, "TYR", "HN", place({0, 0, 3}));
    addAtom(pdb, 5, "TYR", "HA", place({0, 0, 3}));
    addAtom(pdb, 6, "ALA", "HA", place({0, 0, 3}));
    EXPECT_EQ(pdb.getOrbitalShift(1, 6, "HA"), 0.0F) << "no rings yet";
    pdb.initOrbitalShift();
    const double above = expectedShift(polygon(6, 1.39), {0, 0, 3}, 1.24);
    EXPECT_NEAR(pdb.getOrbitalShift(1, 5, "HN"), above, 2e-5);
    EXPECT_EQ(pdb.getOrbitalShift(1, 5, "HA"), 0.0F);
    EXPECT_NEAR(pdb.getOrbitalShift(1, 6, "HA"), above, 2e-5);
    // Atoms that aren't there, one on a ring atom, one without a place.
    EXPECT_EQ(pdb.getOrbitalShift(1, 6, "HN"), 0.0F);
    EXPECT_EQ(pdb.getOrbitalShift(2, 6, "HA"), 0.0F);
    addAtom(pdb, 7, "ALA", "HA", place(polygon(6, 1.39)[2]));
    EXPECT_EQ(pdb.getOrbitalShift(1, 7, "HA"), 0.0F);
    addAtom(pdb, 7, "ALA", "HB1", {NAN, 0, INFINITY});
    EXPECT_EQ(pdb.getOrbitalShift(1, 7, "HB1"), 0.0F);
    EXPECT_EQ(pdb.atoms[1].size(), 3U) << "questions leave no trace";
}

TEST(RingCurrents, RingsOfEachResidue) {
    PDB pdb = readStructure("END\n");
    const std::vector<Point> six = polygon(6, 1.4);
    const std::vector<Point> five = polygon(5, 1.2, 3.0);
    const std::vector<std::string> hisRing = {"CG", "ND1", "CE1", "NE2", "CD2"};
    addRing(pdb, 2, "HIS", hisRing, five);
    addRing(pdb, 3, "his", hisRing, five);
    addRing(pdb, 4, "PHE", {"CG", "CD1", "CE1", "CZ", "CE2"}, six);  // CD2 is missing
    addRing(pdb, 9, "TYR", pheRing, six);
    addRing(pdb, -1, "TRP", {"CD2", "CE2", "CZ2", "CH2", "CZ3", "CE3"}, six);
    addAtom(pdb, -1, "TRP", "CG", {1, 2, 3});
    addAtom(pdb, -1, "TRP", "CD1", {2, 3, 4});
    addAtom(pdb, -1, "TRP", "NE1", {3, 4, 6});
    addRing(pdb, 8, "ALA", pheRing, six);
    pdb.initOrbitalShift();
    const struct {
        int residue;
        int atoms;
        float intensity;
    } expected[] = {{-1, 6, 1.24F}, {-1, 5, 1.32F}, {2, 5, 1.35F}, {9, 6, 1.24F}};
    ASSERT_EQ(pdb.ringCount, 4);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(pdb.rings[i].resNum, expected[i].residue) << i;
        EXPECT_EQ(pdb.rings[i].atomCount, expected[i].atoms) << i;
        EXPECT_EQ(pdb.rings[i].ringIntensity, expected[i].intensity) << i;
    }
    // The five-membered ring of tryptophan in its order.
    EXPECT_EQ(pdb.rings[1].coor[2][2], 6.0F);
    EXPECT_EQ(pdb.rings[1].coor[3][0], pdb.atoms[1][-1]["CE2"].coorCopy[0]);
    EXPECT_EQ(pdb.rings[1].coor[4][0], pdb.atoms[1][-1]["CD2"].coorCopy[0]);
    // A second run starts afresh.
    pdb.residName3.erase(2);
    pdb.initOrbitalShift();
    EXPECT_EQ(pdb.ringCount, 3);
}

TEST(RingCurrents, TableOfRingsHasAnEnd) {
    PDB pdb = readStructure("END\n");
    for (int residue = 1; residue <= 150; ++residue) {
        addRing(pdb, residue, "PHE", pheRing, polygon(6, 1.39));
        addRing(pdb, residue + 1000, "TYR", pheRing, polygon(6, 1.39));
    }
    addAtom(pdb, 5000, "ALA", "HA", place({0, 0, 3}));
    pdb.initOrbitalShift();
    EXPECT_EQ(pdb.ringCount, 200);
    EXPECT_EQ(pdb.rings[199].resNum, 1050);
    EXPECT_NEAR(pdb.getOrbitalShift(1, 5000, "HA"),
                expectedShift(polygon(6, 1.39), {0, 0, 3}, 150 * 1.46 + 50 * 1.24), 2e-3);
}

TEST(RingCurrents, AxesOfThePlane) {
    PDB pdb = readStructure("END\n");
    // Ring orders that give normals along +z and, with y and z exchanged or turned, along x.
    for (const bool alongX : {false, true}) {
        RingData ring;
        ring.atomCount = 5;
        const std::vector<Point> corners = polygon(5, 1.2, 3.0);
        for (std::size_t i = 0; i < 5; ++i) {
            const Point& p = corners[i];
            const Point q = alongX ? Point{p[2] + 7.0, p[0], p[1]} : Point{p[0], p[1], p[2] + 7.0};
            for (std::size_t k = 0; k < 3; ++k) {
                ring.coor[i][k] = static_cast<float>(q[k]);
            }
        }
        pdb.calcPlane(&ring);
        const std::array<float, 3> center =
            alongX ? std::array<float, 3>{7, 3, 0} : std::array<float, 3>{3, 0, 7};
        const std::array<std::array<float, 3>, 3> columns =
            alongX ? std::array<std::array<float, 3>, 3>{{{0, 0, -1}, {0, 1, 0}, {1, 0, 0}}}
                   : std::array<std::array<float, 3>, 3>{{{-1, 0, 0}, {0, -1, 0}, {0, 0, 1}}};
        for (std::size_t k = 0; k < 3; ++k) {
            EXPECT_NEAR(ring.center[k], center[k], 1e-6);
            EXPECT_NEAR(ring.normal[k], columns[2][k], 1e-6);
            for (std::size_t column = 0; column < 3; ++column) {
                EXPECT_NEAR(ring.transform[k][column], columns[column][k], 1e-6)
                    << alongX << k << column;
            }
        }
    }
    RingData line;
    line.atomCount = 3;
    pdb.calcPlane(&line);
    EXPECT_EQ(line.normal[2], 0.0F);
    line.atomCount = 99;
    pdb.calcPlane(&line);
    EXPECT_EQ(line.transform[0][0], 0.0F);
}

TEST(RingCurrents, VectorOperations) {
    PDB pdb = readStructure("END\n");
    float v[3] = {3, 0, -4};
    pdb.Vec3Norm(v);
    EXPECT_FLOAT_EQ(v[0], 0.6F);
    EXPECT_FLOAT_EQ(v[2], -0.8F);
    float a[3] = {1, 2, 3};
    float b[3] = {-4, 5, 0.5F};
    pdb.Vec3Cross(a, b);
    EXPECT_EQ(a[0], -14.0F);
    EXPECT_EQ(a[1], -12.5F);
    EXPECT_EQ(a[2], 13.0F);
    EXPECT_EQ(b[0], -4.0F);
    pdb.Vec3Cross(b, b);
    EXPECT_EQ(b[1], 0.0F);
    pdb.Vec3Norm(b);
    EXPECT_EQ(b[1], 0.0F) << "null stays null";
}

}  // namespace
