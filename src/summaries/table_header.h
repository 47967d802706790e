#pragma once

#include <string>

namespace orvix::summaries {

/// What the result tables say of their input.
struct TableHeader {
    std::string inTitle;
    bool hasReference = false;  ///< compared with a known structure
    std::string refTitle;       ///< its title
    int firstResid = 1;         ///< FIRST_RESID of the input table
    std::string sequence;       ///< its SEQUENCE lines as written
};

}  // namespace orvix::summaries
