#pragma once

#include <cstddef>
#include <cstring>
#include <limits>
#include <memory>
#include <type_traits>
#include <vector>

#include "tavel/zeroed_allocator.h"

namespace tavel {

/// Elements of a shape, in 64 bits. A negative extent counts as more than any array can hold.
inline std::size_t element_count(int rows, int columns)
{
    if (rows < 0 || columns < 0)
        return std::numeric_limits<std::size_t>::max();
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(columns);
}

/// A share in a growable array of contiguous elements. Copies share the array and count their number; the last one
/// frees it. The count is a plain int: all handles of an array stay on one thread.
template <class T>
class StorageHandle {
public:
    using growable_array = std::vector<T, zeroed_allocator<T>>;

    growable_array* store = nullptr;
    int* count = nullptr; ///< handles that share `store`; null with it
    bool owner = true;    ///< the last handle frees the elements

    StorageHandle() = default;

    StorageHandle(const StorageHandle& other) noexcept : store(other.store), count(other.count), owner(other.owner)
    {
        if (count != nullptr)
            ++*count;
    }

    StorageHandle& operator=(const StorageHandle&) = delete;

    ~StorageHandle()
    {
        if (count == nullptr || --*count >= 1)
            return;
        if (owner)
            delete store;
        delete count;
    }

    /// The array, made at first use.
    growable_array& array()
    {
        if (store == nullptr) {
            auto fresh = std::make_unique<growable_array>();
            count = new int(1);
            store = fresh.release();
        }
        return *store;
    }

    /// Keeps the leading elements; new ones become `fill`.
    /// @throws std::length_error, std::bad_alloc
    void resize(std::size_t size, const T& fill)
    {
        growable_array& elements = array();
        if constexpr (std::is_arithmetic_v<T>) {
            const T value = fill, zero{};
            const std::size_t old_size = elements.size();
            const bool fresh_zeros = size > elements.capacity() && std::memcmp(&value, &zero, sizeof(T)) == 0;
            elements.resize(size);
            if (!fresh_zeros)
                for (std::size_t i = old_size; i < size; ++i)
                    elements[i] = value;
        } else {
            elements.resize(size, fill);
        }
    }
};

} // namespace tavel
