#include "base/large_pages.h"

#include <cstdint>

#ifdef __linux__
#include <sys/mman.h>
#endif

namespace orvix {

void adviseLargePages([[maybe_unused]] const void* begin, [[maybe_unused]] std::size_t bytes) {
#ifdef MADV_HUGEPAGE
    constexpr std::uintptr_t page = std::uintptr_t{2} << 20;
    const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(begin);
    const std::uintptr_t first = (address + page - 1) & ~(page - 1);
    const std::uintptr_t last = (address + bytes) & ~(page - 1);
    if (last > first) {
        // The call takes a pointer to what may be written; this advice writes nothing.
        char* const start = static_cast<char*>(const_cast<void*>(begin)) + (first - address);
        ::madvise(start, last - first, MADV_HUGEPAGE);
    }
#endif
}

}  // namespace orvix
