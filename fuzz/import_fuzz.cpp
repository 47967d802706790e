#include <sstream>
#include <string>

#include "base/run_end.h"
#include "fuzz_input.h"
#include "import/shift_import.h"
#include "import/star_document.h"
#include "tables/gdb2.h"

namespace {

/// What the importer writes must be a table that the program can read, shift by shift.
void requireReadable(const orvix::importing::ImportedTable& table) {
    static MemoryFile copy;
    std::ostringstream out;
    orvix::importing::writeShiftTable(table, out);
    const std::string text = out.str();
    copy.fill(reinterpret_cast<const std::uint8_t*>(text.data()), text.size());
    require(orvix::importing::isShiftTable(copy.path()));
    GDB2 again;
    require(again.loadORVIX(copy.path()));
    require(again.getLineEntryCount() == static_cast<int>(table.shifts.size()));
}

void tryImport(const std::string& path, const orvix::importing::ImportOptions& options) {
    try {
        const orvix::importing::ImportedTable table = orvix::importing::importShifts(path, options);
        std::ostringstream report;
        orvix::importing::writeImportReport(table, report);
        requireReadable(table);
    } catch (const orvix::InputRejected&) {
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string& path = inputFile(data, size);
    try {
        const orvix::importing::StarDocument document(
            std::string_view(reinterpret_cast<const char*>(data), size), path);
        for (const orvix::importing::StarFrame& frame : document.frames) {
            for (const orvix::importing::StarLoop& loop : frame.loops) {
                for (std::size_t row = 0; row < loop.rowCount(); ++row) {
                    orvix::importing::plainText(loop.cell(row, 0));
                }
                orvix::importing::requireWholeRows(loop, path);
            }
        }
    } catch (const orvix::InputRejected&) {
    }
    orvix::importing::isShiftTable(path);
    orvix::importing::ImportOptions options;
    tryImport(path, options);
    options.numbering = "auth";
    tryImport(path, options);
    return 0;
}
