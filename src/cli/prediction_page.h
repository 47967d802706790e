#pragma once

#include <string>

namespace orvix::cli {

/// Name of the page in a directory of results.
inline constexpr const char* pageFile = "report.html";

/// The report page of a finished prediction with its restraint files as `orvix export` writes them
/// by default. `text` is the content of the results file `source`, `predicted` its time, UTC with
/// a Z, or empty. Throws InputRejected for a text that is no results file.
std::string predictionPage(const std::string& text, const std::string& source,
                           const std::string& predicted);

}  // namespace orvix::cli
