#ifndef KAPI_BUFFERINGINFORMATION_H
#define KAPI_BUFFERINGINFORMATION_H
// Snapshots of a multibuffer's positions, taken under its lock. Positions count bytes of the
// whole stream: m_begin <= m_currentPosition <= m_end always holds in a snapshot
// (m_begin: first byte still held; m_currentPosition: next byte to read; m_end: bytes
// appended). Times are int64 microseconds, 0 when the multibuffer holds no such block.
#include "kapi/KapiTypes.h"
#include "kapi/KeyValueMap.h"

namespace Kapi {

class BufferingInformation
{
public:
    int64 m_begin = 0;
    int64 m_currentPosition = 0;
    int64 m_end = 0;
    bool m_eofReached = false;
    int64 m_bytesAllocated = 0;

    // The five values above under their member names as keys ("m_begin", "m_currentPosition",
    // "m_end", "m_eofReached", "m_bytesAllocated"); integers are Integer64, the flag Boolean.
    KeyValueMap toKeyValueMap() const;
};

class TimedBufferingInformation : public BufferingInformation
{
public:
    int64 m_beginTimeUs = 0;   // loTs of the oldest held block
    int64 m_currentTimeUs = 0; // loTs of the block the next read starts in
    int64 m_endTimeUs = 0;     // hiTs of the newest block
};

} // namespace Kapi

#endif
