// BufferingInformation as a key-value map (for status reports and script queries).
#include "kapi/BufferingInformation.h"

namespace Kapi {

KeyValueMap BufferingInformation::toKeyValueMap() const
{
    KeyValueMap map;
    map.addValue("m_begin", m_begin);
    map.addValue("m_currentPosition", m_currentPosition);
    map.addValue("m_end", m_end);
    map.addValue("m_eofReached", m_eofReached);
    map.addValue("m_bytesAllocated", m_bytesAllocated);
    return map;
}

} // namespace Kapi
