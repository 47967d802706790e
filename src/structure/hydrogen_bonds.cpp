#include "structure/hydrogen_bonds.h"

#include <array>
#include <string_view>
#include <vector>

#include "structure/pdb.h"

namespace {

// A partner of the atoms of a residue in a hydrogen bond; an empty residue stands for any.
struct AtomRule {
    std::string_view residue;
    std::string_view atom;
    std::string_view partner;
};

constexpr auto acceptorRules = std::to_array<AtomRule>({
    {"", "O", "C"},
    {"", "OT1", "C"},
    {"", "OT2", "C"},
    {"ASN", "OD1", "CG"},
    {"ASP", "OD1", "CG"},
    {"ASP", "OD2", "CG"},
    {"CYS", "SG", "CB"},
    {"cys", "SG", "CB"},
    {"GLN", "OE1", "CD"},
    {"GLU", "OE1", "CD"},
    {"GLU", "OE2", "CD"},
    {"HIS", "ND1", "CE1"},
    {"HIS", "NE2", "CE1"},
    {"MET", "SD", "CG"},
    {"SER", "OG", "CB"},
    {"THR", "OG1", "CB"},
    {"TYR", "OH", "CZ"},
});

constexpr auto donorRules = std::to_array<AtomRule>({
    {"ARG", "HE", "NE"},    {"ARG", "HH11", "NH1"}, {"ARG", "HH12", "NH1"}, {"ARG", "HH21", "NH2"},
    {"ARG", "HH22", "NH2"}, {"ASN", "HD21", "ND2"}, {"ASN", "HD22", "ND2"}, {"CYS", "HG", "SG"},
    {"cys", "HG", "SG"},    {"GLN", "HE21", "NE2"}, {"GLN", "HE22", "NE2"}, {"HIS", "HD1", "ND1"},
    {"HIS", "HE2", "NE2"},  {"LYS", "HZ1", "NZ"},   {"LYS", "HZ2", "NZ"},   {"LYS", "HZ3", "NZ"},
    {"SER", "HG", "OG"},    {"THR", "HG1", "OG1"},  {"TRP", "HE1", "NE1"},  {"TYR", "HH", "OH"},
});

template <std::size_t n>
std::string partnerOf(const std::array<AtomRule, n>& rules, const std::string& residue,
                      const std::string& atom) {
    for (const AtomRule& rule : rules) {
        if (rule.atom == atom && (rule.residue.empty() || rule.residue == residue)) {
            return std::string(rule.partner);
        }
    }
    return std::string();
}

double inverseCube(float r) {
    const double wide = static_cast<double>(r);
    return 1.0 / (wide * wide * wide);
}

// An acceptor and its antecedent, or a donor hydrogen and its heavy atom. The place of the atom
// itself stands close by: most pairs of a structure end at a look at it.
struct AtomPair {
    std::array<double, 3> place;
    CORdata* atom;
    CORdata* partner;
};

std::vector<AtomPair> pairsOf(const std::map<int, int>& serials, std::map<int, CORdata>& bySerial) {
    std::vector<AtomPair> pairs;
    pairs.reserve(serials.size());
    for (const auto& [serial, partner] : serials) {
        const auto atom = bySerial.find(serial);
        const auto heavy = bySerial.find(partner);
        if (atom != bySerial.end() && heavy != bySerial.end()) {
            const float* const c = atom->second.coorCopy;
            pairs.push_back(
                {{static_cast<double>(c[0]), static_cast<double>(c[1]), static_cast<double>(c[2])},
                 &atom->second,
                 &heavy->second});
        }
    }
    return pairs;
}

// No bond is longer: with A-H no longer than C-D the energy can't reach -0.5 kcal/mol beyond 4.82
// angstrom.
bool isFar(const AtomPair& acceptor, const AtomPair& donor) {
    constexpr double limit = 5.0;
    double sum = 0.0;
    for (std::size_t k = 0; k < 3; ++k) {
        const double d = acceptor.place[k] - donor.place[k];
        sum += d * d;
    }
    return sum > limit * limit;
}

void keepShortest(std::map<int, std::map<std::string, float>>& distances, const CORdata& atom,
                  float length) {
    float& shortest = distances[atom.resNum][atom.atomName];
    if (shortest == 0.0F || shortest > length) {
        shortest = length;
    }
}

}  // namespace

namespace orvix::structure {

std::string acceptorAntecedent(const std::string& residue, const std::string& atom) {
    return partnerOf(acceptorRules, residue, atom);
}

std::string donorHeavyAtom(const std::string& residue, const std::string& atom) {
    if (atom == "HN") {
        return "N";
    }
    if (atom.find("HA") != std::string::npos) {
        return "CA";
    }
    return partnerOf(donorRules, residue, atom);
}

double hydrogenBondEnergy(float ad, float ch, float ah, float cd) {
    return 27.888 * (inverseCube(ad) + inverseCube(ch) - inverseCube(cd) - inverseCube(ah));
}

bool isHydrogenBond(float ad, float ch, float ah, float cd) {
    return ah <= cd && hydrogenBondEnergy(ad, ch, ah, cd) < -0.5;
}

}  // namespace orvix::structure

CORdata PDB::isAcceptor(CORdata atom) {
    const std::string antecedent =
        orvix::structure::acceptorAntecedent(atom.resName, atom.atomName);
    return antecedent.empty() ? CORdata() : findAtom(1, atom.resNum, antecedent);
}

CORdata PDB::isDonor(CORdata atom) {
    const std::string heavy = orvix::structure::donorHeavyAtom(atom.resName, atom.atomName);
    return heavy.empty() ? CORdata() : findAtom(1, atom.resNum, heavy);
}

void PDB::initHBond(float, float) {
    acceptors.clear();
    donors.clear();
    hbondDist.clear();
    const auto model = atomsByNum.find(1);
    if (model == atomsByNum.end()) {
        return;
    }
    for (const auto& [serial, atom] : model->second) {
        const CORdata antecedent = isAcceptor(atom);
        if (!antecedent.atomName.empty()) {
            acceptors[serial] = antecedent.atomNum;
            continue;
        }
        const CORdata heavy = isDonor(atom);
        if (!heavy.atomName.empty()) {
            donors[serial] = heavy.atomNum;
        }
    }

    const std::vector<AtomPair> hydrogens = pairsOf(donors, model->second);
    for (const AtomPair& acceptor : pairsOf(acceptors, model->second)) {
        float* const a = acceptor.atom->coorCopy;
        float* const c = acceptor.partner->coorCopy;
        for (const AtomPair& donor : hydrogens) {
            if (isFar(acceptor, donor)) {
                continue;
            }
            const long long apart =
                static_cast<long long>(acceptor.atom->resNum) - donor.atom->resNum;
            if (apart >= -1 && apart <= 1) {
                continue;
            }
            float* const h = donor.atom->coorCopy;
            float* const d = donor.partner->coorCopy;
            const float length = getDist(a, h);
            if (orvix::structure::isHydrogenBond(getDist(a, d), getDist(c, h), length,
                                                 getDist(c, d))) {
                keepShortest(hbondDist, *acceptor.atom, length);
                keepShortest(hbondDist, *donor.atom, length);
            }
        }
    }
}

float PDB::getHBondDist(int res, std::string atomName) {
    return hbondDist[res][atomName];
}

float PDB::getHBondDist(CORdata atom) {
    return getHBondDist(atom.resNum, atom.atomName);
}
