// The header reader reads through a small window over the stream. Every access first checks
// that the bytes lie inside the readable range and inside kMaxHeaderScan of the start, so a
// truncated or hostile header ends in a clear refusal and never in a read past the data.
// The caller's stream position is saved first and put back on every path.
#include "core/ImageGeometry.h"

#include "core/BufferStream.h"
#include "kapi/vLog.h"

#include <cstring>

namespace KELO {
namespace Multimedia {

namespace {

class HeaderReader
{
public:
    HeaderReader(BufferStream& stream, int64 start, int64 end)
        : m_stream(stream), m_start(start), m_end(end), m_position(start)
    {
    }

    // False when fewer than `count` bytes are left or the stream fails.
    bool read(uint8* out, uint32 count)
    {
        if (!available_i(count))
            return false;
        while (count > 0) {
            if (m_position < m_windowStart || m_position >= m_windowStart + m_windowLength) {
                if (!fill_i())
                    return false;
            }
            const int64 offset = m_position - m_windowStart;
            const int64 inWindow = m_windowLength - offset;
            const uint32 step = inWindow < count ? static_cast<uint32>(inWindow) : count;
            std::memcpy(out, m_window + offset, step);
            out += step;
            count -= step;
            m_position += step;
        }
        return true;
    }

    bool byte(uint8& out) { return read(&out, 1); }

    bool u16be(uint32& out)
    {
        uint8 b[2];
        if (!read(b, 2))
            return false;
        out = (uint32(b[0]) << 8) | b[1];
        return true;
    }

    bool skip(uint32 count)
    {
        if (!available_i(count))
            return false;
        m_position += count;
        return true;
    }

    bool ioFailed() const { return m_ioFailed; }

private:
    bool available_i(uint32 count) const
    {
        const int64 limit = m_start + kMaxHeaderScan < m_end ? m_start + kMaxHeaderScan : m_end;
        return count <= limit - m_position;
    }

    bool fill_i()
    {
        m_windowStart = m_position;
        m_windowLength = 0;
        if (m_stream.seek(m_position, BufferStream::FromStart) != SUCCESS) {
            m_ioFailed = true;
            return false;
        }
        const int64 left = m_end - m_position;
        const uint32 want =
            left < int64(sizeof(m_window)) ? uint32(left) : uint32(sizeof(m_window));
        uint32 got = 0;
        if (readFully(m_stream, m_window, want, &got) != SUCCESS)
            m_ioFailed = true;
        m_windowLength = got;
        // The stream promised these bytes in bounds(); holding back is a truncation.
        return got > 0;
    }

    BufferStream& m_stream;
    const int64 m_start;
    const int64 m_end;
    int64 m_position;
    int64 m_windowStart = 0;
    int64 m_windowLength = 0;
    bool m_ioFailed = false;
    uint8 m_window[1024];
};

const uint8 kPngSignature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};

uint32 readU32be(const uint8* p)
{
    return (uint32(p[0]) << 24) | (uint32(p[1]) << 16) | (uint32(p[2]) << 8) | uint32(p[3]);
}

uint32 crc32Of(const uint8* data, uint32 length)
{
    uint32 crc = 0xFFFFFFFFu;
    for (uint32 i = 0; i < length; ++i) {
        crc ^= data[i];
        for (int bit = 0; bit < 8; ++bit)
            crc = (crc >> 1) ^ (0xEDB88320u & (0u - (crc & 1u)));
    }
    return ~crc;
}

// Which bit depths each PNG colour type allows, as a mask of depths (bit n = depth n).
bool pngDepthAllowed(uint8 colourType, uint8 depth, uint8& components)
{
    uint32 allowed = 0;
    switch (colourType) {
    case 0:
        allowed = (1u << 1) | (1u << 2) | (1u << 4) | (1u << 8) | (1u << 16);
        components = 1;
        break;
    case 2:
        allowed = (1u << 8) | (1u << 16);
        components = 3;
        break;
    case 3:
        allowed = (1u << 1) | (1u << 2) | (1u << 4) | (1u << 8);
        components = 1;
        break;
    case 4:
        allowed = (1u << 8) | (1u << 16);
        components = 2;
        break;
    case 6:
        allowed = (1u << 8) | (1u << 16);
        components = 4;
        break;
    default:
        return false;
    }
    return depth <= 16 && (allowed & (1u << depth)) != 0;
}

// The signature has been matched; reads the IHDR chunk that must follow it.
const char* parsePng(HeaderReader& in, ImageGeometry& out)
{
    uint8 chunk[4 + 4 + 13 + 4];
    if (!in.read(chunk, sizeof(chunk)))
        return "PNG header truncated";
    if (readU32be(chunk) != 13 || std::memcmp(chunk + 4, "IHDR", 4) != 0)
        return "PNG does not start with a 13-byte IHDR chunk";
    if (crc32Of(chunk + 4, 4 + 13) != readU32be(chunk + 21))
        return "PNG IHDR checksum mismatch";
    const uint8* ihdr = chunk + 8;
    const uint32 width = readU32be(ihdr);
    const uint32 height = readU32be(ihdr + 4);
    if (width == 0 || height == 0 || width > 0x7FFFFFFFu || height > 0x7FFFFFFFu)
        return "PNG size out of range";
    const uint8 depth = ihdr[8];
    const uint8 colourType = ihdr[9];
    uint8 components = 0;
    if (!pngDepthAllowed(colourType, depth, components))
        return "PNG bit depth and colour type do not match";
    if (ihdr[10] != 0 || ihdr[11] != 0 || ihdr[12] > 1)
        return "PNG compression, filter or interlace method unknown";
    out.kind = ImageGeometry::KIND_PNG;
    out.width = width;
    out.height = height;
    out.bitsPerComponent = depth;
    out.components = components;
    out.colourType = colourType;
    out.progressive = ihdr[12] == 1;
    out.hasAlpha = colourType == 4 || colourType == 6;
    return nullptr;
}

bool isStartOfFrame(uint8 marker)
{
    return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

const char* parseJpegFrame(HeaderReader& in, uint8 marker, ImageGeometry& out)
{
    uint32 length = 0;
    uint8 fixed[6];
    if (!in.u16be(length) || !in.read(fixed, sizeof(fixed)))
        return "JPEG frame header truncated";
    const uint8 precision = fixed[0];
    const uint32 height = (uint32(fixed[1]) << 8) | fixed[2];
    const uint32 width = (uint32(fixed[3]) << 8) | fixed[4];
    const uint8 componentCount = fixed[5];
    if (precision != 8 && precision != 12 && precision != 16)
        return "JPEG sample precision unknown";
    if (width == 0 || height == 0)
        return "JPEG frame without a size";
    if (componentCount < 1 || componentCount > 4 || length != 8u + 3u * componentCount)
        return "JPEG frame component count does not match its length";
    for (uint8 i = 0; i < componentCount; ++i) {
        uint8 component[3];
        if (!in.read(component, sizeof(component)))
            return "JPEG frame header truncated";
        const uint8 horizontal = component[1] >> 4;
        const uint8 vertical = component[1] & 0x0F;
        if (horizontal < 1 || horizontal > 4 || vertical < 1 || vertical > 4)
            return "JPEG sampling factor out of range";
    }
    out.kind = ImageGeometry::KIND_JPEG;
    out.width = width;
    out.height = height;
    out.bitsPerComponent = precision;
    out.components = componentCount;
    out.jpegProcess = static_cast<uint8>(marker - 0xC0);
    out.progressive = (out.jpegProcess & 3) == 2; // SOF2, SOF6, SOF10, SOF14
    return nullptr;
}

// The start-of-image marker has been matched; walks the marker segments to the first frame
// header. Bytes between segments that are not a marker are skipped, as decoders do.
const char* parseJpeg(HeaderReader& in, ImageGeometry& out)
{
    for (;;) {
        uint8 value = 0;
        do {
            if (!in.byte(value))
                return "JPEG ends before its frame header";
        } while (value != 0xFF);
        do {
            if (!in.byte(value))
                return "JPEG ends before its frame header";
        } while (value == 0xFF);
        const uint8 marker = value;
        if (marker == 0x00 || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7))
            continue; // stuffed byte or a marker without a segment
        if (marker == 0xD8 || marker == 0xD9 || marker == 0xDA)
            return "JPEG has no frame header before its scan";
        if (isStartOfFrame(marker))
            return parseJpegFrame(in, marker, out);
        uint32 length = 0;
        if (!in.u16be(length))
            return "JPEG segment truncated";
        if (length < 2)
            return "JPEG segment length too small";
        if (!in.skip(length - 2))
            return "JPEG segment truncated";
    }
}

const char* parseGif(HeaderReader& in, ImageGeometry& out)
{
    uint8 screen[5];
    if (!in.read(screen, sizeof(screen)))
        return "GIF header truncated";
    const uint32 width = screen[0] | (uint32(screen[1]) << 8);
    const uint32 height = screen[2] | (uint32(screen[3]) << 8);
    if (width == 0 || height == 0)
        return "GIF without a size";
    out.kind = ImageGeometry::KIND_GIF;
    out.width = width;
    out.height = height;
    out.bitsPerComponent = (screen[4] & 0x80) != 0 ? uint8((screen[4] & 7) + 1) : 8;
    out.components = 1;
    return nullptr;
}

const char* parseImage(HeaderReader& in, ImageGeometry& out)
{
    uint8 magic[8];
    if (!in.read(magic, 2))
        return "image too short";
    if (magic[0] == 0xFF && magic[1] == 0xD8)
        return parseJpeg(in, out);
    if (!in.read(magic + 2, 4))
        return "image too short";
    if (std::memcmp(magic, "GIF87a", 6) == 0 || std::memcmp(magic, "GIF89a", 6) == 0)
        return parseGif(in, out);
    if (!in.read(magic + 6, 2))
        return "image too short";
    if (std::memcmp(magic, kPngSignature, sizeof(kPngSignature)) == 0)
        return parsePng(in, out);
    return "unknown image signature";
}

} // namespace

Status getGeometry(BufferStream* stream, ImageFormat format, ImageGeometry* geometry)
{
    if (stream == nullptr || geometry == nullptr)
        return INVALID_ARGUMENTS;
    const int64 saved = stream->tell();
    int64 first = 0;
    int64 end = 0;
    if (stream->bounds(&first, &end) != SUCCESS || end < first) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_INFO, "getGeometry: stream has no bounds");
        return IO_ERROR;
    }
    HeaderReader in(*stream, first, end);
    ImageGeometry found;
    const char* problem = parseImage(in, found);
    const bool restored = stream->seek(saved, BufferStream::FromStart) == SUCCESS;
    if (in.ioFailed() || !restored) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_INFO, "getGeometry: stream read failed");
        return IO_ERROR;
    }
    if (problem != nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
            vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG, "getGeometry: %s", problem);
        return INVALID_ARGUMENTS;
    }
    if (format != FMT_UNKNOWN && static_cast<int32>(format) != static_cast<int32>(found.kind) &&
        vLogLevelEnabled(VLOGSRC_KAPI_HELPER, VLOG_DEBUG))
        vLogMessage(VLOGSRC_KAPI_HELPER, VLOG_DEBUG,
                    "getGeometry: announced format %d but the header is kind %d",
                    static_cast<int>(format), static_cast<int>(found.kind));
    *geometry = found;
    return SUCCESS;
}

Status createSurfaceFromImage(Graphics*, Surface** surface, BufferStream*, const ImageGeometry&,
                              void*, SurfaceListener*)
{
    if (surface != nullptr)
        *surface = nullptr;
    return NOT_SUPPORTED;
}

} // namespace Multimedia
} // namespace KELO
