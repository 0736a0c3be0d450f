#include "tavel/zeroed_allocator.h"

#include <cstdint>

#include <sys/mman.h>

namespace tavel {

void* allocate_zeroed(std::size_t bytes)
{
    void* block = std::calloc(bytes, 1);
    if (block == nullptr)
        throw std::bad_alloc();
#ifdef MADV_HUGEPAGE
    constexpr std::size_t huge_page = std::size_t{2} << 20;
    if (bytes >= 4 * huge_page) {
        const std::size_t lead = (huge_page - reinterpret_cast<std::uintptr_t>(block) % huge_page) % huge_page;
        const std::size_t length = (bytes - lead) / huge_page * huge_page;
        // Only advice: without huge pages the block is just slower to touch.
        madvise(static_cast<char*>(block) + lead, length, MADV_HUGEPAGE);
    }
#endif
    return block;
}

} // namespace tavel
