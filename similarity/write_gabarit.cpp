#include "similarity/write_gabarit.h"

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <stdexcept>

#include "quillon/name_value_table.h"
#include "quillon/sdif_entity.h"
#include "quillon/sdif_frame.h"
#include "quillon/sdif_types.h"
#include "quillon/type_declarations.h"
#include "similarity/plain_number.h"

namespace veloria {

namespace {

constexpr std::uint32_t info_signature = Quillon::SdifStringToSignature("IGBG");
constexpr std::uint32_t channel_map_signature = Quillon::SdifStringToSignature("XS2C");
constexpr std::uint32_t frame_info_signature = Quillon::SdifStringToSignature("IGBF");
constexpr std::uint32_t data_signature = Quillon::SdifStringToSignature("1GB0");

constexpr double info_time = -1.0; // seconds, ahead of all data
constexpr int gabarit_mode = 0;

// What the frames say of themselves: n values are the bins from 0 to the Nyquist frequency of a transform of this
// size.
struct gabarit_size {
    std::uint32_t frames;
    std::int64_t fft_size;
};

Quillon::SDIFNameValueTable name_value_table(const std::string& input_path, const std::string& command,
                                             double sample_rate, int channels)
{
    Quillon::SDIFNameValueTable table;
    table.AddNameValue("SampleRate", plain_number(sample_rate));
    table.AddNameValue("GabaritMode", std::to_string(gabarit_mode));
    table.AddNameValue("Command", command);
    table.AddNameValue("Soundfile", input_path);
    table.AddNameValue("NumChannels", std::to_string(channels));
    table.AddNameValue("Version", VELORIA_ENGINE_VERSION);
    table.AddNameValue("Creator", "marquen");
    return table;
}

// A matrix type of these columns, declared in the file and held by the frame type under a name.
void declare_matrix(Quillon::SDIFEntity& entity, Quillon::FrameType& frame_type, std::uint32_t signature,
                    std::initializer_list<const char*> columns, const char* name)
{
    Quillon::MatrixType type(signature);
    for (const char* column : columns)
        type.AddColumn(column);
    entity.AddMatrixType(type);
    frame_type.AddMatrixType(type, name);
}

void declare_types(Quillon::SDIFEntity& entity)
{
    Quillon::FrameType info(info_signature);
    declare_matrix(entity, info, info_signature, {"gabmode", "samplerate", "nchannels", "fftsize", "numframes"},
                   "gabaritinfo");
    declare_matrix(entity, info, channel_map_signature, {"stream_id", "channel"}, "stream2channel_map");
    entity.AddFrameType(info);

    Quillon::FrameType data(data_signature);
    declare_matrix(entity, data, frame_info_signature, {"windowsize", "framesize"}, "frameinfo");
    declare_matrix(entity, data, data_signature, {"logampl"}, "fftdata");
    entity.AddFrameType(data);
}

// The stream is the channel count and the map fills its first row alone, in turn: readers know the frame so.
void write_info_frame(Quillon::SDIFEntity& entity, const gabarit_size& size, double sample_rate, int channels)
{
    const auto channel_count = static_cast<std::uint32_t>(channels);
    Quillon::SDIFFrame frame;
    frame.SetHeader(info_signature, channel_count, info_time);
    frame.Resize(2);

    Quillon::SDIFMatrix& info = frame.GetMatrix(0);
    info.Init(info_signature, 1, 5, Quillon::DataType::float32);
    info.Set(0, 0, gabarit_mode);
    info.Set(0, 1, sample_rate);
    info.Set(0, 2, channels);
    info.Set(0, 3, size.fft_size);
    info.Set(0, 4, size.frames);

    Quillon::SDIFMatrix& channel_map = frame.GetMatrix(1);
    channel_map.Init(channel_map_signature, channel_count, 2, Quillon::DataType::int32);
    for (int i = 0; i < channels; ++i) {
        channel_map.Set(0, 0, i);
        channel_map.Set(0, 1, i);
    }
    entity.WriteFrame(frame);
}

// One frame serves for all: its time and its column of bytes change.
void write_data_frames(Quillon::SDIFEntity& entity, const gabarit_size& size,
                       const tavel::Matrix<unsigned char>& similarity, const tavel::Vector<double>& frame_times)
{
    Quillon::SDIFFrame frame;
    frame.SetSignature(data_signature);
    frame.SetStreamID(0);
    frame.Resize(2);
    Quillon::SDIFMatrix& info = frame.GetMatrix(0);
    info.Init(frame_info_signature, 1, 2, Quillon::DataType::uint32);
    info.Set(0, 0, size.fft_size);
    info.Set(0, 1, size.fft_size);
    Quillon::SDIFMatrix& column = frame.GetMatrix(1);
    column.Init(data_signature, size.frames, 1, Quillon::DataType::uint8);
    for (int i = 0; i < frame_times.size; ++i) {
        frame.SetTime(frame_times[i]);
        column.FillColumn(0, similarity.column_data(i));
        entity.WriteFrame(frame);
    }
}

} // namespace

void write_gabarit(const tavel::Matrix<unsigned char>& similarity, const tavel::Vector<double>& frame_times,
                   const std::string& input_path, const std::string& command, double sample_rate, int channels,
                   const std::string& output_path)
{
    const std::int64_t n = frame_times.size;
    const gabarit_size size{static_cast<std::uint32_t>(n), std::max<std::int64_t>(2 * n - 2, 0)};

    Quillon::SDIFEntity entity;
    entity.AddNVT(name_value_table(input_path, command, sample_rate, channels));
    declare_types(entity);
    if (!entity.OpenWrite(output_path))
        throw std::runtime_error("Error opening file '" + output_path + "' for writing");
    write_info_frame(entity, size, sample_rate, channels);
    write_data_frames(entity, size, similarity, frame_times);
    entity.Close();
}

} // namespace veloria
