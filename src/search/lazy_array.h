#pragma once

#include <cstddef>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>
#include <type_traits>
#include <utility>

#include "base/large_pages.h"

namespace orvix::search {

/// Array of plain values, all zero at first, whose memory the system gives page by page as it is
/// written: `calloc` of this size clears nothing itself. The cells are reached by any index from 0
/// to size() - 1; nothing checks it. Or a view of cells that someone else keeps, which may only be
/// read.
template <class T>
class LazyArray {
    static_assert(std::is_trivially_copyable_v<T>);

  public:
    /// Drops the content and provides `count` zeros. Throws std::bad_alloc.
    void reset(std::size_t count) {
        clear();
        cells_.reset(static_cast<T*>(std::calloc(count, sizeof(T))), std::free);
        if (cells_ == nullptr && count > 0) {
            throw std::bad_alloc();
        }
        count_ = count;
    }
    /// Drops the content and shows `cells`, which stay as long as `owner` is held. Writing to a
    /// cell ends the process.
    void show(std::span<const T> cells, std::shared_ptr<const void> owner) {
        cells_ = std::shared_ptr<T>(std::move(owner), const_cast<T*>(cells.data()));
        count_ = cells.size();
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
    std::shared_ptr<T> cells_;
    std::size_t count_ = 0;
};

/// Rows of `Width` values in one run of memory; a row is reached by one index.
template <class T, int Width>
class LazyRows {
  public:
    void reset(std::size_t rows) { cells_.reset(rows * Width); }
    void show(std::span<const T> cells, std::shared_ptr<const void> owner) {
        cells_.show(cells, std::move(owner));
    }
    void clear() noexcept { cells_.clear(); }
    void useLargePages() const { cells_.useLargePages(); }
    std::size_t size() const { return cells_.size() / Width; }
    T* operator[](std::ptrdiff_t row) { return cells_.data() + row * Width; }
    const T* operator[](std::ptrdiff_t row) const { return cells_.data() + row * Width; }

  private:
    LazyArray<T> cells_;
};

}  // namespace orvix::search
