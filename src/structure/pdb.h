#pragma once

#include <map>
#include <string>
#include <vector>

#include "structure/ring_data.h"

/// One atom record of a structure file.
struct CORdata {
    int atomNum = 0;        ///< serial number
    int resNum = 0;         ///< residue number
    std::string atomName;   ///< name after renaming; empty for a record that was never read
    std::string resName;    ///< three-letter residue name
    std::string chainName;  ///< chain identifier, one character
    float coor[3] = {};     ///< x, y, z in angstrom
    float tempFactor = 0.0F;
    float coorCopy[3] = {};  ///< the same x, y, z; distances read these, torsion angles `coor`
};

/// A reference structure: the first chain of the first model of a file in the fixed columns of the
/// Protein Data Bank format. Its questions take a model number, which is always 1, and answer
/// 9999.0 for an angle that can't be computed.
class PDB {
  public:
    /// Reads the file; `isNull` tells whether it could be opened.
    explicit PDB(const std::string& path);
    /// A structure of atoms that another reader took from the file `path`.
    PDB(const std::string& path, const std::vector<CORdata>& records);

    /// Replaces the content by that of a file. False, with a message on the standard error stream,
    /// if the file can't be opened; true otherwise, whatever it holds.
    bool loadPDB(const std::string& path);
    /// Takes one `ATOM` line of at least 60 columns apart; a shorter one leaves `out` empty.
    void loadPDB_Entry(const std::string& line, CORdata& out);
    /// Whether no file could be opened.
    bool isNull();

    /// Whether cysteine `res` has a partner more than 3 residues away with its SG within 2.5
    /// angstrom. A cysteine without SG has none.
    bool isSSBonded(int model, int res);
    /// Distance of two points, three coordinates each; summed in double.
    float getDist(float* a, float* b);

    /// Torsion angle about the bond b-c in degrees, -180..180; 9999.0 if a record is empty or
    /// three of the atoms lie on a line.
    float getDihedralAngle(CORdata a, CORdata b, CORdata c, CORdata d);
    /// Torsion angles of residue `res` in degrees.
    float getPhi(int model, int res);
    float getPsi(int model, int res);
    float getChi1(int model, int res);
    float getChi2(int model, int res);
    /// Torsion angle about the peptide bond in front of residue `res`.
    float getOmega(int model, int res);

    /// Finds the hydrogen bonds of the structure: fills `acceptors`, `donors` and `hbondDist`. A
    /// bond joins residues that are at least two apart. The arguments have no effect.
    void initHBond(float, float);
    /// Length of the shortest hydrogen bond of an atom in angstrom; 0.0 without one. Needs
    /// `initHBond`; adds an empty entry for an atom that has none.
    float getHBondDist(int res, std::string atomName);
    float getHBondDist(CORdata atom);
    /// The heavy atom that an acceptor hangs on; empty if the atom accepts no hydrogen bond or its
    /// residue lacks that atom.
    CORdata isAcceptor(CORdata atom);
    /// The heavy atom that carries a donor hydrogen; empty as above. Alpha protons are donors.
    CORdata isDonor(CORdata atom);

    /// Finds the aromatic rings that have all their atoms, and their planes; those beyond the first
    /// `maxRings` are left out.
    void initOrbitalShift();
    /// Computes `center`, `normal` and `transform` of one ring.
    void calcPlane(RingData* ring);
    /// Ring current shift at an atom in ppm, by Haigh and Mallion; 0 for an atom that isn't there.
    /// The rings of the atom's own residue count for HN alone. Needs `initOrbitalShift`.
    float getOrbitalShift(int model, int res, const std::string& atomName);

    /// Scales v, three coordinates, to length 1; a null vector stays null.
    void Vec3Norm(float* v);
    /// Replaces a by a x b.
    void Vec3Cross(float* a, float* b);

    /// One-letter name of a three-letter residue name, case counts; "X" for any other.
    static std::string getOneAAName(const std::string& name);

    static constexpr int maxRings = 200;

    bool loaded = false;   ///< the file could be opened
    std::string fileName;  ///< the path given
    /// model -> atom serial number -> record
    std::map<int, std::map<int, CORdata>> atomsByNum;
    /// model -> residue number -> atom name -> record
    std::map<int, std::map<int, std::map<std::string, CORdata>>> atoms;
    std::map<int, std::string> residName3;  ///< residue number -> three-letter name
    std::map<int, std::string> residName1;  ///< residue number -> letter, c for a bonded cysteine
    int firstRes = 9999;                    ///< lowest residue number read
    int lastRes = -9999;                    ///< highest residue number read
    RingData rings[maxRings];               ///< the aromatic rings found
    int ringCount = 0;                      ///< number of rings in use
    /// serial number of an acceptor atom -> that of the heavy atom it hangs on
    std::map<int, int> acceptors;
    /// serial number of a donor hydrogen -> that of the heavy atom that carries it
    std::map<int, int> donors;
    /// residue number -> atom name -> length of the atom's shortest hydrogen bond, angstrom
    std::map<int, std::map<std::string, float>> hbondDist;

  private:
    void storeAtom(const CORdata& atom, std::map<int, CORdata>& byNumber);
    void assignDisulfides();
    std::vector<CORdata> cysteineSulfurs() const;
    bool hasBondPartner(CORdata& sulfur, std::vector<CORdata>& sulfurs);
    void addRing(int residue, float intensity, const std::vector<const char*>& ringAtoms);
    const CORdata& findAtom(int model, long long res, const std::string& name) const;
};
