#pragma once

#include <cstddef>
#include <functional>

#include "tavel/error.h"
#include "tavel/vector.h"

namespace tavel {

/// The first element that no other one precedes.
template <class BEFORE, class NODE>
auto extreme_element(const NODE& elements, BEFORE before, const char* text_if_empty)
{
    const std::ptrdiff_t size = elements.extent.size();
    if (size == 0)
        throw error(text_if_empty);
    auto extreme = elements[0];
    for (std::ptrdiff_t i = 1; i < size; ++i) {
        const auto element = elements[i];
        if (before(element, extreme))
            extreme = element;
    }
    return extreme;
}

/// Smallest element.
/// @throws tavel::error "min/max_elem called for empty vector \n"
template <class T>
T min_elem(const Vector<T>& elements)
{
    return extreme_element(elements.node(), std::less<>(), "min/max_elem called for empty vector \n");
}

/// @throws tavel::error "min/max_elem called for empty expression \n"
template <operand E>
auto min_elem(const E& elements)
{
    return extreme_element(elements.node(), std::less<>(), "min/max_elem called for empty expression \n");
}

/// Largest element.
/// @throws tavel::error "min/max_elem called for empty vector \n"
template <class T>
T max_elem(const Vector<T>& elements)
{
    return extreme_element(elements.node(), std::greater<>(), "min/max_elem called for empty vector \n");
}

/// @throws tavel::error "min/max_elem called for empty expression \n"
template <operand E>
auto max_elem(const E& elements)
{
    return extreme_element(elements.node(), std::greater<>(), "min/max_elem called for empty expression \n");
}

} // namespace tavel
