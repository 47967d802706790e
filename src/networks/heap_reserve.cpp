#include "networks/heap_reserve.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>

// Sanitizers bring allocators of their own, for which this would only be a detour.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define ORVIX_FOREIGN_HEAP 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer) || __has_feature(thread_sanitizer)
#define ORVIX_FOREIGN_HEAP 1
#endif
#endif

#if defined(__linux__) && defined(__GLIBC__) && !defined(ORVIX_FOREIGN_HEAP)
#include <sys/mman.h>

namespace orvix::networks {

void reserveHeap(std::size_t bytes) {
    constexpr std::uintptr_t largePage = std::uintptr_t{2} << 20;
    // Several small tables in a row share what the first one prepares.
    constexpr std::size_t least = std::size_t{128} << 10;
    constexpr std::size_t step = std::size_t{8} << 20;
    if (bytes < least) {
        return;
    }
    const std::size_t size = std::clamp(bytes, step, heapReserveLimit);
    // glibc serves a large request outside the heap until one of that size has been freed; from
    // then on it takes it from the top of the heap, and freeing it leaves the heap that large.
    void* volatile outside = std::malloc(size);
    std::free(outside);
    void* const top = std::malloc(size);
    if (top == nullptr) {
        return;
    }
    const std::uintptr_t begin = reinterpret_cast<std::uintptr_t>(top);
    const std::uintptr_t first = (begin + largePage - 1) & ~(largePage - 1);
    const std::uintptr_t last = (begin + size) & ~(largePage - 1);
    if (last > first) {
        ::madvise(reinterpret_cast<void*>(first), last - first, MADV_HUGEPAGE);
    }
    std::free(top);
}

}  // namespace orvix::networks
#else
namespace orvix::networks {

void reserveHeap(std::size_t /*bytes*/) {}

}  // namespace orvix::networks
#endif
