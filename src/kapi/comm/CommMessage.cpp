// CommMessage: the block is allocated once with two header bytes in front of the payload.
#include "kapi/comm/CommMessage.h"

#include "kapi/vLog.h"

#include <new>

namespace Kapi {
namespace Comm {

CommMessage::CommMessage(std::unique_ptr<uint8[]> block, size_t capacity)
    : m_block(std::move(block))
{
    setArea(m_block.get() + kHeaderSize, capacity);
}

std::shared_ptr<CommMessage> CommMessage::create(size_t capacity)
{
    if (capacity > kMaxPayload) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR,
                        "CommMessage: a payload of %lu bytes cannot be framed (limit %lu)",
                        static_cast<unsigned long>(capacity),
                        static_cast<unsigned long>(kMaxPayload));
        return nullptr;
    }
    std::unique_ptr<uint8[]> block(new (std::nothrow) uint8[capacity + kHeaderSize]);
    if (!block) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR, "CommMessage: out of memory for %lu bytes",
                        static_cast<unsigned long>(capacity));
        return nullptr;
    }
    return std::shared_ptr<CommMessage>(new CommMessage(std::move(block), capacity));
}

void CommMessage::storeHeader()
{
    const size_t size = getSize();
    m_block[0] = static_cast<uint8>((size >> 8) & 0xFF);
    m_block[1] = static_cast<uint8>(size & 0xFF);
}

} // namespace Comm
} // namespace Kapi
