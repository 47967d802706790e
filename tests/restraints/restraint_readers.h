#pragma once

#include <map>
#include <string>
#include <vector>

/// A restraint as another program would read it.
struct ReadRestraint {
    std::string atoms;  ///< residue number and atom name of the four, "4 C 5 N 5 CA 5 C"
    double lower = 0.0, upper = 0.0;  ///< degrees
    std::string residueName;          ///< of the second or third atom's residue, where there is one
    std::string angleName;            ///< where there is one
    /// Rows of one id are alternatives, but for those of one combination, which hold together;
    /// CYANA has neither, a combination is empty where there is no choice.
    std::string id, combination;
};

/// Readers written from the public descriptions of the formats, apart from the writers.
std::vector<ReadRestraint> readCyana(const std::string& text);
std::vector<ReadRestraint> readCns(const std::string& text);

/// A STAR text cut into its save frames: tags with values, and loops as rows by tag.
struct StarFrameText {
    std::map<std::string, std::string> tags;
    std::map<std::string, std::vector<std::map<std::string, std::string>>> loops;  ///< by category
};
struct StarText {
    std::string block;
    std::map<std::string, StarFrameText> frames;
};
/// Throws std::runtime_error for a text that is no STAR.
StarText readStar(const std::string& text);

std::vector<ReadRestraint> readNef(const std::string& text);
std::vector<ReadRestraint> readNmrStar(const std::string& text);
