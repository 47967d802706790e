#pragma once

#include <cstddef>
#include <string>

namespace orvix::batch {

/// How far a batch is.
struct Progress {
    std::size_t total = 0;    ///< jobs
    std::size_t earlier = 0;  ///< done by an earlier run
    std::size_t done = 0;     ///< done by this one
    std::size_t failed = 0;
    double seconds = 0.0;  ///< since the start of this run
};

/// "412 of 1186, 3 failed, 690 proteins a minute, 1:07 left", with what is known so far.
std::string progressText(const Progress& progress);

}  // namespace orvix::batch
