#pragma once

#include <map>
#include <string>

#include "summaries/result_rows.h"

namespace orvix::order {

/// The order parameter table as text, byte for byte what stands in its file. `title` is that of the
/// input.
std::string orderTable(const std::string& title, const std::map<int, summaries::OrderRow>& rows);

}  // namespace orvix::order
