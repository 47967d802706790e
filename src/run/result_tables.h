#pragma once

#include <map>
#include <string>
#include <vector>

#include "run/prediction.h"
#include "summaries/table_header.h"

class ORVIX;

namespace orvix {

/// The records of a run or of its prediction, wherever they are kept.
struct ResultView {
    summaries::TableHeader header;
    const GDB& shiftTable;
    const std::map<int, summaries::MapRow>& maps;
    const std::map<int, summaries::StructureRow>& structure;
    const std::map<int, summaries::OrderRow>& order;
    const std::map<int, summaries::PhiPsiRow>& phiPsi;
    const std::map<int, summaries::Chi1Row>& chi1;
    const std::vector<summaries::MatchRow>& matches;
};

ResultView resultView(const ORVIX& run);
ResultView resultView(const Prediction& prediction);

/// A result table as text.
std::string tableText(const ResultView& results, ResultTable table);

}  // namespace orvix
