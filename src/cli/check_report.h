#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>

class ORVIX;

namespace orvix::cli {

/// How many of the shifts that a nucleus can have are there.
struct Completeness {
    int assigned = 0, expected = 0;
};

/// By nucleus, over the whole sequence. Expected are N and HN of all residues but prolines, HN not
/// of the first residue either, CB not of glycines, all others of every residue. Residues without a
/// known letter count nowhere.
std::map<std::string, Completeness> completenessOf(const ORVIX& run);

/// What the check of a prepared run found: outliers, significant offsets, residue names that are
/// not those of the sequence.
int findingsOf(const ORVIX& run);

/// The report as a record and as text.
nlohmann::ordered_json checkRecord(const ORVIX& run, const std::string& file);
std::string checkText(const ORVIX& run, const std::string& file);

}  // namespace orvix::cli
