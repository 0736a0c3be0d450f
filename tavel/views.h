#pragma once

#include <type_traits>

#include "tavel/expression.h"

namespace tavel {

/// Where a part of an array begins. An empty part may begin anywhere, also in an array without elements.
template <class T>
T* start_of_part(T* data, int offset, int length)
{
    return length == 0 ? data : data + offset;
}

/// A part of a vector or matrix, to read from and to assign to. A view owns nothing and must not outlive the array.
/// Assigning to it stores elements and keeps its length.
template <class T, class ACCESS>
class View {
public:
    int size;
    bool column;

    View(ACCESS elements, int length, bool is_column) : size(length), column(is_column), access(elements) {}

    View(const View&) = default;

    View& operator=(const View& source)
    {
        assign(source.node());
        return *this;
    }

    /// @throws tavel::error the view's name, then ":: adjustment of orientation failed ...", for a source of several
    ///         rows and columns or of another length
    template <operand SOURCE>
    View& operator=(const SOURCE& source)
    {
        assign(source.node());
        return *this;
    }

    View& operator=(const std::remove_const_t<T>& value)
    {
        for (int i = 0; i < size; ++i)
            access[i] = value;
        return *this;
    }

    T& operator[](int i) const { return access[i]; }

    leaf<ACCESS> node() const { return {access, column ? shape{size, 1} : shape{1, size}, true}; }

private:
    static constexpr const char* message_prefix()
    {
        if constexpr (std::is_same_v<ACCESS, contiguous_access<T>>)
            return "VectorRange:: ";
        else if constexpr (std::is_same_v<ACCESS, strided_access<T>>)
            return "VectorSlice:: ";
        else
            return "VectorIndex:: ";
    }

    template <class NODE>
    void assign(const NODE& source)
    {
        const bool new_column = adjusted_orientation(message_prefix(), column, source.extent);
        if (source.extent.size() != size)
            refuse_orientation(message_prefix());
        column = new_column;
        evaluate<T>(access, size, source);
    }

    ACCESS access;
};

/// Consecutive elements.
template <class T>
using VectorRange = View<T, contiguous_access<T>>;

/// Elements at a fixed distance.
template <class T>
using VectorSlice = View<T, strided_access<T>>;

/// The elements that an index vector lists.
template <class T>
using VectorIndex = View<T, indexed_access<T>>;

} // namespace tavel
