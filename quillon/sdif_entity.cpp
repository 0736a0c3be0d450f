#include "quillon/sdif_entity.h"

#include <array>
#include <cstdint>

#include "quillon/sdif_types.h"

namespace Quillon {

namespace {

// Bytes that stand before all frames: no time, no stream, no matrices.
std::array<unsigned char, opening_frame_bytes> opening_frame()
{
    std::array<unsigned char, opening_frame_bytes> bytes;
    store_big_endian(opening_signature, bytes.data());
    store_big_endian(static_cast<std::uint32_t>(opening_frame_bytes - uncounted_frame_bytes), bytes.data() + 4);
    store_big_endian(format_version, bytes.data() + 8);
    store_big_endian(standard_types_version, bytes.data() + 12);
    return bytes;
}

// A frame that holds one text, in a matrix of its own signature.
SDIFFrame header_frame(std::uint32_t signature, std::uint32_t stream_id, const std::string& text)
{
    SDIFFrame frame;
    frame.SetHeader(signature, stream_id, header_frame_time);
    frame.Resize(1);
    frame.GetMatrix(0).Init(signature, static_cast<std::uint32_t>(text.size()), 1, DataType::text);
    frame.GetMatrix(0).FillColumn(0, text.data());
    return frame;
}

} // namespace

bool SDIFEntity::OpenWrite(const std::string& path)
{
    if (!file.open(path))
        return false;
    const auto opening = opening_frame();
    file.write(opening.data(), opening.size());
    for (const SDIFNameValueTable& table : tables)
        WriteFrame(header_frame(table_signature, table.stream_id(), table.text()));
    const std::string declarations = matrix_declarations + frame_declarations;
    if (!declarations.empty())
        WriteFrame(header_frame(types_signature, no_stream, "{\n" + declarations + "}"));
    return true;
}

void SDIFEntity::WriteFrame(const SDIFFrame& frame)
{
    frame.encode(frame_bytes);
    file.write(frame_bytes.data(), frame_bytes.size());
}

} // namespace Quillon
