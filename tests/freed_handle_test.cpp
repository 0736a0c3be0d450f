// What a handle's memory holds when it is freed, seen by a deallocation of our own.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <new>
#include <string>

#include "tests/support/files.h"
#include "tests/support/job.h"
#include "tests/support/sound.h"

namespace {

// A block of memory, and its first two words when it is freed.
const void* watched_block = nullptr;
const void* freed_mark[2];

} // namespace

void* operator new(std::size_t size)
{
    if (void* block = std::malloc(size))
        return block;
    throw std::bad_alloc();
}

void operator delete(void* block) noexcept
{
    if (block != nullptr && block == watched_block)
        std::memcpy(freed_mark, block, sizeof freed_mark);
    std::free(block);
}

void operator delete(void* block, std::size_t) noexcept
{
    operator delete(block);
}

TEST(FreedHandle, HoldsNoMark)
{
    const test_folder folder;
    const std::string sound = folder.path("sound.wav");
    write_sound(sound, 11025, 1, 33075);
    veloria::process_handle* job = start_job(sound, folder.path("out.sdif"));
    wait_for_end(job);
    freed_mark[0] = freed_mark[1] = job;
    watched_block = job;
    veloria::shutdown(job);
    watched_block = nullptr;
    EXPECT_EQ(freed_mark[0], nullptr);
    EXPECT_EQ(freed_mark[1], nullptr);
}
