#include "similarity/write_gabarit.h"

#include <cstdint>
#include <initializer_list>
#include <stdexcept>

#include "quillon/gabarit_layout.h"
#include "quillon/name_value_table.h"
#include "quillon/sdif_entity.h"
#include "quillon/sdif_frame.h"
#include "quillon/sdif_types.h"
#include "quillon/type_declarations.h"
#include "similarity/plain_number.h"

namespace veloria {

namespace layout = Quillon::gabarit_layout;

namespace {

constexpr int gabarit_mode = 0;

struct gabarit_size {
    std::uint32_t moments;
    std::int64_t fft_size;
};

Quillon::SDIFNameValueTable name_value_table(const std::string& input_path, const std::string& command,
                                             double sample_rate, int channels)
{
    Quillon::SDIFNameValueTable table;
    table.AddNameValue("SampleRate", plain_number(sample_rate));
    table.AddNameValue("GabaritMode", std::to_string(gabarit_mode));
    table.AddNameValue(layout::command_name, command);
    table.AddNameValue(layout::sound_name, input_path);
    table.AddNameValue("NumChannels", std::to_string(channels));
    table.AddNameValue("Version", VELORIA_ENGINE_VERSION);
    table.AddNameValue("Creator", "marquen");
    return table;
}

void declare_frame(Quillon::SDIFEntity& entity, std::uint32_t signature,
                   std::initializer_list<layout::matrix_layout> matrices)
{
    Quillon::FrameType frame_type(signature);
    for (const layout::matrix_layout& matrix : matrices) {
        Quillon::MatrixType type(matrix.signature);
        for (const char* column : matrix.columns)
            type.AddColumn(column);
        entity.AddMatrixType(type);
        frame_type.AddMatrixType(type, matrix.name);
    }
    entity.AddFrameType(frame_type);
}

// Sizes a matrix that has the columns of its layout.
void init_matrix(Quillon::SDIFMatrix& matrix, const layout::matrix_layout& form, std::uint32_t rows)
{
    matrix.Init(form.signature, rows, static_cast<std::uint32_t>(form.columns.size()), form.type);
}

// Readers expect the number of channels as the stream, and each channel written over the first row of the map.
void write_info_frame(Quillon::SDIFEntity& entity, const gabarit_size& size, double sample_rate, int channels)
{
    const auto channel_count = static_cast<std::uint32_t>(channels);
    Quillon::SDIFFrame frame;
    frame.SetHeader(layout::info.signature, channel_count, layout::info_time);
    frame.Resize(2);

    Quillon::SDIFMatrix& info = frame.GetMatrix(0);
    init_matrix(info, layout::info, 1);
    info.Set(0, layout::gabmode, gabarit_mode);
    info.Set(0, layout::samplerate, sample_rate);
    info.Set(0, layout::nchannels, channels);
    info.Set(0, layout::fftsize, size.fft_size);
    info.Set(0, layout::numframes, size.moments);

    Quillon::SDIFMatrix& channel_map = frame.GetMatrix(1);
    init_matrix(channel_map, layout::channel_map, channel_count);
    for (int i = 0; i < channels; ++i) {
        channel_map.Set(0, 0, i);
        channel_map.Set(0, 1, i);
    }
    entity.WriteFrame(frame);
}

// The same frame is written again and again, with another time and another column of bytes.
void write_data_frames(Quillon::SDIFEntity& entity, const gabarit_size& size,
                       const tavel::Matrix<unsigned char>& similarity, const tavel::Vector<double>& frame_times)
{
    Quillon::SDIFFrame frame;
    frame.SetSignature(layout::data.signature);
    frame.SetStreamID(layout::data_stream);
    frame.Resize(2);
    Quillon::SDIFMatrix& info = frame.GetMatrix(0);
    init_matrix(info, layout::frame_info, 1);
    info.Set(0, 0, size.fft_size);
    info.Set(0, 1, size.fft_size);
    Quillon::SDIFMatrix& column = frame.GetMatrix(1);
    init_matrix(column, layout::data, size.moments);
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
    const gabarit_size size{static_cast<std::uint32_t>(n), layout::fft_size(n)};

    Quillon::SDIFEntity entity;
    entity.AddNVT(name_value_table(input_path, command, sample_rate, channels));
    declare_frame(entity, layout::info.signature, {layout::info, layout::channel_map});
    declare_frame(entity, layout::data.signature, {layout::frame_info, layout::data});
    if (!entity.OpenWrite(output_path))
        throw std::runtime_error("Error opening file '" + output_path + "' for writing");
    write_info_frame(entity, size, sample_rate, channels);
    write_data_frames(entity, size, similarity, frame_times);
    entity.Close();
}

} // namespace veloria
