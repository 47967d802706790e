#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "search/clusterdata.h"
#include "shifts/shift_findings.h"
#include "summaries/result_rows.h"
#include "tables/gdb.h"

class CHI1ANN;
class DB;
class PDB;

namespace orvix::search {
struct TripletResult;
}  // namespace orvix::search

/// One run of the system: all settings, tables and results. The stages are member functions; each
/// takes what it needs from the members that the stages before it filled and leaves its results in
/// members for those after it, so the blocks below, read from top to bottom, are the data flow.
///
/// Residues are addressed by residue number in the numbering of the input table. Shifts are in ppm,
/// angles in degrees; 9999.0 marks a missing shift or angle, and 999.0 or more counts as missing.
/// The six backbone atoms have the keys 1..6 of `atomNames` wherever an array is indexed by atom.
class ORVIX {
  public:
    ORVIX();
    ~ORVIX();
    ORVIX(const ORVIX&) = delete;
    ORVIX& operator=(const ORVIX&) = delete;

    // ---- front: banner, usage text, settings --------------------------------------------------

    /// Writes the banner to the standard error stream.
    void printInfo();
    /// Writes the usage text to the standard error stream and ends the process with status -1.
    [[noreturn]] void printSyntax();
    /// Settles all settings and file names from option name -> value; an option counts as given
    /// when its value is not empty. Loads the reference structure. Called once.
    void setArgs(std::map<std::string, std::string> args);
    /// Option names that the program accepts without a warning.
    std::vector<std::string> argNames;

    std::string orvixDir;        ///< data directory; `tabDir` hangs on it
    std::string pathSep;         ///< directory separator
    int nProc = 1;               ///< -np, handed to the surface networks
    std::string tabDir;          ///< directory of all tables below
    std::string inFile;          ///< input shift table
    std::string inTitle;         ///< its title in the result tables
    std::string refFile;         ///< reference structure, empty for none
    PDB* refPDB = nullptr;       ///< owned; null without a reference
    std::string refTitle;        ///< title of the reference
    std::string dbFile;          ///< database of known proteins
    std::string weightFile;      ///< atom and position weights
    std::string homologyFile;    ///< residue similarity
    std::string sumFile;         ///< summary table
    std::string outBase;         ///< `sumFile` up to its last "."
    std::string allFile;         ///< comprehensive match table
    std::string randCoilFile;    ///< random coil shifts
    std::string rcAdjFile;       ///< their adjustment by the residue itself
    std::string rcPrevFile;      ///< by the residue before
    std::string rcNextFile;      ///< by the residue after
    std::string ssLimitFile;     ///< secondary shift limits
    std::string exclList;        ///< database sources to leave out
    double s2Limit = 0.4;        ///< 1 - the least S2 of a residue that is not `Dyn`
    int count = 10;              ///< matches that a residue needs to count as served
    int candidateMax = 25;       ///< matches kept by residue
    int firstResid = -999999;    ///< range to work on, narrowed by getResInfo
    int lastResid = 999999;      ///< "
    bool clip = true;            ///< clip the shifts of triplet records
    bool isoCorrect = false;     ///< deuterium isotope correction
    std::string isoAdjFile;      ///< its table
    std::string blastCheckFile;  ///< profile of the sequence-only mode
    int alignLen = 7;            ///< window length of the database search, 3..7
    bool checkOnly = false;      ///< stop after the shift checks
    bool offsetCorrect = false;  ///< apply estimated referencing offsets
    bool noVerb = true;          ///< no detail lines of the search
    bool noPath = true;          ///< status lines do not name files
    bool noProton = false;       ///< take HA and HN as missing
    bool searchPhase = false;    ///< set when the database search begins
    bool noOxiCysCheck = false;  ///< keep the cysteine states as given

    char numBuf[32] = {};  ///< scratch text for number conversions

    // ---- tables, filled by init ---------------------------------------------------------------

    /// The whole prediction run, stage by stage.
    void orvixPredict();
    /// Loads the input table and all reference tables and derives the members of this block.
    void init();

    GDB inTable;     ///< the input shift table
    GDB adjCSTable;  ///< the working table of secondary shifts (getResInfo)
    GDB obsCSTable;  ///< observed triplets (runABP_Prediction)

    DB* db = nullptr;                   ///< owned; the database of known proteins
    int dbProteinCount = 0;             ///< protein blocks of `db`, with the empty block 0
    std::map<int, int> dbProteinFirst;  ///< block -> first database index
    std::map<int, int> dbProteinLast;   ///< block -> last database index
    GDB weightTable, homologyTable, randCoilTable, rcAdjTable, rcPrevTable, rcNextTable;
    GDB ssLimitTable, isoAdjTable;
    std::map<std::string, std::map<std::string, double>> isoAdj;  ///< residue -> CA, CB -> ppm

    int firstCSResid = 0;                ///< range of residues with shift rows (getResInfo)
    int lastCSResid = 0;                 ///< "
    int seqFirstResid = 0;               ///< number of the first sequence letter
    std::map<int, std::string> seq;      ///< residue -> letter, cysteine state applied
    std::map<int, std::string> seqOrig;  ///< residue -> letter as read
    std::map<int, char> seqChar;         ///< residue in range -> letter
    /// Rows of six secondary shifts by residue - firstResid; column = atom key - 1. Owned.
    double** shiftMatrix = nullptr;
    int shiftMatrixRows = 0;               ///< rows of `shiftMatrix`
    std::map<int, std::string> atomNames;  ///< 1 N, 2 HA, 3 C, 4 CA, 5 CB, 6 HN

    double atomPosWeight[19] = {};  ///< [(position - 1) * 6 + atom key], position 1..3
    double atomWeight[7] = {};      ///< [atom key]
    double posWeight[4] = {};       ///< [position 1..3]
    std::map<std::string, std::map<std::string, double>> homology;  ///< residue -> residue -> value
    /// Shifts of the rows of `obsCSTable`, by row number 1..23999: 18 values at
    /// (position - 1) * 6 + atom key - 1; and their residue names at index 1..3. Owned.
    double** obsShift = nullptr;
    std::string** obsResName = nullptr;
    std::map<int, std::map<int, double>> resWeight;  ///< search map: residue -> box -> value
    std::map<char, std::map<char, double>> blosum;   ///< BLOSUM62 score by letters
    std::string blosumLetters1, blosumLetters2;      ///< the two letter orders
    std::map<std::string, std::vector<double>> blosumScaled;  ///< 20 scores * 0.1, letters1 order
    std::map<std::string, std::vector<double>> blosumRaw;     ///< 20 scores, letters2 order
    std::map<int, int> missingCount;  ///< residue -> shifts missing of the six
    int seqLength = 0;                ///< number of sequence letters
    std::map<int, std::map<std::string, double>> secShift;  ///< residue -> atom -> reference shift
    std::map<std::string, double> shiftOffset;  ///< atom -> estimated referencing offset
    std::map<int, ClusterData> clusters;        ///< residue -> clusters of its map
    std::map<int, double> annConfidence;        ///< residue -> share of the first cluster
    std::map<std::string, CHI1ANN*> chi1Nets;   ///< letter -> chi1 network; owned

    /// Cell `col` of row `row` of `weightTable`; 9999.0 without that row.
    double getWeight(const std::string& row, const std::string& col);
    /// Random coil shift of `atom` in residue `res`; 9999.0 without that row.
    double getRC(const std::string& res, const std::string& atom);
    /// Adjustments by this residue, the one before and the one after; 0.0 without that row.
    double getRCadj(const std::string& res, const std::string& atom);
    double getPrevRCadj(const std::string& res, const std::string& atom);
    double getNextRCadj(const std::string& res, const std::string& atom);

    // ---- shift preparation --------------------------------------------------------------------

    /// Sequence, ranges, secondary shifts, shift checks; writes the table of secondary shifts.
    /// Ends the process with status -1 with `checkOnly` set, and for a table without sequence,
    /// columns or rows.
    void getResInfo();
    /// The same without the table and without the end by `checkOnly`.
    void prepareShifts();
    /// `shift`, or the limit of residue `res` and `atom` that it passed.
    double clipSShift(int res, double shift, const std::string& atom);
    /// Reports outliers and estimates referencing offsets into `shiftOffset`.
    void checkCS();
    orvix::shifts::ShiftFindings
        shiftFindings;  ///< what checkCS and the look at the sequence reported
    /// Fits y = a x + b; `sd` is the standard error of the residuals. Without effect when x and y
    /// differ in length.
    int LinearLeastSquareFitting(std::vector<double>& x, std::vector<double>& y, double& a,
                                 double& b, double& sd);
    /// Record of the residues resid-1, resid, resid+1 as named texts.
    std::map<std::string, std::string> getTriplet(int resid);
    /// Whether a triplet record has enough shifts and lies in range.
    bool testTriplet(std::map<std::string, std::string> triplet);

    // ---- phi/psi maps -------------------------------------------------------------------------

    /// Network input, surface networks, maps, clusters; writes the map table.
    void runABP_Prediction();
    /// Fills `avg` with a shift by atom, averaged over the observed triplets nearest to residue
    /// `res`; false if that can't be done for this residue.
    bool calcAverageCS_orig(int res, std::map<std::string, double>& avg);
    /// The same against windows of the database.
    bool calcAverageCS(int res, std::map<std::string, double>& avg, DB* database);
    /// Clusters of a box map; returns their number.
    int getClusterInfo(std::vector<double>& map, ClusterData& out);

    std::map<int, std::vector<double>> annInput;     ///< residue -> 32 values, shifts first
    std::map<int, std::vector<double>> mapStandard;  ///< residue -> 324 raw values
    std::map<int, std::vector<double>> mapHybrid;    ///< residue -> 324 raw values
    std::map<int, std::vector<double>> annPhiPsi;    ///< residue -> final map, 324 boxes

    // ---- secondary structure and order parameter ----------------------------------------------

    /// Helix, strand, coil from shifts and sequence; writes its table.
    void runSS_Prediction();
    /// The same from a sequence profile alone; a run of its own.
    void runSeqSS_Prediction();
    std::map<int, std::vector<double>> seqSSResult, ssCenterResult, ssPrevResult, ssNextResult;
    std::map<int, std::vector<double>> ssShiftResult;  ///< residue -> helix, strand, coil

    /// Order parameters by the random coil index; writes their table.
    void runS2_Prediction();
    std::map<int, double> s2;  ///< residue -> 1.003 - S2, 9999.0 for none

    std::map<int, orvix::summaries::StructureRow> structureRows;  ///< residue -> row of its table
    std::map<int, orvix::summaries::OrderRow> orderRows;          ///< residue -> row of its table

    // ---- database search ----------------------------------------------------------------------

    /// Whether residue `res` and its neighbours have enough shifts to be searched.
    bool checkCSCompleteness(int res);
    /// Derives `resWeight` from the maps and their clusters.
    void deriveSearchMap();
    /// Loads the database and cuts it into protein blocks.
    void loadDatabase();
    /// Fills `dbProteinFirst`, `dbProteinLast`, `dbProteinCount` from the sources of `db`.
    void cutProteinBlocks();
    /// Best matching database stretches of one residue: fills its match lists and both maps.
    void searchDB(int res, std::map<double, int>& matches, std::map<double, int>& typeMatches);
    /// Second look at the candidates of a residue, with the angles predicted around it; chi1
    /// evidence.
    void searchDB2(int res, std::map<double, int>& matches, std::map<double, int>& typeMatches);
    /// Replaces the keys of `typeMatches` by chi1 network scores; -1 without such a network.
    int evalChi1WithANN(int res, std::map<double, int>& typeMatches);
    /// Takes the result of a search over into the match lists of residue `res`.
    void storeTripletResult(int res, const orvix::search::TripletResult& result);

    std::map<int, std::vector<double>> matchPhi, matchPsi;  ///< residue -> degrees
    std::map<int, std::vector<double>> matchScore;          ///< residue -> ranking key, by rank
    std::map<int, std::vector<double>> matchWeight;  ///< residue -> 1.0 for the winning group
    std::map<int, std::vector<double>> matchChi1;    ///< residue -> degrees, best first
    std::map<int, std::map<int, int>> matchIndex;    ///< residue -> rank from 1 -> database index
    std::map<int, int> matchCount;                   ///< residue -> consensus count
    std::map<int, double> avgPhi, avgPsi, stdPhi, stdPsi;  ///< residue -> degrees
    /// residue -> rotamer word -> network scores, lowest first
    std::map<int, std::map<std::string, std::vector<double>>> chi1Result;

    // ---- summaries ----------------------------------------------------------------------------

    /// Keeps of the angle lists the winning group of matches; counts how well they agree.
    void vinaClassificationCluster(std::vector<double>& phi, std::vector<double>& psi,
                                   int& consensus, std::vector<double>& weight,
                                   ClusterData& residueClusters);
    /// Classifies the matches of residue `res` and renews its averages and spreads.
    void classifyResidue(int res);
    /// Writes the summary table.
    void vina();
    /// Writes the chi1 table.
    void vinaChi1();
    /// Writes the comprehensive match table.
    void writePredAll();

    std::map<int, orvix::summaries::PhiPsiRow> phiPsiRows;  ///< residue -> row of the summary table
    std::map<int, orvix::summaries::Chi1Row> chi1Rows;      ///< residue -> row of the chi1 table

    // ---- helpers ------------------------------------------------------------------------------

    /// a - b on the circle, -180..180 for angles in range; 999.0 if either is missing.
    double getDiff(double a, double b);
    /// Mean of angles; 9999.0 for none.
    double getAVGAngle2(std::vector<double>& v);
    /// Spread of angles; 0.0 for none, 180.0 for one.
    double getSTDAngle(std::vector<double>& v);
    /// Arithmetic mean; 0.0 for none.
    double getAverage(std::vector<double>& v);
    /// Sample standard deviation; 0.0 for none.
    double getSTDev(std::vector<double>& v);
    /// Largest of the first three values minus the second largest of them; 0.0 for none.
    double getConfidence(std::vector<double>& v);
    /// g- for (-120, 0], g+ for (0, 120], t else, na above 999.0.
    std::string getChi1Rotamer(float chi1);

    /// Letter of residue `res`, with the cysteine state applied; empty outside the sequence. A
    /// look-up never adds a residue.
    const std::string& seqName(int res) const;
    /// The letter as read if it is one character, else "?".
    std::string residueLabel(int res) const;
    /// Shifts missing at residue `res`; 0 where nothing was counted.
    int missingAt(int res) const;
    /// Path of a file in the table directory.
    std::string tablePath(const std::string& name) const;
};
