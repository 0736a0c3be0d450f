#pragma once

#include <algorithm>
#include <cstddef>

#include "tavel/expression.h"
#include "tavel/slice.h"
#include "tavel/storage_handle.h"
#include "tavel/vector.h"
#include "tavel/views.h"

namespace tavel {

/// Elements by columns, as LAPACK takes them. Copies share the elements, without copy on write; assignment copies them.
template <class T>
class Matrix {
    StorageHandle<T> storage;

public:
    T* data = nullptr; ///< element (0, 0); null when there are no elements
    int rows = 0;
    int columns = 0;
    const int* leading = &rows; ///< distance between the starts of two columns; follows `rows` in a matrix that owns
    int step = 1;               ///< distance between elements of a column

    Matrix() = default;

    Matrix(int row_count, int column_count, const T& fill = T()) { allocate(row_count, column_count, fill); }

    Matrix(const Matrix& other) noexcept
        : storage(other.storage), data(other.data), rows(other.rows), columns(other.columns),
          leading(other.leading == &other.rows ? &rows : other.leading), step(other.step)
    {}

    template <operand SOURCE>
    explicit Matrix(const SOURCE& source)
    {
        assign(source.node());
    }

    ~Matrix() = default;

    Matrix& operator=(const Matrix& source)
    {
        if (this == &source)
            return *this;
        resize(source.rows, source.columns);
        for (int c = 0; c < columns; ++c)
            std::copy_n(source.column_data(c), rows, column_data(c));
        return *this;
    }

    /// @throws tavel::error "unsupported self assignment detected\n" for a source with a view of this matrix
    template <operand SOURCE>
    Matrix& operator=(const SOURCE& source)
    {
        assign(source.node());
        return *this;
    }

    T& operator()(int r, int c) { return data[offset(r, c)]; }
    const T& operator()(int r, int c) const { return data[offset(r, c)]; }

    /// Start of a column; its elements are contiguous.
    T* column_data(int c) { return data + offset(0, c); }
    const T* column_data(int c) const { return data + offset(0, c); }

    /// Keeps the elements as a linear run: each stays at its offset in the array, new ones are 0.
    /// @throws std::length_error, std::bad_alloc
    void resize(int row_count, int column_count)
    {
        if (row_count != rows || column_count != columns)
            allocate(row_count, column_count, T());
    }

    /// Keeps each element that still fits at its row and column; new cells become `fill`. Moves in place.
    /// @throws std::length_error, std::bad_alloc
    void resize(int row_count, int column_count, const T& fill);

    VectorRange<T> operator()(range part, int c) { return part_of_column(column_data(c), part); }
    VectorRange<const T> operator()(range part, int c) const { return part_of_column(column_data(c), part); }
    VectorRange<T> operator()(all_indices, int c) { return {{column_data(c)}, rows, true}; }
    VectorRange<const T> operator()(all_indices, int c) const { return {{column_data(c)}, rows, true}; }
    VectorSlice<T> operator()(int r, all_indices) { return row_of<T>(data, r); }
    VectorSlice<const T> operator()(int r, all_indices) const { return row_of<const T>(data, r); }

    leaf<contiguous_access<const T>> node() const { return {{data}, {rows, columns}, false}; }

private:
    std::ptrdiff_t offset(int r, int c) const { return static_cast<std::ptrdiff_t>(c) * *leading + r; }

    template <class ELEMENT>
    static VectorRange<ELEMENT> part_of_column(ELEMENT* column, range part)
    {
        return {{start_of_part(column, part.lo, part.length())}, part.length(), true};
    }

    template <class ELEMENT>
    VectorSlice<ELEMENT> row_of(ELEMENT* elements, int r) const
    {
        return {{start_of_part(elements, r, columns), *leading}, columns, false};
    }

    void allocate(int row_count, int column_count, const T& fill)
    {
        storage.resize(element_count(row_count, column_count), fill);
        rows = row_count;
        columns = column_count;
        reload();
    }

    void reload() { data = storage.array().empty() ? nullptr : storage.array().data(); }

    template <class NODE>
    void assign(const NODE& source)
    {
        const std::ptrdiff_t size = shape{rows, columns}.size();
        if (source.starts_in(data, data + size))
            refuse_self_assignment();
        resize(source.extent.rows, source.extent.columns);
        evaluate<T>(contiguous_access<T>{data}, source.extent.size(), source);
    }
};

template <class T>
void Matrix<T>::resize(int row_count, int column_count, const T& fill)
{
    const T value = fill;
    const std::size_t old_size = element_count(rows, columns);
    const std::size_t new_size = element_count(row_count, column_count);
    const int old_rows = rows;
    const int kept_rows = std::min(rows, row_count);
    const int kept_columns = std::min(columns, column_count);
    const auto at = [this](int c, int column_rows) { return data + static_cast<std::ptrdiff_t>(c) * column_rows; };

    storage.resize(std::max(old_size, new_size), value);
    reload();
    // Forward where the columns shrink, backward where they grow, so that no move hits an element still to be moved.
    if (row_count < old_rows) {
        for (int c = 1; c < kept_columns; ++c)
            std::move(at(c, old_rows), at(c, old_rows) + kept_rows, at(c, row_count));
    } else if (row_count > old_rows) {
        for (int c = kept_columns - 1; c >= 0; --c) {
            if (c > 0)
                std::move_backward(at(c, old_rows), at(c, old_rows) + kept_rows, at(c, row_count) + kept_rows);
            std::fill(at(c, row_count) + kept_rows, at(c, row_count) + row_count, value);
        }
    }
    // Behind the kept columns the array still holds old elements; what lies behind those has the fill already.
    const std::size_t kept_size = element_count(row_count, kept_columns);
    if (kept_size < std::min(old_size, new_size))
        std::fill(data + kept_size, data + std::min(old_size, new_size), value);
    allocate(row_count, column_count, value);
}

} // namespace tavel
