#ifndef CORE_MEDIAPLAYERDRIVER_H
#define CORE_MEDIAPLAYERDRIVER_H
// Playback interfaces: the media buffer the client offers (MediaBuffer, implemented by the
// client and read by the player), the platform player (MediaPlayer) with its listener, and
// the conditional-access key loader (CA). Operations returning int32 give a KELO::Status.
//
// Threads: the player reads the media buffer from its own push thread and calls its listener
// from its event thread; receivers only post work.
#include "core/DriverTypes.h"
#include "core/KeloStatus.h"

namespace KELO {

class Layer;

class MediaBuffer
{
public:
    enum AspectRatioInfo : int32
    {
        ASPECT_INFO_ENCODED = 0,
        ASPECT_WIDE_WITH_BLACK_BARS = 1,
        ASPECT_NORMAL_WITH_BLACK_BARS = 2
    };
    enum Dimensionality : int32
    {
        DIM_2D = 0,
        DIM_3D_LEFT_RIGHT = 1,
        DIM_3D_TOP_BOTTOM = 2,
        DIM_3D_BOTTOM_TOP = 3,
        DIM_3D_LEFT_THEN_RIGHT = 4,
        DIM_3D_RIGHT_THEN_LEFT = 5
    };

    // The navigation tables are not owned and live as long as the buffer.
    struct ContentInfo
    {
        Containers containerType = CONTAINER_TS;
        AudioCodecs audioCodec = AUDIO_CODEC_UNKNOWN;
        uint32 audioPid = 0;
        VideoCodecs videoCodec = VIDEO_CODEC_UNKNOWN;
        uint32 videoPid = 0;
        AspectRatioInfo arInfo = ASPECT_INFO_ENCODED;
        uint32 duration = 0;
        uint32 width = 0;
        uint32 height = 0;
        uint32 pixelAspectNumerator = 0;
        uint32 pixelAspectDenominator = 0;
        uint32 numNavTableEntries = 0;
        uint64* offsetTable = nullptr;
        uint32* ptsTable = nullptr;
        bool isEncryped = false;
        uint32 pingPeriod = 0;
        uint32 pingPeriodFast = 0;
        uint32 numAudioChannels = 0;
        uint32 audioSampleRate = 0;
        uint32 framesPerKiloSeconds = 0;
        Dimensionality dimensionality = DIM_2D;
    };
    struct BufferInfo
    {
        uint64 length = 0;
        uint64 bytesLeft = 0;
        bool completelyDownloaded = false;
    };

    MediaBuffer() = default;
    MediaBuffer(const MediaBuffer&) = delete;
    MediaBuffer& operator=(const MediaBuffer&) = delete;

    // Slot order is fixed: in this interface the destructor follows the six operations.
    virtual int32 GetContentInfo(ContentInfo* info) = 0;
    virtual int32 GetBufferInfo(BufferInfo* info) = 0;
    virtual int32 OpenMediaStream(BufferStream** stream) = 0;
    virtual int32 CloseMediaStream(BufferStream* stream) = 0;
    virtual int32 OpenNavigationStream(BufferStream** stream) = 0;
    virtual int32 CloseNavigationStream(BufferStream* stream) = 0;
    virtual ~MediaBuffer() = default;
};

class MediaPlayerListener
{
public:
    enum Event : int32
    {
        EndOfFile = 1,
        BeginOfFile = 2,
        BufferUnderrun = 4,
        PingCA = 8
    };
    struct PositionInfo
    {
        int64 curOffset = 0; // file offset in bytes
        uint32 curPosition = 0;
    };
    virtual ~MediaPlayerListener() = default;
    virtual void Callback(void* context, Event event, const PositionInfo& position) = 0;
};

class MediaPlayer
{
public:
    struct Capabilities
    {
        int32 containers = 0; // Containers bits
        bool keloContent = false;
        bool trickplay = false;
    };

    MediaPlayer() = default;
    MediaPlayer(const MediaPlayer&) = delete;
    MediaPlayer& operator=(const MediaPlayer&) = delete;

    // Slot order is fixed.
    virtual ~MediaPlayer() = default;
    virtual Capabilities GetCapabilities() const = 0;
    virtual int GetSupportedVideoCodecs(Containers container) const = 0; // VideoCodecs
    virtual int GetSupportedAudioCodecs(Containers container) const = 0; // AudioCodecs bits
    virtual int32 AddListener(void* context, MediaPlayerListener* listener, int eventMask) = 0;
    virtual int32 RemoveListener(MediaPlayerListener* listener) = 0;
    // Null detaches the current source.
    virtual int32 SetSource(MediaBuffer* buffer) = 0;
    virtual int32 SetOutput(Layer* layer) = 0;
    // Callers and players agree that the first argument is the speed, the second the position.
    virtual int32 SetPosAndSpeed(int speed, int position, int flags) = 0;
    virtual int32 GetPosAndSpeed(int* position, int* speed) = 0;
    virtual int32 FrameAdvance() = 0;
    virtual int32 FrameReverse() = 0;
};

// Content-protection key loading for the player.
class CA
{
public:
    enum WrapMode : int32
    {
        WRAP_NONE = 0,
        WRAP_COMMON = 1,
        WRAP_UNIQUE = 2
    };
    struct KeySetup
    {
        WrapMode wrapMode = WRAP_NONE;
        uint8 IV[16] = {};
        uint8 uniqueKey[16] = {};
    };
    struct KeyPair
    {
        uint8 odd[16] = {};
        uint8 even[16] = {};
    };

    CA() = default;
    CA(const CA&) = delete;
    CA& operator=(const CA&) = delete;

    // Slot order is fixed.
    virtual ~CA() = default;
    virtual int32 Setup(const KeySetup& setup) = 0;
    virtual int32 Load(const KeyPair& keys) = 0;
};

} // namespace KELO

#endif
