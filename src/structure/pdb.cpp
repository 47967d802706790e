#include "structure/pdb.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <limits>
#include <ostream>
#include <string_view>
#include <utility>

#include "base/narrow.h"
#include "base/numbers.h"
#include "base/residues.h"
#include "base/streams.h"
#include "tables/gdb.h"

namespace {

// Columns before the temperature factor, which alone may be absent.
constexpr std::size_t leastColumns = 60;
constexpr float bondLimit = 2.5F;         // angstrom between the SG of a disulfide
constexpr long long leastSeparation = 3;  // residues; bonded partners lie further apart

bool isCysteine(const std::string& letter) {
    return letter == "C" || letter == "c";
}

}  // namespace

PDB::PDB(const std::string& path) : fileName(path) {
    loaded = loadPDB(path);
}

PDB::PDB(const std::string& path, const std::vector<CORdata>& records)
    : loaded(true), fileName(path) {
    std::map<int, CORdata>& byNumber = atomsByNum[1];
    for (const CORdata& atom : records) {
        storeAtom(atom, byNumber);
    }
    assignDisulfides();
}

bool PDB::isNull() {
    return !loaded;
}

bool PDB::loadPDB(const std::string& path) {
    std::error_code ignored;
    std::ifstream file;
    if (!std::filesystem::is_directory(path, ignored)) {
        file.open(path, std::ios::binary);
    }
    if (!file.is_open()) {
        orvix::err() << "\tPDB error:: Can't open PDB file " << path << " for reading\n";
        return false;
    }
    atomsByNum.clear();
    atoms.clear();
    residName3.clear();
    residName1.clear();
    ringCount = 0;
    acceptors.clear();
    donors.clear();
    hbondDist.clear();
    firstRes = 9999;
    lastRes = -9999;

    std::map<int, CORdata> byNumber;
    long long tooShort = 0;
    std::string line;
    while (std::getline(file, line)) {
        if (!line.empty() && line.back() == '\r') {
            line.pop_back();
        }
        const std::string_view start(line);
        if (start.starts_with("TER") || start.starts_with("END")) {
            break;
        }
        if (!start.starts_with("ATOM")) {
            continue;
        }
        if (line.size() < leastColumns) {
            ++tooShort;
            continue;
        }
        CORdata atom;
        loadPDB_Entry(line, atom);
        storeAtom(atom, byNumber);
    }
    atomsByNum[1] = std::move(byNumber);
    if (tooShort > 0) {
        orvix::err() << "\tPDB warning:: " << tooShort << " ATOM line(s) shorter than "
                     << leastColumns << " columns skipped in PDB file " << path << "\n";
    }
    assignDisulfides();
    return true;
}

void PDB::loadPDB_Entry(const std::string& line, CORdata& out) {
    out = CORdata();
    if (line.size() < leastColumns) {
        return;
    }
    const auto number = [&line](std::size_t column, std::size_t length) {
        return orvix::narrowToFloat(orvix::textToDouble(line.substr(column, length)));
    };
    out.atomNum = orvix::textToInt(line.substr(6, 5));
    out.atomName = GDB::simplifyWhiteSpace(line.substr(11, 5));
    out.resName = GDB::simplifyWhiteSpace(line.substr(17, 3));
    out.chainName = line.substr(21, 1);
    out.resNum = orvix::textToInt(line.substr(22, 4));
    for (std::size_t k = 0; k < 3; ++k) {
        out.coor[k] = number(30 + 8 * k, 8);
        out.coorCopy[k] = out.coor[k];
    }
    out.tempFactor = number(60, 6);

    if (out.atomName == "H") {
        out.atomName = "HN";
    }
    // Old files put the number of a hydrogen in front: 1HB for HB1.
    if (!out.atomName.empty() && out.atomName[0] >= '1' && out.atomName[0] <= '3') {
        std::rotate(out.atomName.begin(), out.atomName.begin() + 1, out.atomName.end());
    }
}

void PDB::storeAtom(const CORdata& atom, std::map<int, CORdata>& byNumber) {
    byNumber[atom.atomNum] = atom;
    atoms[1][atom.resNum][atom.atomName] = atom;
    residName3[atom.resNum] = atom.resName;
    residName1[atom.resNum] = getOneAAName(atom.resName);
    firstRes = std::min(firstRes, atom.resNum);
    lastRes = std::max(lastRes, atom.resNum);
}

void PDB::assignDisulfides() {
    // A partner that is c already still counts, so both ends of a bond are found.
    std::vector<CORdata> sulfurs = cysteineSulfurs();
    for (CORdata& sulfur : sulfurs) {
        if (hasBondPartner(sulfur, sulfurs)) {
            residName1[sulfur.resNum] = "c";
            residName3[sulfur.resNum] = "cys";
        }
    }
}

// The SG of each cysteine that has one, in rising residue number.
std::vector<CORdata> PDB::cysteineSulfurs() const {
    std::vector<CORdata> sulfurs;
    for (const auto& [residue, letter] : residName1) {
        if (isCysteine(letter)) {
            const CORdata& sulfur = findAtom(1, residue, "SG");
            if (!sulfur.atomName.empty()) {
                sulfurs.push_back(sulfur);
                sulfurs.back().resNum = residue;
            }
        }
    }
    return sulfurs;
}

bool PDB::hasBondPartner(CORdata& sulfur, std::vector<CORdata>& sulfurs) {
    for (CORdata& partner : sulfurs) {
        const long long apart = static_cast<long long>(partner.resNum) - sulfur.resNum;
        if (std::abs(apart) > leastSeparation &&
            getDist(sulfur.coorCopy, partner.coorCopy) <= bondLimit) {
            return true;
        }
    }
    return false;
}

bool PDB::isSSBonded(int /*model*/, int res) {
    const auto own = residName1.find(res);
    if (own == residName1.end() || !isCysteine(own->second)) {
        return false;
    }
    CORdata sulfur = findAtom(1, res, "SG");
    if (sulfur.atomName.empty()) {
        return false;
    }
    sulfur.resNum = res;
    std::vector<CORdata> sulfurs = cysteineSulfurs();
    return hasBondPartner(sulfur, sulfurs);
}

float PDB::getDist(float* a, float* b) {
    double sum = 0.0;
    for (int k = 0; k < 3; ++k) {
        const double d = static_cast<double>(a[k]) - b[k];
        sum += d * d;
    }
    return orvix::narrowToFloat(std::sqrt(sum));
}

const CORdata& PDB::findAtom(int model, long long res, const std::string& name) const {
    static const CORdata none;
    if (res < std::numeric_limits<int>::min() || res > std::numeric_limits<int>::max()) {
        return none;
    }
    const auto inModel = atoms.find(model);
    if (inModel == atoms.end()) {
        return none;
    }
    const auto inResidue = inModel->second.find(static_cast<int>(res));
    if (inResidue == inModel->second.end()) {
        return none;
    }
    const auto atom = inResidue->second.find(name);
    return atom == inResidue->second.end() ? none : atom->second;
}

std::string PDB::getOneAAName(const std::string& name) {
    if (name == "HIS+" || name == "LYS+" || name == "ARG+") {
        return getOneAAName(name.substr(0, 3));
    }
    const orvix::Residue* const residue = orvix::findResidue(name);
    return residue == nullptr || residue->letter == 'p' ? "X" : std::string(1, residue->letter);
}
