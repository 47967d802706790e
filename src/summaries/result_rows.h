#pragma once

#include <array>
#include <string>
#include <vector>

#include "base/missing.h"
#include "summaries/rotamer_evidence.h"

namespace orvix::summaries {

/// Rows of the result tables as the stages compute them, before they become text. The tables are
/// written from these, and so is every other form of the results. Angles in degrees; 9999.0 marks a
/// missing one.

/// One row of the summary table.
struct PhiPsiRow {
    int residue = 0;
    std::string name;
    double phi = missingValue, psi = missingValue;
    double phiSpread = 0.0, psiSpread = 0.0;
    double distance = 0.0;
    double s2 = 0.0;  ///< 1.0 also for a class without an order parameter, see OrderRow
    int count = 0;
    int shiftCount = 0;
    std::string classWord = "None";
    double referencePhi = missingValue, referencePsi = missingValue;  ///< of the known structure
};

/// One row of the chi1 table; valine's chi1 is turned by -120 degrees, the reference's never.
struct Chi1Row {
    int residue = 0;
    std::string name;
    int shiftCount = 0;
    double observed = missingValue;  ///< of the reference structure
    RotamerPrediction prediction;
    double chi1 = missingValue, spread = missingValue;
    bool turned = false;  ///< a valine
};

/// One row of the secondary structure table.
struct StructureRow {
    int residue = 0;
    std::string name;
    int shiftCount = 0;     ///< of the residue and its neighbours
    int ownShiftCount = 0;  ///< of the residue
    double helix = 0.0, strand = 0.0, coil = 0.0;
    double confidence = 0.0;
    std::string letter;     ///< H E L by shifts, h e c by sequence, x for none
    bool chainEnd = false;  ///< coil by rule, whatever the shifts say
    std::string state;      ///< letter of the residue with its state applied
    bool listed = true;     ///< false for a residue that stands in the sequence lines alone
};

/// A cluster of a phi/psi map: its boxes, the seed first, then by falling value.
struct MapCluster {
    std::vector<int> boxes;
    double sum = 0.0;  ///< of the values of its boxes
};

/// One row of the phi/psi map table, with the clusters of the map.
struct MapRow {
    int residue = 0;
    std::string name;       ///< one letter
    int windowShifts = 0;   ///< shifts known in the window of five residues
    int residueShifts = 0;  ///< shifts known at the residue
    int clusterCount = 0;
    double firstShare = 0.0;           ///< share of the first cluster
    std::vector<double> values;        ///< 324 boxes
    std::vector<MapCluster> clusters;  ///< `clusterCount` of them
};

/// A residue of the database beside or at the centre of a match.
struct MatchNeighbour {
    bool held = false;  ///< whether the database has a row there; nothing else counts if not
    int residue = 0;
    float phi = 0.0F, psi = 0.0F, chi1 = 0.0F;
    std::array<float, 6> shifts{};  ///< ppm, N HA C CA CB HN
};

/// One row of the table of database matches.
struct MatchRow {
    int residue = 0;           ///< centre of the query window
    std::string queryLetters;  ///< of the window, "?" for none
    double score = 0.0;
    double weight = 0.0;                     ///< 1.0 for a match of the winning group
    std::string databaseLetters;             ///< of the window
    std::array<MatchNeighbour, 3> residues;  ///< before, at and behind the centre
    std::string source;                      ///< database protein
};

/// One row of the order parameter table.
struct OrderRow {
    int residue = 0;
    std::string name;
    int shiftCount = 0;
    int ownShiftCount = 0;
    double s2 = missingValue;
};

}  // namespace orvix::summaries
