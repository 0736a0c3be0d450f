#pragma once

#include <cassert>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <functional>
#include <type_traits>

#include "tavel/saturate.h"

namespace tavel {

/// Rows and columns of an array or an expression.
struct shape {
    int rows, columns;

    std::ptrdiff_t size() const { return static_cast<std::ptrdiff_t>(rows) * columns; }
};

/// How elements are reached: one after the other, at a fixed distance, or by a list of indices. The same three serve
/// reading and writing; none owns what it points to.
template <class T>
struct contiguous_access {
    T* data;
    T& operator[](std::ptrdiff_t i) const { return data[i]; }
};

template <class T>
struct strided_access {
    T* data;
    std::ptrdiff_t step;
    T& operator[](std::ptrdiff_t i) const { return data[i * step]; }
};

template <class T>
struct indexed_access {
    T* data;
    const int* index;
    T& operator[](std::ptrdiff_t i) const { return data[index[i]]; }
};

/// What stands in an element-wise expression: an array, a view or an expression of them.
template <class E>
concept operand = requires(const E& e)
{
    e.node().extent;
    e.node()[0];
};

template <class S>
concept scalar = std::is_arithmetic_v<S>;

/// Expressions are trees of small values that hold their operands as pointers and counts. Nothing is computed before
/// the assignment; an expression must not outlive the arrays it was made from.
template <class ACCESS>
struct leaf {
    ACCESS access;
    shape extent;
    bool view; ///< a part of an array, which an assignment to the whole array may disturb

    auto operator[](std::ptrdiff_t i) const { return access[i]; }

    bool starts_in(const void* first, const void* last) const
    {
        if (!view || extent.size() == 0)
            return false;
        const void* element = &access[0];
        return std::less_equal<>()(first, element) && std::less<>()(element, last);
    }

    leaf node() const { return *this; }
};

template <scalar S>
struct scalar_leaf {
    S value;

    S operator[](std::ptrdiff_t) const { return value; }
    bool starts_in(const void*, const void*) const { return false; }
};

template <class OPERATION, class INNER>
struct unary_expression {
    INNER inner;
    shape extent;

    auto operator[](std::ptrdiff_t i) const { return OPERATION()(inner[i]); }
    bool starts_in(const void* first, const void* last) const { return inner.starts_in(first, last); }
    unary_expression node() const { return *this; }
};

template <class OPERATION, class LEFT, class RIGHT>
struct binary_expression {
    LEFT left;
    RIGHT right;
    shape extent;

    auto operator[](std::ptrdiff_t i) const { return OPERATION()(left[i], right[i]); }

    bool starts_in(const void* first, const void* last) const
    {
        return left.starts_in(first, last) || right.starts_in(first, last);
    }

    binary_expression node() const { return *this; }
};

/// The value as an element of type T; a floating-point value saturates where T is an integer.
template <class T, class VALUE>
T to_element(const VALUE& value)
{
    if constexpr (std::is_integral_v<T> && std::is_floating_point_v<VALUE>)
        return saturate_cast<T>(static_cast<double>(value));
    else
        return static_cast<T>(value);
}

/// Computes the elements in index order and stores each at once: the one loop of an assignment.
template <class T, class DESTINATION, class SOURCE>
void evaluate(DESTINATION destination, std::ptrdiff_t size, const SOURCE& source)
{
    const SOURCE local = source; // in registers: a store to destination can't change it
    for (std::ptrdiff_t i = 0; i < size; ++i)
        destination[i] = to_element<T>(local[i]);
}

/// @throws tavel::error `type`, then "adjustment of orientation failed for 2d argument object
///         Vector<>::operator=(OBJS)\n"
[[noreturn]] void refuse_orientation(const char* type);

/// Orientation of a vector-like destination after the assignment of a source of the given shape; refused where the
/// source has several rows and columns.
bool adjusted_orientation(const char* type, bool column, shape source);

/// @throws tavel::error "unsupported self assignment detected\n"
[[noreturn]] void refuse_self_assignment();

template <class LEFT, class RIGHT>
concept combinable = (operand<LEFT> && (operand<RIGHT> || scalar<RIGHT>)) || (scalar<LEFT> && operand<RIGHT>);

/// Operands of one statement have equal sizes; the result has the shape of the first one that is no scalar.
template <class OPERATION, class LEFT, class RIGHT>
auto combine(const LEFT& left, const RIGHT& right)
{
    if constexpr (scalar<LEFT>) {
        const auto node = right.node();
        return binary_expression<OPERATION, scalar_leaf<LEFT>, decltype(right.node())>{{left}, node, node.extent};
    } else if constexpr (scalar<RIGHT>) {
        const auto node = left.node();
        return binary_expression<OPERATION, decltype(left.node()), scalar_leaf<RIGHT>>{node, {right}, node.extent};
    } else {
        const auto first = left.node();
        const auto second = right.node();
        assert(first.extent.size() == second.extent.size());
        return binary_expression<OPERATION, decltype(left.node()), decltype(right.node())>{first, second, first.extent};
    }
}

template <class LEFT, class RIGHT>
requires combinable<LEFT, RIGHT>
auto operator+(const LEFT& left, const RIGHT& right)
{
    return combine<std::plus<>>(left, right);
}

template <class LEFT, class RIGHT>
requires combinable<LEFT, RIGHT>
auto operator-(const LEFT& left, const RIGHT& right)
{
    return combine<std::minus<>>(left, right);
}

template <class LEFT, class RIGHT>
requires combinable<LEFT, RIGHT>
auto operator*(const LEFT& left, const RIGHT& right)
{
    return combine<std::multiplies<>>(left, right);
}

template <class LEFT, class RIGHT>
requires combinable<LEFT, RIGHT>
auto operator/(const LEFT& left, const RIGHT& right)
{
    return combine<std::divides<>>(left, right);
}

struct square_operation {
    template <class T>
    auto operator()(T value) const
    {
        return value * value;
    }
};

struct absolute_operation {
    template <class T>
    auto operator()(T value) const
    {
        return std::abs(value);
    }
};

/// Each element times itself.
template <operand E>
auto square(const E& elements)
{
    const auto node = elements.node();
    return unary_expression<square_operation, decltype(elements.node())>{node, node.extent};
}

/// Absolute value of each element.
template <operand E>
auto abs(const E& elements)
{
    const auto node = elements.node();
    return unary_expression<absolute_operation, decltype(elements.node())>{node, node.extent};
}

} // namespace tavel
