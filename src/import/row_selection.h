#pragma once

#include <string>
#include <vector>

#include "import/shift_file.h"

namespace orvix::importing {

/// The rows of one molecule, in one list, of one assembly member.
struct RowSelection {
    ShiftEntity entity;
    std::vector<ShiftRow> rows;
};

/// Chooses by the options, and where these are silent the fullest of what there is. Every choice
/// and every row left out goes to the report. Throws InputRejected for an option that names nothing
/// in the file, and for a file without a polypeptide.
RowSelection selectRows(ShiftFile& file, const ImportOptions& options);

}  // namespace orvix::importing
