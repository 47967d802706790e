#pragma once

#include <map>
#include <memory>
#include <stop_token>
#include <string>
#include <vector>

#include "base/row_matrix.h"
#include "search/clusterdata.h"
#include "shifts/shift_findings.h"
#include "summaries/result_rows.h"
#include "tables/gdb.h"

class CHI1ANN;
class DB;
class PDB;

namespace orvix {
class Model;
class TextWriter;
struct Settings;
struct ShiftInput;
enum class ResultTable : int;
}  // namespace orvix
namespace orvix::networks {
class NetworkWeights;
}  // namespace orvix::networks
namespace orvix::search {
class Database;
struct SearchInput;
struct TripletResult;
}  // namespace orvix::search
namespace orvix::shifts {
class ObservedTriplets;
}  // namespace orvix::shifts

/// One run of the system: settings, input and results of one protein. What the data directory holds
/// is in the model that the run shares with others.
///
/// The stages are member functions; each takes what it needs from the members that the stages
/// before it filled and leaves its results in members for those after it, so the blocks below, read
/// from top to bottom, are the data flow. Each block names who writes it and who reads it.
///
/// Residues are addressed by residue number in the numbering of the input table. Shifts are in ppm,
/// angles in degrees; 9999.0 marks a missing shift or angle, and 999.0 or more counts as missing.
/// The six backbone atoms have the keys 1..6 of `atomNames` wherever an array is indexed by atom.
class ORVIX {
  public:
    /// A run on a model of its own; data directory and separator come from the environment.
    ORVIX();
    /// A run on a shared model; looks at no environment.
    explicit ORVIX(std::shared_ptr<const orvix::Model> shared);
    ~ORVIX();
    ORVIX(const ORVIX&) = delete;
    ORVIX& operator=(const ORVIX&) = delete;

    /// The whole prediction run, stage by stage.
    void orvixPredict();

    // ---- how the run is carried out; set by its caller, read by every stage -------------------

    std::shared_ptr<const orvix::Model> model;  ///< never null
    std::stop_token stop;                       ///< asks the run to end at its next checkpoint
    bool tablesToFiles = true;  ///< whether each stage writes its table; else records alone
    /// Throws RunEnd when a stop was asked for. The stages call it between residues.
    void checkpoint() const;
    /// Path of a result table.
    std::string resultPath(orvix::ResultTable table) const;
    /// Opens the file of a result table, if there is to be one; false, with a warning, when it
    /// can't be opened.
    bool openTable(orvix::ResultTable table);
    /// Writes a result table to its file, which is opened if it isn't yet.
    void writeTable(orvix::ResultTable table);

    char numBuf[32] = {};  ///< scratch text for number conversions; no stage needs it any more

    // ---- settings; written by setArgs, read by every stage ------------------------------------

    /// Writes the banner to the standard error stream.
    void printInfo();
    /// Ends the run with status -1 and the usage text.
    [[noreturn]] void printSyntax();
    /// Settles all settings and file names from option name -> value; an option counts as given
    /// when its value is not empty. Loads the reference structure. Called once.
    void setArgs(std::map<std::string, std::string> args);
    /// The same from values, without the reference structure.
    void takeSettings(const orvix::Settings& settings);
    /// The settings as values.
    orvix::Settings settings() const;
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
    int lastResid = 999999;      ///< the end of that range
    bool clip = true;            ///< clip the shifts of triplet records
    bool isoCorrect = false;     ///< deuterium isotope correction
    std::string isoAdjFile;      ///< its table
    std::string blastCheckFile;  ///< profile of the sequence-only mode
    int alignLen = 7;            ///< window length of the database search, 1..8
    bool checkOnly = false;      ///< stop after the shift checks
    bool offsetCorrect = false;  ///< apply estimated referencing offsets
    bool noVerb = true;          ///< no detail lines of the search
    bool noPath = true;          ///< status lines do not name files
    bool noProton = false;       ///< take HA and HN as missing
    bool searchPhase = false;    ///< set when the database search begins
    bool noOxiCysCheck = false;  ///< keep the cysteine states as given

    std::map<int, std::string> atomNames;  ///< 1 N, 2 HA, 3 C, 4 CA, 5 CB, 6 HN; never changes

    // ---- tables; written by init, read by the shift stages and the network stages -------------

    /// Takes an input that was read already; `init` then reads none.
    void takeInput(orvix::ShiftInput input);
    /// Loads the input table and all reference tables and derives the members of this block.
    void init();

    GDB inTable;              ///< the input shift table
    bool inputTaken = false;  ///< `inTable` came by takeInput
    GDB weightTable, homologyTable, randCoilTable, rcAdjTable, rcPrevTable, rcNextTable;
    GDB ssLimitTable, isoAdjTable;
    std::map<std::string, std::map<std::string, double>> isoAdj;  ///< residue -> CA, CB -> ppm
    double atomPosWeight[19] = {};  ///< [(position - 1) * 6 + atom key], position 1..3
    double atomWeight[7] = {};      ///< [atom key]
    double posWeight[4] = {};       ///< [position 1..3]
    std::map<std::string, std::map<std::string, double>> homology;  ///< residue -> residue -> value
    std::map<char, std::map<char, double>> blosum;                  ///< BLOSUM62 score by letters
    std::string blosumLetters1, blosumLetters2;                     ///< the two letter orders
    std::map<std::string, std::vector<double>> blosumScaled;  ///< 20 scores * 0.1, letters1 order
    std::map<std::string, std::vector<double>> blosumRaw;     ///< 20 scores, letters2 order
    std::map<std::string, CHI1ANN*> chi1Nets;  ///< letter -> chi1 network; owned; searchDB2
    /// Letter -> weights of the model that stand in for a network without its own; searchDB2
    std::map<char, std::shared_ptr<const orvix::networks::NetworkWeights>> chi1Weights;

    /// Cell `col` of row `row` of `weightTable`; 9999.0 without that row.
    double getWeight(const std::string& row, const std::string& col);
    /// Random coil shift of `atom` in residue `res`; 9999.0 without that row.
    double getRC(const std::string& res, const std::string& atom);
    /// Adjustments by this residue, the one before and the one after; 0.0 without that row.
    double getRCadj(const std::string& res, const std::string& atom);
    double getPrevRCadj(const std::string& res, const std::string& atom);
    double getNextRCadj(const std::string& res, const std::string& atom);

    // ---- shift preparation; written by getResInfo, read by all stages behind it ---------------

    /// Sequence, ranges, secondary shifts, shift checks; writes the table of secondary shifts.
    /// Ends the run with status -1 with `checkOnly` set, and for a table without sequence, columns
    /// or rows.
    void getResInfo();
    /// The same without the table and without the end by `checkOnly`.
    void prepareShifts();
    /// `shift`, or the limit of residue `res` and `atom` that it passed.
    double clipSShift(int res, double shift, const std::string& atom);
    /// Reports outliers and estimates referencing offsets into `shiftOffset`.
    void checkCS();
    /// Fits y = a x + b; `sd` is the standard error of the residuals. Without effect when x and y
    /// differ in length.
    int LinearLeastSquareFitting(std::vector<double>& x, std::vector<double>& y, double& a,
                                 double& b, double& sd);
    /// Record of the residues resid-1, resid, resid+1 as named texts.
    std::map<std::string, std::string> getTriplet(int resid);
    /// Whether a triplet record has enough shifts and lies in range.
    bool testTriplet(std::map<std::string, std::string> triplet);

    int firstCSResid = 0;                ///< range of residues with shift rows
    int lastCSResid = 0;                 ///< the end of that range
    int seqFirstResid = 0;               ///< number of the first sequence letter
    int seqLength = 0;                   ///< number of sequence letters
    std::map<int, std::string> seq;      ///< residue -> letter, cysteine state applied
    std::map<int, std::string> seqOrig;  ///< residue -> letter as read
    std::map<int, char> seqChar;         ///< residue in range -> letter
    GDB adjCSTable;                      ///< the working table of secondary shifts
    /// Makes `shiftMatrix` anew, all shifts missing.
    void provideShiftMatrix(std::size_t rows);
    /// Rows of six secondary shifts by residue - firstResid; column = atom key - 1. A face of
    /// memory that the run owns.
    double** shiftMatrix = nullptr;
    std::map<int, int> missingCount;  ///< residue -> shifts missing of the six
    std::map<int, std::map<std::string, double>> secShift;  ///< residue -> atom -> reference shift
    std::map<std::string, double> shiftOffset;   ///< atom -> estimated referencing offset
    orvix::shifts::ShiftFindings shiftFindings;  ///< what the checks reported

    // ---- phi/psi maps; written by runABP_Prediction -------------------------------------------

    /// Network input, surface networks, maps, clusters; writes the map table.
    void runABP_Prediction();
    /// Fills `avg` with a shift by atom, averaged over the observed triplets nearest to residue
    /// `res`; false if that can't be done for this residue.
    bool calcAverageCS_orig(int res, std::map<std::string, double>& avg);
    /// The same against windows of a database.
    bool calcAverageCS(int res, std::map<std::string, double>& avg, DB* known);
    /// Clusters of a box map; returns their number.
    int getClusterInfo(std::vector<double>& map, ClusterData& out);
    /// Takes the triplets that calcAverageCS_orig looks at.
    void takeTriplets(std::shared_ptr<const orvix::shifts::ObservedTriplets> shared);
    /// Loads `obsCSTable`; no stage needs it.
    GDB& observedTable();

    std::shared_ptr<const orvix::shifts::ObservedTriplets> triplets;  ///< of the model
    GDB obsCSTable;  ///< observed triplets as a table, empty until observedTable() is called
    /// Views of `triplets` by row number 1..23999: 18 shifts at (position - 1) * 6 + atom key - 1,
    /// and residue names at index 1..3.
    double** obsShift = nullptr;
    std::string** obsResName = nullptr;
    std::map<int, std::vector<double>> annInput;     ///< residue -> 32 values, shifts first; SS, S2
    std::map<int, std::vector<double>> mapStandard;  ///< residue -> 324 raw values
    std::map<int, std::vector<double>> mapHybrid;    ///< residue -> 324 raw values
    std::map<int, std::vector<double>> annPhiPsi;    ///< residue -> final map, 324 boxes; search
    std::map<int, ClusterData> clusters;  ///< residue -> clusters of its map; search, classes
    std::map<int, double> annConfidence;  ///< residue -> share of the first cluster; search
    std::map<int, orvix::summaries::MapRow> mapRows;  ///< residue -> row of the map table

    // ---- secondary structure and order parameter; read by vina and the result tables ----------

    /// Helix, strand, coil from shifts and sequence; writes its table.
    void runSS_Prediction();
    /// The same from a sequence profile alone; a run of its own.
    void runSeqSS_Prediction();
    std::map<int, std::vector<double>> seqSSResult, ssCenterResult, ssPrevResult, ssNextResult;
    std::map<int, std::vector<double>> ssShiftResult;  ///< residue -> helix, strand, coil
    std::map<int, orvix::summaries::StructureRow> structureRows;  ///< residue -> row of its table

    /// Order parameters by the random coil index; writes their table.
    void runS2_Prediction();
    std::map<int, double> s2;                             ///< residue -> 1.003 - S2, 9999.0 none
    std::map<int, orvix::summaries::OrderRow> orderRows;  ///< residue -> row of its table

    // ---- database search; written by both passes, read by the summaries -----------------------

    /// Derives `resWeight` from the maps and their clusters.
    void deriveSearchMap();
    /// Takes the database from the model.
    void loadDatabase();
    void takeDatabase(std::shared_ptr<const orvix::search::Database> shared);
    /// Fills `dbProteinFirst`, `dbProteinLast`, `dbProteinCount` from the sources of `db`.
    void cutProteinBlocks();
    /// Whether residue `res` and its neighbours have enough shifts to be searched.
    bool checkCSCompleteness(int res);
    /// The residues that both passes look at: in range, with shifts, and neither end of the chain.
    std::vector<int> residuesToSearch() const;
    /// Candidates by residue: ranking key -> database row, and raw score -> row of the own type.
    struct Candidates {
        std::map<int, std::map<double, int>> matches, typeMatches;
    };
    /// Searches and classifies all residues; they do not depend on each other.
    Candidates firstPass();
    /// Searches them again in order: a residue sees the renewed averages of those before it.
    void secondPass(Candidates& candidates);
    /// Best matching database stretches of one residue: fills its match lists and both maps.
    void searchDB(int res, std::map<double, int>& matches, std::map<double, int>& typeMatches);
    /// Second look at the candidates of a residue, with the angles predicted around it; chi1
    /// evidence.
    void searchDB2(int res, std::map<double, int>& matches, std::map<double, int>& typeMatches);
    /// Replaces the keys of `typeMatches` by chi1 network scores; -1 without such a network.
    int evalChi1WithANN(int res, std::map<double, int>& typeMatches);
    /// What the search of any residue reads.
    orvix::search::SearchInput searchInput() const;
    /// Takes the result of a search over into the match lists of residue `res`.
    void storeTripletResult(int res, const orvix::search::TripletResult& result);
    /// Classifies the matches of residue `res` and renews its averages and spreads.
    void classifyResidue(int res);

    std::shared_ptr<const orvix::search::Database> database;  ///< of the model
    DB* db = nullptr;  ///< the rows of `database`; owned if they are another's
    /// Protein blocks of `db`, with the empty block 0, and their first and last row.
    int dbProteinCount = 0;
    std::map<int, int> dbProteinFirst;
    std::map<int, int> dbProteinLast;
    std::map<int, std::map<int, double>> resWeight;         ///< search map: residue -> box -> value
    std::map<int, std::vector<double>> matchPhi, matchPsi;  ///< residue -> degrees
    std::map<int, std::vector<double>> matchScore;          ///< residue -> ranking key, by rank
    std::map<int, std::vector<double>> matchWeight;  ///< residue -> 1.0 for the winning group
    std::map<int, std::vector<double>> matchChi1;    ///< residue -> degrees, best first
    std::map<int, std::map<int, int>> matchIndex;    ///< residue -> rank from 1 -> database index
    std::map<int, int> matchCount;                   ///< residue -> consensus count
    std::map<int, double> avgPhi, avgPsi, stdPhi, stdPsi;  ///< residue -> degrees
    /// residue -> rotamer word -> network scores, lowest first
    std::map<int, std::map<std::string, std::vector<double>>> chi1Result;

    // ---- summaries; the rows are read by everything that shows results ------------------------

    /// Keeps of the angle lists the winning group of matches; counts how well they agree.
    void vinaClassificationCluster(std::vector<double>& phi, std::vector<double>& psi,
                                   int& consensus, std::vector<double>& weight,
                                   ClusterData& residueClusters);
    /// Angles, spreads, order parameter and class of residue `res`.
    orvix::summaries::PhiPsiRow summarize(int res);
    /// Rotamer and chi1 of residue `res`.
    orvix::summaries::Chi1Row summarizeChi1(
        int res, const orvix::summaries::RotamerCalibration& calibration);
    /// Writes the summary table.
    void vina();
    /// Writes the chi1 table.
    void vinaChi1();
    /// Writes the comprehensive match table.
    void writePredAll();

    std::map<int, orvix::summaries::PhiPsiRow> phiPsiRows;  ///< residue -> row of the summary table
    std::map<int, orvix::summaries::Chi1Row> chi1Rows;      ///< residue -> row of the chi1 table
    std::vector<orvix::summaries::MatchRow> matchRows;      ///< rows of the match table

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
    /// Shifts present, of 18, at residue `res` and its two neighbours.
    int tripletShiftCount(int res) const;
    /// Whether there is a known structure to compare with.
    bool hasReference() const;
    /// Path of a file in the table directory.
    std::string tablePath(const std::string& name) const;

  private:
    void nameTables();
    void takeReference();

    orvix::RowMatrix<double> shiftRows_;
    std::unique_ptr<orvix::TextWriter> tableFile_;
};
