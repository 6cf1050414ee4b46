// Shared parts of every BufferStream: the buffering answer of a stream whose data is all
// present, and the read loop that tolerates short reads.
#include "core/BufferStream.h"

namespace KELO {

Status BufferStream::getInfo(MediaBuffer::BufferInfo* info) const
{
    if (info == nullptr)
        return INVALID_ARGUMENTS;
    int64 first = 0;
    int64 end = 0;
    const Status status = bounds(&first, &end);
    if (status != SUCCESS)
        return status;
    const int64 position = tell();
    info->length = static_cast<uint64>(end - first);
    info->bytesLeft = position < end ? static_cast<uint64>(end - position) : 0;
    info->completelyDownloaded = true;
    return SUCCESS;
}

Status readFully(BufferStream& stream, void* buffer, uint32 size, uint32* bytesRead)
{
    uint32 total = 0;
    Status status = SUCCESS;
    while (total < size) {
        uint32 count = 0;
        status = stream.read(static_cast<uint8*>(buffer) + total, size - total, &count);
        if (status != SUCCESS || count == 0)
            break;
        total += count;
    }
    if (bytesRead != nullptr)
        *bytesRead = total;
    return status;
}

} // namespace KELO
