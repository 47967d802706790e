#pragma once

#include <string>
#include <vector>

#include "restraints/restraint_file.h"

namespace CLI {
class App;
}

namespace orvix::cli {

/// What can be asked of restraints.
struct RestraintOptions {
    std::vector<std::string> classes = {"Strong"};
    std::vector<std::string> nameEntries;
    double spreadFactor = 2.0, minimum = 20.0;
    bool withChi1 = true, ambiguous = false;
    std::string chi1Centre = "rotamer", numbering = "seq", segment, chain = "A";
};

/// Their options.
void addRestraintOptions(CLI::App& command, RestraintOptions& options);

/// The format that is named by a word (cyana, cns, nef, nmrstar) or, where that is empty, by the
/// suffix of a file. Throws CLI::ValidationError.
restraints::RestraintFormat restraintFormat(const std::string& word, const std::string& file);

/// The restraints of `prediction`, which was read from `source`. Throws CLI::ValidationError for
/// options without a meaning, InputRejected when the numbers asked for don't serve the format.
restraints::RestraintFile restraintFile(results::FinishedPrediction prediction,
                                        const std::string& source,
                                        restraints::RestraintFormat format,
                                        const RestraintOptions& options);

/// The file as text.
std::string restraintText(const restraints::RestraintFile& file,
                          restraints::RestraintFormat format);

}  // namespace orvix::cli
