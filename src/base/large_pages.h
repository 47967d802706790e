#pragma once

#include <cstddef>

namespace orvix {

/// Asks the system to back a large stretch of memory, not touched yet, with large pages where it
/// can: first touches of many small pages can cost more than what is done with them. Changes no
/// result; does nothing where there is no such thing.
void adviseLargePages(const void* begin, std::size_t bytes);

}  // namespace orvix
