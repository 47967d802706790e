#pragma once

#include <map>
#include <string>
#include <vector>

#include "summaries/result_rows.h"
#include "summaries/table_header.h"

namespace orvix::summaries {

/// The summaries of a run as text, byte for byte what stands in their files.
std::string phiPsiTable(const TableHeader& header, const std::map<int, PhiPsiRow>& rows);
std::string chi1Table(const TableHeader& header, const std::map<int, Chi1Row>& rows);
std::string matchTable(const TableHeader& header, const std::vector<MatchRow>& rows);

}  // namespace orvix::summaries
