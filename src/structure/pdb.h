#pragma once

#include <map>
#include <string>

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

    /// One-letter name of a three-letter residue name, case counts; "X" for any other.
    static std::string getOneAAName(const std::string& name);

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

  private:
    void storeAtom(const CORdata& atom, std::map<int, CORdata>& byNumber);
    void assignDisulfides();
    const CORdata& findAtom(int model, long long res, const std::string& name) const;
};
