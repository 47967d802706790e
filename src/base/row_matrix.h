#pragma once

#include <cstddef>
#include <vector>

namespace orvix {

/// A matrix in one block of memory, with a table of row pointers for those who want a `T**`.
template <class T>
class RowMatrix {
  public:
    RowMatrix() = default;
    RowMatrix(std::size_t rows, std::size_t columns, const T& value = T())
        : cells_(rows * columns, value), rows_(rows) {
        for (std::size_t i = 0; i < rows; ++i) {
            rows_[i] = cells_.data() + i * columns;
        }
    }
    /// Rows of cells that someone else keeps.
    RowMatrix(T* cells, std::size_t rows, std::size_t columns) : rows_(rows) {
        for (std::size_t i = 0; i < rows; ++i) {
            rows_[i] = cells + i * columns;
        }
    }
    RowMatrix(const RowMatrix&) = delete;
    RowMatrix& operator=(const RowMatrix&) = delete;
    RowMatrix(RowMatrix&&) noexcept = default;
    RowMatrix& operator=(RowMatrix&&) noexcept = default;

    std::size_t rows() const { return rows_.size(); }
    /// Row pointers, good as long as the matrix lives; null without rows.
    T** face() const { return rows_.empty() ? nullptr : const_cast<T**>(rows_.data()); }

  private:
    std::vector<T> cells_;
    std::vector<T*> rows_;
};

}  // namespace orvix
