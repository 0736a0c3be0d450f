#pragma once

#include <cstdint>
#include <fstream>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "quillon/gabarit_layout.h"
#include "quillon/sdif_reader.h"

namespace gabarit {

/// What the information frame holds.
struct information {
    double mode;
    double sample_rate_hz; ///< of the sound's file
    double channels;       ///< of the sound's file
    double fft_size;       ///< 2 n - 2, but not below 0
    double frame_count;    ///< n
};

/// How the gabarit was made, in the words of its command; empty where that has none.
struct settings {
    std::string features, modeling;
    std::string modeling_window, modeling_step; ///< seconds
};

/// One data frame: how alike its moment is to every moment of the sound.
struct column {
    std::uint64_t offset; ///< of the frame in its file
    double time_seconds;
    std::vector<unsigned char> similarity; ///< n values, 255: the same
};

/// A text with '_' for what can't be shown: controls and marks of direction, which could steer a terminal or turn what
/// it shows, and bytes that are no UTF-8.
std::string showable(std::string_view text);

/// Reads a gabarit from its start to its end, column by column, so that its size is no matter.
/// Every function throws Quillon::FormatError where the file is no whole gabarit.
class reader {
public:
    /// Reads all up to the information frame.
    /// @throws std::runtime_error if the file can't be opened
    explicit reader(const std::string& path);
    reader(const reader&) = delete;
    reader& operator=(const reader&) = delete;

    /// Number of columns, and of values in each. The file has room for their square.
    int size() const { return moments; }

    const information& info() const { return facts; }

    /// Entries of the name-value tables, made showable; each name is there once. They take 16 MB at most.
    const std::vector<Quillon::NameValue>& table() const { return entries; }

    /// The value of that name, empty if there is none.
    std::string value(const std::string& name) const;

    /// Path of the sound as it was given, empty if unknown.
    std::string sound() const { return value(Quillon::gabarit_layout::sound_name); }

    settings made_with() const;

    /// Reads the next column.
    /// @return false after the last one, at the file's end
    bool next_column(column& read);

    /// Reads a column again, by the offset that `next_column` gave; what `next_column` goes on with is undefined then.
    void read_again(std::uint64_t offset, column& read);

private:
    void read_until_info();
    void skip_matrices();
    void read_table();
    bool next_own_matrix(Quillon::MatrixHeader& matrix, unsigned& seen);
    bool read_info_frame();
    void check_info(std::uint64_t offset);
    void check_time(const Quillon::FrameHeader& frame);
    void read_data_frame(column& read);

    std::ifstream file;
    Quillon::SDIFReader sdif;
    std::vector<Quillon::NameValue> entries;
    std::unordered_set<std::string> names; // of the entries
    std::uint64_t table_bytes = 0;
    information facts{};
    int moments = 0;
    int columns_read = 0;
    double last_frame_time = Quillon::header_frame_time;
    double last_column_time = Quillon::header_frame_time;
};

} // namespace gabarit
