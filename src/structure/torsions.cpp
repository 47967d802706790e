#include "structure/dihedral.h"
#include "structure/pdb.h"

namespace {

constexpr float noAngle = 9999.0F;

// The atom that ends chi1 by residue name; empty for a residue without chi1.
std::string chi1End(const std::string& residue) {
    if (residue == "GLY" || residue == "ALA") {
        return std::string();
    }
    if (residue == "VAL" || residue == "ILE") {
        return "CG1";
    }
    if (residue == "THR") {
        return "OG1";
    }
    if (residue == "SER") {
        return "OG";
    }
    if (residue == "CYS" || residue == "cys") {
        return "SG";
    }
    return "CG";
}

}  // namespace

float PDB::getDihedralAngle(CORdata a, CORdata b, CORdata c, CORdata d) {
    if (a.atomName.empty() || b.atomName.empty() || c.atomName.empty() || d.atomName.empty()) {
        return noAngle;
    }
    return static_cast<float>(orvix::dihedralDegrees(a.coor, b.coor, c.coor, d.coor));
}

float PDB::getPhi(int model, int res) {
    return getDihedralAngle(findAtom(model, res - 1LL, "C"), findAtom(model, res, "N"),
                            findAtom(model, res, "CA"), findAtom(model, res, "C"));
}

float PDB::getPsi(int model, int res) {
    return getDihedralAngle(findAtom(model, res, "N"), findAtom(model, res, "CA"),
                            findAtom(model, res, "C"), findAtom(model, res + 1LL, "N"));
}

float PDB::getChi1(int model, int res) {
    const auto name = residName3.find(res);
    const std::string end = chi1End(name == residName3.end() ? std::string() : name->second);
    if (end.empty()) {
        return noAngle;
    }
    return getDihedralAngle(findAtom(model, res, "N"), findAtom(model, res, "CA"),
                            findAtom(model, res, "CB"), findAtom(model, res, end));
}
