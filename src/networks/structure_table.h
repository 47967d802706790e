#pragma once

#include <map>
#include <string>

#include "summaries/result_rows.h"
#include "summaries/table_header.h"

namespace orvix::networks {

/// The secondary structure table as text, byte for byte what stands in its file.
std::string structureTable(const summaries::TableHeader& header,
                           const std::map<int, summaries::StructureRow>& rows);

/// The table of secondary structure from a sequence profile alone, numbered from `firstResid`.
std::string sequenceStructureTable(const std::string& title, int firstResid,
                                   const std::map<int, summaries::StructureRow>& rows);

}  // namespace orvix::networks
