#pragma once

#include <cstddef>

namespace orvix::networks {

/// The most that one call of `reserveHeap` prepares.
inline constexpr std::size_t heapReserveLimit = std::size_t{30} << 20;

/// Prepares the calling thread's heap for `bytes` (up to the limit) of small allocations to come:
/// lets it grow in one step and asks for large pages, where the system has such things. First
/// touches of many small pages can cost more than what is done with them. Changes no result and
/// holds no memory that the heap could not use for other things. Small requests do nothing.
void reserveHeap(std::size_t bytes);

}  // namespace orvix::networks
