#ifndef CORE_DRIVERTYPES_H
#define CORE_DRIVERTYPES_H
// Value types that cross the platform driver interfaces. Every enumeration is 32 bits wide and
// its values are fixed: drivers built apart from the client pass them as plain integers. Bit
// enumerations (PixelFormat, Containers, AudioCodecs) are combined into int masks.
//
// Rectangle and Pixel are plain records shared with the graphics code; BufferStream (a readable
// byte stream of the media and image paths) and ImageGeometry (the size and kind an image
// header announces) are defined by the code that produces them and only named here.
#include "kapi/KapiTypes.h"

namespace KELO {

class BufferStream;
struct ImageGeometry;

enum PixelFormat : int32
{
    RGBA8888 = 1,
    RGB888 = 2,
    RGB565 = 4,
    RGBA5551 = 8,
    RGBA4444 = 16,
    YCBCR = 32,
    CLUT8 = 64,
    ALPHA8 = 128,
    YUV444 = 256
};

enum ImageFormat : int32
{
    FMT_UNKNOWN = 0,
    FMT_JPEG = 1,
    FMT_PNG = 2
};

enum Level : int32
{
    LEVEL_OFF = 0,
    LEVEL_LOW = 1,
    LEVEL_MEDIUM = 2,
    LEVEL_HIGH = 3
};

enum ARConversion : int32
{
    ARCONV_BOXED = 0,
    ARCONV_FULL = 1,
    ARCONV_ZOOM = 2
};

enum Containers : int32
{
    CONTAINER_TS = 1,
    CONTAINER_PS = 2,
    CONTAINER_VOB = 4,
    CONTAINER_MP4 = 8,
    CONTAINER_MKV = 16,
    CONTAINER_MP3 = 32
};

enum VideoCodecs : int32
{
    VIDEO_CODEC_UNKNOWN = 0,
    VIDEO_CODEC_H264 = 1,
    VIDEO_CODEC_MPEG2 = 2
};

enum AudioCodecs : int32
{
    AUDIO_CODEC_UNKNOWN = 0,
    AUDIO_CODEC_DDP = 1,
    AUDIO_CODEC_AAC = 2,
    AUDIO_CODEC_MP3 = 4,
    AUDIO_CODEC_DD = 8
};

// A screen or surface area in pixels; width and height are not negative.
struct Rectangle
{
    int32 x = 0;
    int32 y = 0;
    int32 width = 0;
    int32 height = 0;
};

// One colour, 8 bits per channel, alpha 255 opaque.
struct Pixel
{
    uint8 red = 0;
    uint8 green = 0;
    uint8 blue = 0;
    uint8 alpha = 0;
};

static_assert(sizeof(Rectangle) == 16, "Rectangle is four 32-bit fields");
static_assert(sizeof(Pixel) == 4, "Pixel is four bytes");

} // namespace KELO

#endif
