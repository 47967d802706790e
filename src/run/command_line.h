#pragma once

#include <map>
#include <string>
#include <vector>

namespace orvix {

/// The command line as the program understands it.
struct CommandLine {
    std::map<std::string, std::string> options;  ///< name -> value; the later of two equal names
    std::vector<std::string> unknown;            ///< names outside the known ones, in order
    bool sequenceOnly = false;                   ///< -seqSS was given
};

/// Cuts the joined arguments (each behind one blank) into options at every blank that is followed
/// by a minus sign, wherever it stands: the word borders of the shell play no part. The name of an
/// option runs to its first blank, the rest is its value; an option without a blank has its own
/// name as value.
CommandLine parseCommandLine(const std::string& joined, const std::vector<std::string>& known);

}  // namespace orvix
