#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <type_traits>

#include "base/large_pages.h"

namespace orvix::search {

/// Array of plain values, all zero at first, whose memory the system gives page by page as it is
/// written: `calloc` of this size clears nothing itself. The cells are reached by any index from 0
/// to size() - 1; nothing checks it.
template <class T>
class LazyArray {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    /// Drops the content and provides `count` zeros. Throws std::bad_alloc.
    void reset(std::size_t count) {
        clear();
        cells_.reset(static_cast<T*>(std::calloc(count, sizeof(T))));
        if (cells_ == nullptr && count > 0) {
            throw std::bad_alloc();
        }
        count_ = count;
    }
    void clear() noexcept {
        cells_.reset();
        count_ = 0;
    }

    /// For arrays that will be filled in one go.
    void useLargePages() const { adviseLargePages(data(), count_ * sizeof(T)); }

    std::size_t size() const { return count_; }
    T* data() { return cells_.get(); }
    const T* data() const { return cells_.get(); }
    T& operator[](std::ptrdiff_t i) { return data()[i]; }
    const T& operator[](std::ptrdiff_t i) const { return data()[i]; }

  private:
    struct Free {
        void operator()(T* cells) const noexcept { std::free(cells); }
    };
    std::unique_ptr<T, Free> cells_;
    std::size_t count_ = 0;
};

/// Rows of `Width` values in one run of memory; a row is reached by one index.
template <class T, int Width>
class LazyRows {
  public:
    void reset(std::size_t rows) { cells_.reset(rows * Width); }
    void clear() noexcept { cells_.clear(); }
    void useLargePages() const { cells_.useLargePages(); }
    std::size_t size() const { return cells_.size() / Width; }
    T* operator[](std::ptrdiff_t row) { return cells_.data() + row * Width; }
    const T* operator[](std::ptrdiff_t row) const { return cells_.data() + row * Width; }

  private:
    LazyArray<T> cells_;
};

}  // namespace orvix::search
