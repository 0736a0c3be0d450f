#pragma once

#include <initializer_list>
#include <type_traits>

#include "tavel/expression.h"
#include "tavel/slice.h"
#include "tavel/storage_handle.h"
#include "tavel/views.h"

namespace tavel {

/// @throws tavel::error "2d resize of vector requested." with its source position, for several rows and columns
void check_vector_shape(int rows, int columns);

/// Elements in a row or a column. Copies share the elements, without copy on write; assignment copies them. After a
/// resize the `data` of other copies is stale: resize only the vector that came first.
template <class T>
class Vector {
public:
    using value_type = T;
    using iterator = T*;
    using const_iterator = const T*;

    T* data = nullptr; ///< null when there are no elements
    int size = 0;
    bool column = false;

private:
    StorageHandle<T> storage;

public:
    Vector() = default;

    explicit Vector(int n, const T& fill = T(), bool is_column = false) : column(is_column) { resize(n, fill); }

    Vector(std::initializer_list<T> values)
    {
        resize(static_cast<int>(values.size()));
        int i = 0;
        for (const T& value : values)
            data[i++] = value;
    }

    Vector(const Vector&) noexcept = default;

    /// Elements of a view, an expression or a one-dimensional matrix.
    template <operand SOURCE>
    Vector(const SOURCE& source)
    {
        assign(source.node());
    }

    ~Vector() = default;

    Vector& operator=(const Vector& source)
    {
        if (this != &source)
            assign(source.node());
        return *this;
    }

    /// @throws tavel::error "TavelVector:: ..." for a source of several rows and columns, "unsupported self
    ///         assignment detected\n" for a longer source that reads this vector
    template <operand SOURCE>
    Vector& operator=(const SOURCE& source)
    {
        assign(source.node());
        return *this;
    }

    T& operator[](int i) { return data[i]; }
    const T& operator[](int i) const { return data[i]; }
    T* begin() { return data; }
    T* end() { return data + size; }
    const T* begin() const { return data; }
    const T* end() const { return data + size; }

    /// Keeps the leading elements; new ones become `fill`.
    /// @throws std::length_error, std::bad_alloc
    void resize(int n, const T& fill = T())
    {
        storage.resize(element_count(n, 1), fill);
        reload();
    }

    /// Takes rows * columns elements and the orientation of that shape; 1 by 1 and empty shapes keep the orientation.
    /// For int elements a second number is a fill value.
    /// @throws tavel::error "2d resize of vector requested."
    void resize(int rows, int columns) requires(!std::is_same_v<T, int>)
    {
        check_vector_shape(rows, columns);
        storage.resize(element_count(rows, columns), T());
        reload();
        if (size > 1)
            column = rows > 1;
    }

    /// Appends an element; the capacity doubles when it is used up.
    void push_back(const T& value)
    {
        storage.array().push_back(value);
        reload();
    }

    /// Room for n elements without a further allocation.
    void reserve(int n)
    {
        storage.array().reserve(element_count(n, 1));
        reload();
    }

    VectorRange<T> operator()(all_indices) { return {{data}, size, column}; }
    VectorRange<const T> operator()(all_indices) const { return {{data}, size, column}; }
    VectorRange<T> operator()(range part) { return range_of<T>(data, part); }
    VectorRange<const T> operator()(range part) const { return range_of<const T>(data, part); }
    VectorSlice<T> operator()(const Slice<int>& part) { return slice_of<T>(data, part); }
    VectorSlice<const T> operator()(const Slice<int>& part) const { return slice_of<const T>(data, part); }
    VectorIndex<T> operator()(const Vector<int>& index) { return {{data, index.data}, index.size, column}; }
    VectorIndex<const T> operator()(const Vector<int>& index) const { return {{data, index.data}, index.size, column}; }

    leaf<contiguous_access<const T>> node() const { return {{data}, column ? shape{size, 1} : shape{1, size}, false}; }

private:
    void reload()
    {
        size = static_cast<int>(storage.array().size());
        data = size == 0 ? nullptr : storage.array().data();
    }

    template <class ELEMENT>
    VectorRange<ELEMENT> range_of(ELEMENT* elements, range part) const
    {
        return {{start_of_part(elements, part.lo, part.length())}, part.length(), column};
    }

    template <class ELEMENT>
    VectorSlice<ELEMENT> slice_of(ELEMENT* elements, const Slice<int>& part) const
    {
        if (part.whole)
            return {{elements, 1}, size, column};
        return {{start_of_part(elements, part.start, part.count), part.step}, part.count, column};
    }

    template <class NODE>
    void assign(const NODE& source)
    {
        const bool new_column = adjusted_orientation("TavelVector:: ", column, source.extent);
        const int length = static_cast<int>(source.extent.size());
        if (length > size && source.starts_in(data, data + size))
            refuse_self_assignment(); // growing may move the elements that the source reads
        if (length > size)
            resize(length);
        column = new_column;
        evaluate<T>(contiguous_access<T>{data}, length, source);
        if (length < size)
            resize(length); // not before: the source may read what lies behind
    }
};

} // namespace tavel
