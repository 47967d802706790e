#pragma once

#include <map>
#include <string>

#include "summaries/result_rows.h"

namespace orvix::networks {

/// The phi/psi map table as text, byte for byte what stands in its file. `title` is that of the
/// input.
std::string phiPsiTable(const std::string& title, const std::map<int, summaries::MapRow>& rows);

}  // namespace orvix::networks
