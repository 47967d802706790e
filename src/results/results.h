#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <string>

class ORVIX;

namespace orvix::results {

inline constexpr const char* resultsFile = "results.json";
inline constexpr const char* resultsSchema = "orvix-results";
inline constexpr int resultsVersion = 1;

/// What the results say of their origin.
struct ResultsOrigin {
    std::string inputFile;                    ///< as the user named it
    std::map<int, std::string> authorNumber;  ///< residue -> number in the deposited file
    nlohmann::ordered_json settings;
};

/// All results of a finished run in one record. Its numbers are those of the tables, to the digit
/// that is printed there; null stands for whatever the tables mark as missing.
nlohmann::ordered_json resultsRecord(const ORVIX& run, const ResultsOrigin& origin);

/// The estimates of the shift check by nucleus; null where there were too few shifts.
nlohmann::ordered_json offsetsRecord(const ORVIX& run);

/// A record as text. Texts that are no UTF-8 get replacement characters.
std::string recordText(const nlohmann::ordered_json& record);

/// `value` as a table prints it with `decimals`, as a number again; null for what is not finite.
nlohmann::ordered_json printedNumber(double value, int decimals);

}  // namespace orvix::results
