#include "audio/file_obj.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include <fcntl.h>
#include <sys/stat.h>

namespace readsnd {

namespace {

constexpr std::int64_t smallest_block = 512;
constexpr std::int64_t look_ahead = 10; // length of a block in requests
constexpr std::int64_t skip_frames = 100;
constexpr std::size_t path_limit = 1024; // bytes that libsndfile keeps of a path, with the closing zero

bool is_fifo(const char* path)
{
    struct stat status;
    return ::stat(path, &status) == 0 && S_ISFIFO(status.st_mode);
}

// Opens a FIFO without the wait for somebody to write to it.
SNDFILE* open_fifo(const char* path, SF_INFO& info)
{
    const int descriptor = ::open(path, O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    if (descriptor == -1)
        return nullptr;
    ::fcntl(descriptor, F_SETFL, 0);
    return sf_open_fd(descriptor, SFM_READ, &info, SF_TRUE);
}

} // namespace

bool FileObj::open(const char* path, int channels, int format)
{
    close(false);
    end_frame = -1;
    block_frames = 0;
    file_pos = 0;
    if (channels != 0) {
        info.channels = channels;
        info.format = format;
    } else {
        info.format = 0;
    }
    if (std::strlen(path) < path_limit)
        handle = is_fifo(path) ? open_fifo(path, info) : sf_open(path, SFM_READ, &info);
    owned = true;
    return handle != nullptr;
}

void FileObj::close(bool force)
{
    if (handle != nullptr && (owned || force))
        sf_close(handle);
    handle = nullptr;
}

int FileObj::read(double* buffer, int start_frame, int n_frames)
{
    if (n_frames <= 0)
        return 0;
    if (handle == nullptr)
        throw std::logic_error("readsnd::FileObj: no open file");
    if (n_frames > block_frames) {
        block_frames = smallest_block;
        while (block_frames < look_ahead * n_frames)
            block_frames *= 2;
        storage.clear();
    }

    int current = find_block(start_frame);
    if (current == -1) {
        reset(start_frame);
        current = 1;
    }
    const int previous = (current + 2) % 3;
    const int next = (current + 1) % 3;
    if (block_start[previous] != block_start[current] - block_frames)
        refill(previous, block_start[current] - block_frames);
    if (block_start[next] != block_start[current] + block_frames)
        refill(next, block_start[current] + block_frames);

    // A request is never longer than a block: two blocks hold it.
    const std::int64_t offset = start_frame - block_start[current];
    const std::int64_t from_current = std::min<std::int64_t>(n_frames, block_frames - offset);
    buffer = std::copy_n(block(current) + offset * info.channels, from_current * info.channels, buffer);
    std::copy_n(block(next), (n_frames - from_current) * info.channels, buffer);

    if (end_frame == -1)
        return n_frames;
    return static_cast<int>(std::clamp<std::int64_t>(end_frame - start_frame, 0, n_frames));
}

// The slot that holds `frame`, or -1.
int FileObj::find_block(std::int64_t frame) const
{
    if (storage.empty())
        return -1;
    for (int slot = 0; slot < 3; ++slot)
        if (block_start[slot] <= frame && frame < block_start[slot] + block_frames)
            return slot;
    return -1;
}

double* FileObj::block(int slot)
{
    return storage.data() + slot * block_frames * info.channels;
}

// Fills all three blocks in one go, the middle one beginning at `start`.
void FileObj::reset(std::int64_t start)
{
    storage.resize(static_cast<std::size_t>(3 * block_frames * info.channels));
    for (int slot = 0; slot < 3; ++slot)
        block_start[slot] = start + (slot - 1) * block_frames;
    fill(storage.data(), block_start[0], 3 * block_frames);
}

void FileObj::refill(int slot, std::int64_t start)
{
    block_start[slot] = start;
    if (end_frame != -1 && end_frame <= start)
        std::fill_n(block(slot), block_frames * info.channels, 0.0);
    else
        fill(block(slot), start, block_frames);
}

// Fills `destination` with the `count` frames from `start` on, zeros where the file has none.
void FileObj::fill(double* destination, std::int64_t start, std::int64_t count)
{
    const std::int64_t begin = std::max<std::int64_t>(0, start);
    const std::int64_t leading = std::min(count, begin - start);
    const std::int64_t wanted = count - leading;
    destination = std::fill_n(destination, leading * info.channels, 0.0);
    if (!position(begin)) {
        record_end(begin);
        std::fill_n(destination, wanted * info.channels, 0.0);
        return;
    }
    const std::int64_t delivered = sf_readf_double(handle, destination, wanted);
    file_pos = begin + delivered;
    if (delivered < wanted) {
        record_end(file_pos);
        std::fill_n(destination + delivered * info.channels, (wanted - delivered) * info.channels, 0.0);
        if (sf_error(handle) != SF_ERR_NO_ERROR)
            throw std::runtime_error("readsnd::FileObj::read error \n");
    }
}

// Moves libsndfile to `frame`; where the file can't seek, by reading on. False if there is no way there.
bool FileObj::position(std::int64_t frame)
{
    if (file_pos == frame)
        return true;
    if (info.seekable != 0)
        return sf_seek(handle, frame, SEEK_SET | SFM_READ) != -1;
    if (frame < file_pos)
        return false;
    std::vector<double> skipped(static_cast<std::size_t>(skip_frames * info.channels));
    while (file_pos < frame) {
        const std::int64_t wanted = std::min(skip_frames, frame - file_pos);
        const std::int64_t delivered = sf_readf_double(handle, skipped.data(), wanted);
        file_pos += delivered;
        if (delivered < wanted) {
            if (sf_error(handle) != SF_ERR_NO_ERROR)
                throw std::runtime_error("readsnd::FileObj::seek error \n");
            return false;
        }
    }
    return true;
}

void FileObj::record_end(std::int64_t frame)
{
    end_frame = end_frame == -1 ? frame : std::min(end_frame, frame);
}

} // namespace readsnd
