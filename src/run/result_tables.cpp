// The result tables of a run: their names, texts and files.
#include "run/result_tables.h"

#include <ostream>
#include <utility>

#include "base/streams.h"
#include "base/text_writer.h"
#include "networks/phi_psi_table.h"
#include "networks/structure_table.h"
#include "order/order_table.h"
#include "run/orvix.h"
#include "shifts/secondary_shift_table.h"
#include "summaries/result_tables.h"

namespace orvix {
namespace {

/// What a table is called behind the base name of all tables.
const char* suffixOf(ResultTable table) {
    switch (table) {
        case ResultTable::secondaryShifts:
            return "AdjCS.tab";
        case ResultTable::maps:
            return "ABP.tab";
        case ResultTable::structure:
            return "SS.tab";
        case ResultTable::order:
            return "S2.tab";
        case ResultTable::phiPsi:
            return ".tab";
        case ResultTable::chi1:
            return "Chi1.tab";
        case ResultTable::matches:
            return "All.tab";
    }
    return "";
}

/// What is said of a table whose file can't be opened.
std::string openFailure(ResultTable table, const std::string& path) {
    switch (table) {
        case ResultTable::maps:
            return "\tCan't open file write file " + path + " !!!\n";
        case ResultTable::structure:
            return "\tCan't open write file " + path + " !!!\n";
        case ResultTable::order:
            return "\tCan't open file " + path + " !!!\n";
        default:
            return "\tCan't save file " + path + "\n";
    }
}

}  // namespace

ResultView resultView(const ORVIX& run) {
    return {{run.inTitle, run.hasReference(), run.refTitle, run.inTable.firstResid,
             run.inTable.getData("SEQUENCE")},
            run.adjCSTable,
            run.mapRows,
            run.structureRows,
            run.orderRows,
            run.phiPsiRows,
            run.chi1Rows,
            run.matchRows};
}

ResultView resultView(const Prediction& prediction) {
    return {{prediction.settings.inTitle, prediction.hasReference, prediction.settings.refTitle,
             prediction.tableFirstResid, prediction.tableSequence},
            prediction.shiftTable,
            prediction.maps,
            prediction.structure,
            prediction.order,
            prediction.phiPsi,
            prediction.chi1,
            prediction.matches};
}

std::string tableText(const ResultView& results, ResultTable table) {
    const summaries::TableHeader& header = results.header;
    switch (table) {
        case ResultTable::secondaryShifts:
            return shifts::secondaryShiftTable(results.shiftTable, header.inTitle);
        case ResultTable::maps:
            return networks::phiPsiTable(header.inTitle, results.maps);
        case ResultTable::structure:
            return networks::structureTable(header, results.structure);
        case ResultTable::order:
            return order::orderTable(header.inTitle, results.order);
        case ResultTable::phiPsi:
            return summaries::phiPsiTable(header, results.phiPsi);
        case ResultTable::chi1:
            return summaries::chi1Table(header, results.chi1);
        case ResultTable::matches:
            return summaries::matchTable(header, results.matches);
    }
    return {};
}

std::string tableText(const Prediction& prediction, ResultTable table) {
    return tableText(resultView(prediction), table);
}

std::string tableFileName(ResultTable table) {
    return std::string("pred") + suffixOf(table);
}

}  // namespace orvix

std::string ORVIX::resultPath(orvix::ResultTable table) const {
    if (table == orvix::ResultTable::phiPsi) {
        return sumFile;
    }
    return table == orvix::ResultTable::matches ? allFile : outBase + orvix::suffixOf(table);
}

bool ORVIX::openTable(orvix::ResultTable table) {
    if (!tablesToFiles || tableFile_ != nullptr) {
        return true;
    }
    const std::string path = resultPath(table);
    tableFile_ = std::make_unique<orvix::TextWriter>(path);
    if (!tableFile_->isOpen()) {
        tableFile_ = nullptr;
        orvix::err() << orvix::openFailure(table, path);
        return false;
    }
    return true;
}

void ORVIX::writeTable(orvix::ResultTable table) {
    if (openTable(table) && tableFile_ != nullptr) {
        tableFile_->text() = orvix::tableText(orvix::resultView(*this), table);
        tableFile_ = nullptr;
    }
}
