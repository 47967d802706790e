#pragma once

#include <cstddef>
#include <new>
#include <type_traits>

namespace orvix::search {

/// Maps `bytes` of zeros that cost nothing until they are touched; null for 0 bytes. Throws
/// std::bad_alloc.
void* mapZeros(std::size_t bytes);
/// Gives back what `mapZeros` returned.
void unmapZeros(void* memory, std::size_t bytes) noexcept;
/// Asks for large pages behind the mapping, for arrays that will be filled in one go.
void preferLargePages(void* memory, std::size_t bytes) noexcept;

/// Array of plain values, all zero at first, whose memory is taken page by page as it is written.
/// The cells are reached by any index from 0 to size() - 1; nothing checks it.
template <class T>
class LazyArray {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    LazyArray() = default;
    LazyArray(const LazyArray&) = delete;
    LazyArray& operator=(const LazyArray&) = delete;
    ~LazyArray() { clear(); }

    /// Drops the content and provides `count` zeros.
    void reset(std::size_t count) {
        clear();
        memory_ = static_cast<T*>(mapZeros(count * sizeof(T)));
        count_ = count;
    }
    void clear() noexcept {
        unmapZeros(memory_, count_ * sizeof(T));
        memory_ = nullptr;
        count_ = 0;
    }
    void useLargePages() noexcept { preferLargePages(memory_, count_ * sizeof(T)); }

    /// Takes the memory of `count` cells from `first` on, which must still be zero, so that threads
    /// that write next to each other don't both ask for the same page.
    void provide(std::ptrdiff_t first, std::ptrdiff_t count) {
        constexpr auto step = static_cast<std::ptrdiff_t>(4096 / sizeof(T));
        for (std::ptrdiff_t i = first; i < first + count; i += step) {
            const_cast<volatile T&>(memory_[i]) = T();
        }
        if (count > 0) {
            const_cast<volatile T&>(memory_[first + count - 1]) = T();
        }
    }

    std::size_t size() const { return count_; }
    T* data() { return memory_; }
    const T* data() const { return memory_; }
    T& operator[](std::ptrdiff_t i) { return memory_[i]; }
    const T& operator[](std::ptrdiff_t i) const { return memory_[i]; }

  private:
    T* memory_ = nullptr;
    std::size_t count_ = 0;
};

/// Rows of `Width` values in one run of memory; a row is reached by one index.
template <class T, int Width>
class LazyRows {
  public:
    void reset(std::size_t rows) { cells_.reset(rows * Width); }
    void clear() noexcept { cells_.clear(); }
    void useLargePages() noexcept { cells_.useLargePages(); }
    void provide(std::ptrdiff_t first, std::ptrdiff_t rows) {
        cells_.provide(first * Width, rows * Width);
    }
    std::size_t size() const { return cells_.size() / Width; }
    T* operator[](std::ptrdiff_t row) { return cells_.data() + row * Width; }
    const T* operator[](std::ptrdiff_t row) const { return cells_.data() + row * Width; }

  private:
    LazyArray<T> cells_;
};

}  // namespace orvix::search
