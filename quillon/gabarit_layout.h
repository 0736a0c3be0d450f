#pragma once

#include <cstdint>
#include <span>

#include "quillon/sdif_types.h"

/// Layout of a gabarit: which frames and matrices its SDIF file holds, the same for writer and reader. A frame is named
/// by the matrix that it stands for.
namespace Quillon::gabarit_layout {

struct matrix_layout {
    std::uint32_t signature;
    DataType type;
    const char* name; ///< in the declaration of its frame
    std::span<const char* const> columns;
};

inline constexpr const char* info_columns[] = {"gabmode", "samplerate", "nchannels", "fftsize", "numframes"};
enum info_column { gabmode, samplerate, nchannels, fftsize, numframes };
inline constexpr const char* channel_map_columns[] = {"stream_id", "channel"};
inline constexpr const char* frame_info_columns[] = {"windowsize", "framesize"};
inline constexpr const char* data_columns[] = {"logampl"};

/// What holds for all frames: one row.
inline constexpr matrix_layout info{SdifStringToSignature("IGBG"), DataType::float32, "gabaritinfo", info_columns};
inline constexpr matrix_layout channel_map{SdifStringToSignature("XS2C"), DataType::int32, "stream2channel_map",
                                           channel_map_columns};
/// Size of a transform whose bins the values of a frame could be, twice.
inline constexpr matrix_layout frame_info{SdifStringToSignature("IGBF"), DataType::uint32, "frameinfo",
                                          frame_info_columns};
/// How alike the frame's moment is to each moment, a row each.
inline constexpr matrix_layout data{SdifStringToSignature("1GB0"), DataType::uint8, "fftdata", data_columns};

inline constexpr double info_time = -1.0; ///< seconds, ahead of all data
inline constexpr std::uint32_t data_stream = 0;

/// Size of the transform whose bins from 0 to the Nyquist frequency are n: 2 n - 2, but not below 0.
constexpr std::int64_t fft_size(std::int64_t n)
{
    return n > 0 ? 2 * n - 2 : 0;
}

/// Names in the table that readers ask for.
inline constexpr const char* command_name = "Command";
inline constexpr const char* sound_name = "Soundfile";

} // namespace Quillon::gabarit_layout
