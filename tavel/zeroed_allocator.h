#pragma once

#include <cstddef>
#include <cstdlib>
#include <new>
#include <type_traits>
#include <utility>

namespace tavel {

/// A block of zero bytes, to be given back with std::free. Large blocks come as untouched pages of the system, huge
/// ones where it has them.
/// @throws std::bad_alloc
void* allocate_zeroed(std::size_t bytes);

/// Allocator whose blocks are zeroed when they are handed out, and which leaves arithmetic elements that are
/// constructed without a value as they are. So the zeros of a large array cost nothing until they are read.
template <class T>
struct zeroed_allocator {
    using value_type = T;

    zeroed_allocator() = default;

    template <class U>
    explicit zeroed_allocator(const zeroed_allocator<U>&) noexcept
    {}

    T* allocate(std::size_t count) { return static_cast<T*>(allocate_zeroed(count * sizeof(T))); }

    void deallocate(T* block, std::size_t) noexcept { std::free(block); }

    template <class U, class... VALUES>
    void construct(U* place, VALUES&&... values)
    {
        if constexpr (!std::is_arithmetic_v<U> || sizeof...(VALUES) > 0)
            ::new (static_cast<void*>(place)) U(std::forward<VALUES>(values)...);
    }

    friend bool operator==(const zeroed_allocator&, const zeroed_allocator&) { return true; }
};

} // namespace tavel
