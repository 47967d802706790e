#pragma once

#include <string>
#include <vector>

namespace orvix {

/// What was found about one file of a data directory.
struct FileFinding {
    enum class State {
        sound,    ///< there, of the right shape, all values in range
        missing,  ///< not there, or not a file that can be read
        broken    ///< there and not what it should be
    };
    std::string name;  ///< in tab/
    State state = State::sound;
    std::string text;  ///< what it holds, or what is wrong
};

/// Name of the list of hashes, in tab/ of a data directory, in the form of `sha256sum`.
inline constexpr const char* hashListName = "SHA256SUMS";

/// Looks at every file of the directory `tables` (tab/ of a data directory): whether all that a run
/// may ask for is there, whether tables, networks and the database have their shapes, whether
/// values are in range, and whether contents have the hashes of the list, where there is one.
std::vector<FileFinding> checkDataDirectory(const std::string& tables);

}  // namespace orvix
