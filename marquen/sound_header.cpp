#include "marquen/sound_header.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <memory>
#include <string_view>
#include <vector>

#include <sndfile.h>

namespace marquen {

namespace {

enum class order { little_endian, big_endian };

// Where the bytes of sound lie, and the number in the header that says how many they are.
struct data_chunk {
    std::uint64_t size_at;
    int size_bytes;
    order byte_order;
    std::uint64_t announced;
    std::uint64_t begin;
    bool is_au_or_caf;   // libsndfile takes a size beyond the end of the file for a fault
    bool is_placeholder; // the header says by itself that it was written ahead of the sound
};

using bytes = std::array<unsigned char, 32>;

bool read_at(int file, std::uint64_t offset, std::size_t count, bytes& read)
{
    return pread(file, read.data(), count, static_cast<off_t>(offset)) == static_cast<ssize_t>(count);
}

std::uint64_t number_at(const bytes& read, std::size_t at, int count, order byte_order)
{
    std::uint64_t number = 0;
    for (int i = 0; i < count; ++i)
        number = number << 8 | read[at + static_cast<std::size_t>(byte_order == order::big_endian ? i : count - 1 - i)];
    return number;
}

bool has_text(const bytes& read, std::size_t at, std::string_view text)
{
    return std::equal(text.begin(), text.end(), read.begin() + static_cast<std::ptrdiff_t>(at));
}

// A chunk is four letters, a size, as many bytes, and in WAV and AIFF one more where they are odd.
struct chunk_form {
    std::uint64_t first;
    int size_bytes;
    order byte_order;
    std::string_view data_name;
    std::uint64_t head; // of the data chunk, bytes before the sound itself
};

std::optional<data_chunk> find_chunk(int file, const chunk_form& form)
{
    const bool padded = form.size_bytes == 4;
    const auto name_and_size = static_cast<std::uint64_t>(4 + form.size_bytes);
    bytes chunk{};
    for (std::uint64_t at = form.first; read_at(file, at, name_and_size, chunk);) {
        const std::uint64_t size = number_at(chunk, 4, form.size_bytes, form.byte_order);
        const std::uint64_t begin = at + name_and_size;
        if (has_text(chunk, 0, form.data_name))
            return data_chunk{at + 4,
                              form.size_bytes,
                              form.byte_order,
                              size < form.head ? 0 : size - form.head,
                              begin + form.head,
                              !padded,
                              false};
        if (size > UINT32_MAX)
            return {};
        at = begin + size + (padded ? size % 2 : 0);
    }
    return {};
}

std::optional<data_chunk> find_data(int file)
{
    bytes start{};
    if (!read_at(file, 0, 12, start))
        return {};
    if (has_text(start, 0, "RIFF") && has_text(start, 8, "WAVE")) {
        std::optional<data_chunk> found = find_chunk(file, {12, 4, order::little_endian, "data", 0});
        if (found)
            found->is_placeholder = found->announced == 0 && number_at(start, 4, 4, order::little_endian) == 0;
        return found;
    }
    if (has_text(start, 0, "FORM") && (has_text(start, 8, "AIFF") || has_text(start, 8, "AIFC")))
        return find_chunk(file, {12, 4, order::big_endian, "SSND", 8});
    if (has_text(start, 0, "caff"))
        return find_chunk(file, {8, 8, order::big_endian, "data", 4});
    const order au = has_text(start, 0, ".snd") ? order::big_endian : order::little_endian;
    if (has_text(start, 0, ".snd") || has_text(start, 0, "dns."))
        return data_chunk{
            8, 4, au, number_at(start, 8, 4, au), number_at(start, 4, 4, au), true, number_at(start, 8, 4, au) == 0};
    return {};
}

// A stream of FLAC announces a length of 0, which stands for an unknown one: 36 bits, the last of byte 21 and four
// bytes.
void mend_flac(int file)
{
    constexpr std::uint64_t length_at = 21;
    bytes start{};
    if (!read_at(file, 0, 26, start) || !has_text(start, 0, "fLaC") || (start[length_at] & 0x0f) != 0 ||
        number_at(start, length_at + 1, 4, order::big_endian) != 0)
        return;
    lseek(file, 0, SEEK_SET);
    SF_INFO info{};
    const std::unique_ptr<SNDFILE, decltype(&sf_close)> sound(sf_open_fd(file, SFM_READ, &info, SF_FALSE), sf_close);
    if (!sound)
        return;
    std::vector<int> frames(4096 * static_cast<std::size_t>(info.channels));
    std::uint64_t count = 0;
    while (const sf_count_t read = sf_readf_int(sound.get(), frames.data(), 4096))
        count += static_cast<std::uint64_t>(read);
    bytes length{};
    length[0] = static_cast<unsigned char>((start[length_at] & 0xf0) | (count >> 32 & 0x0f));
    for (int i = 1; i < 5; ++i)
        length[static_cast<std::size_t>(i)] = static_cast<unsigned char>(count >> 8 * (4 - i));
    [[maybe_unused]] const ssize_t written = pwrite(file, length.data(), 5, static_cast<off_t>(length_at));
}

std::uint64_t size_of_file(int file)
{
    struct stat status = {};
    return fstat(file, &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

} // namespace

std::optional<data_bytes> look_at_header(int file)
{
    const std::optional<data_chunk> data = find_data(file);
    const std::uint64_t size = size_of_file(file);
    if (!data || size < data->begin)
        return {};
    return data_bytes{data->announced, std::min(data->announced, size - data->begin)};
}

void mend_header(int file)
{
    mend_flac(file);
    const std::optional<data_chunk> data = find_data(file);
    const std::uint64_t size = size_of_file(file);
    if (!data || size <= data->begin)
        return;
    std::uint64_t present = size - data->begin;
    if (!data->is_placeholder && !(data->is_au_or_caf && data->announced > present))
        return;
    if (data->size_bytes == 8)
        present += 4; // CAF counts the edit count ahead of the sound
    bytes number{};
    for (int i = 0; i < data->size_bytes; ++i) {
        const int shift = 8 * (data->byte_order == order::big_endian ? data->size_bytes - 1 - i : i);
        number[static_cast<std::size_t>(i)] = static_cast<unsigned char>(present >> shift);
    }
    // If it can't be written, the library says what it finds.
    [[maybe_unused]] const ssize_t written =
        pwrite(file, number.data(), static_cast<std::size_t>(data->size_bytes), static_cast<off_t>(data->size_at));
}

} // namespace marquen
