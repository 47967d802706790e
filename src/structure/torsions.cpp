#include "base/missing.h"
#include "base/residues.h"
#include "structure/dihedral.h"
#include "structure/pdb.h"

namespace {

constexpr auto noAngle = static_cast<float>(orvix::missingValue);

// The atom that ends chi1 by residue name; empty for a residue without chi1.
std::string chi1End(const std::string& name) {
    const orvix::Residue* const residue = orvix::findResidue(name);
    return residue == nullptr ? "CG" : std::string(residue->gamma);
}

// The third and fourth atom of chi2.
struct Chi2End {
    const char* third;
    const char* fourth;
};

// Null for a residue without chi2. Residues that aren't listed have a straight carbon chain.
const Chi2End* chi2End(const std::string& residue) {
    static constexpr Chi2End straight = {"CG", "CD"};
    static const std::map<std::string, Chi2End> ends = {
        {"VAL", {"CG1", "HG11"}}, {"THR", {"CG2", "HG21"}}, {"SER", {"OG", "HG"}},
        {"ILE", {"CG1", "CD1"}},  {"CYS", {"SG", "HG"}},    {"cys", {"SG", "HG"}},
        {"ASN", {"CG", "OD1"}},   {"ASP", {"CG", "OD1"}},   {"HIS", {"CG", "ND1"}},
        {"MET", {"CG", "SD"}},    {"LEU", {"CG", "CD1"}},   {"PHE", {"CG", "CD1"}},
        {"TYR", {"CG", "CD1"}},   {"TRP", {"CG", "CD1"}}};
    if (residue == "GLY" || residue == "ALA") {
        return nullptr;
    }
    const auto end = ends.find(residue);
    return end == ends.end() ? &straight : &end->second;
}

}  // namespace

float PDB::getDihedralAngle(CORdata a, CORdata b, CORdata c, CORdata d) {
    if (a.atomName.empty() || b.atomName.empty() || c.atomName.empty() || d.atomName.empty()) {
        return noAngle;
    }
    return static_cast<float>(orvix::structure::dihedralDegrees(a.coor, b.coor, c.coor, d.coor));
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

float PDB::getChi2(int model, int res) {
    const auto name = residName3.find(res);
    const Chi2End* const end = chi2End(name == residName3.end() ? std::string() : name->second);
    if (end == nullptr) {
        return noAngle;
    }
    return getDihedralAngle(findAtom(model, res, "CA"), findAtom(model, res, "CB"),
                            findAtom(model, res, end->third), findAtom(model, res, end->fourth));
}

float PDB::getOmega(int model, int res) {
    return getDihedralAngle(findAtom(model, res - 1LL, "CA"), findAtom(model, res - 1LL, "C"),
                            findAtom(model, res, "N"), findAtom(model, res, "CA"));
}
