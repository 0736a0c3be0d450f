#include "c/memory_file.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <unistd.h>

#include <cerrno>
#include <new>
#include <system_error>

#include <sndfile.h>

namespace veloria_c {

namespace {

constexpr std::uint64_t header_room = 4096; // bytes; more than libsndfile writes ahead of and behind the samples

// Going over the limit would raise a signal that ends the host.
void check_size_limit(std::uint64_t bytes)
{
    rlimit limit{};
    if (getrlimit(RLIMIT_FSIZE, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY && limit.rlim_cur < bytes)
        throw std::bad_alloc();
}

} // namespace

memory_file::memory_file() : file(memfd_create("veloria", MFD_CLOEXEC))
{
    if (file == -1)
        throw std::system_error(errno, std::generic_category(), "error creating a memory file");
}

memory_file::~memory_file()
{
    ::close(file);
}

std::string memory_file::path() const
{
    return "/proc/self/fd/" + std::to_string(file);
}

std::uint64_t sample_bytes(const veloria_samples& samples)
{
    return samples.type == VELORIA_FLOAT64 ? 8 : samples.type == VELORIA_FLOAT32 ? 4 : 2;
}

void store(const veloria_samples& samples, const memory_file& file)
{
    const auto frames = static_cast<sf_count_t>(samples.frames);
    const auto channels = static_cast<std::uint64_t>(samples.channels);
    check_size_limit(header_room + samples.frames * channels * sample_bytes(samples));

    // Wave 64 has 64-bit sizes and takes all three types as they are.
    SF_INFO info{};
    info.samplerate = samples.rate_hz;
    info.channels = samples.channels;
    info.format = SF_FORMAT_W64 | (samples.type == VELORIA_FLOAT64   ? SF_FORMAT_DOUBLE
                                   : samples.type == VELORIA_FLOAT32 ? SF_FORMAT_FLOAT
                                                                     : SF_FORMAT_PCM_16);
    SNDFILE* const sound = sf_open_fd(file.descriptor(), SFM_WRITE, &info, SF_FALSE);
    if (sound == nullptr)
        throw std::bad_alloc();
    sf_count_t written = 0;
    if (samples.type == VELORIA_FLOAT64)
        written = sf_writef_double(sound, static_cast<const double*>(samples.data), frames);
    else if (samples.type == VELORIA_FLOAT32)
        written = sf_writef_float(sound, static_cast<const float*>(samples.data), frames);
    else
        written = sf_writef_short(sound, static_cast<const short*>(samples.data), frames);
    if (sf_close(sound) != 0 || written != frames)
        throw std::bad_alloc();
}

} // namespace veloria_c
