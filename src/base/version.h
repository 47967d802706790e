#pragma once

namespace orvix {

/// Name and version of the companion program, as outputs carry them.
inline constexpr const char* programName = "orvix";
const char* programVersion();

}  // namespace orvix
