#include "search/lazy_array.h"

#include <sys/mman.h>

namespace orvix::search {

void* mapZeros(std::size_t bytes) {
    if (bytes == 0) {
        return nullptr;
    }
    void* memory = mmap(nullptr, bytes, PROT_READ | PROT_WRITE,
                        MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED) {
        throw std::bad_alloc();
    }
    return memory;
}

void unmapZeros(void* memory, std::size_t bytes) noexcept {
    if (memory != nullptr) {
        munmap(memory, bytes);
    }
}

void preferLargePages(void* memory, std::size_t bytes) noexcept {
#ifdef MADV_HUGEPAGE
    if (memory != nullptr) {
        // A hint: without support the array works with small pages.
        (void)madvise(memory, bytes, MADV_HUGEPAGE);
    }
#else
    (void)memory;
    (void)bytes;
#endif
}

}  // namespace orvix::search
