#pragma once

#include <string>

class GDB;

namespace orvix::shifts {

/// The table of secondary shifts as text, byte for byte what stands in its file: the rows of the
/// `working` table that have a shift. `title` is that of the input.
std::string secondaryShiftTable(const GDB& working, const std::string& title);

}  // namespace orvix::shifts
