// The login message and its answer. The refusal is read twice when needed: first as the newer
// record, then from a fresh reader as the older one.
#include "kapi/director/GridLogin.h"

#include "kapi/StreamBufferReader.h"
#include "kapi/vLog.h"

namespace Kapi {
namespace Grid {

Version::Version_1 loginVersion()
{
    return Version::Version_1(kServerVersionMajor, kServerVersionMinor, kC2CVersionMajor,
                              kC2CVersionMinor);
}

bool packLoginMessage(Stream::Writer* writer, uint32 deviceId)
{
    writer->addVarU32(kGridServiceCategory);
    writer->addVarU32(MT_LOGIN);
    writer->addU32(deviceId);
    loginVersion().pack(writer);
    ClientLogin_2(1).pack(writer);
    return writer->ok();
}

bool unpackLoginAnswer(const void* payload, size_t size, LoginAnswer* out)
{
    Stream::BufferReader reader(payload, size);
    const uint32 category = reader.getVarU32();
    const uint32 type = reader.getVarU32();
    const uint32 clientId = reader.getU32();
    if (!reader.ok() || category != kGridServiceCategory ||
        (type != MT_LOGIN_OK && type != MT_LOGIN_FAILED))
        return false;
    LoginAnswer answer;
    answer.type = static_cast<MessageType>(type);
    answer.clientId = clientId;
    if (type == MT_LOGIN_FAILED) {
        const size_t recordStart = reader.tell();
        if (!answer.failure.unpack(&reader)) {
            Stream::BufferReader again(static_cast<const uint8*>(payload) + recordStart,
                                       size - recordStart);
            ClientLoginFailed_1 old;
            const bool unpacked = old.unpack(&again);
            if (vLogLevelEnabled(VLOGSRC_P2S_CLIENT, VLOG_INFO))
                vLogMessage(VLOGSRC_P2S_CLIENT, VLOG_INFO, "oldLoginFailed.unpacked = %d",
                            unpacked ? 1 : 0);
            if (!unpacked) {
                if (vLogLevelEnabled(VLOGSRC_P2S_CLIENT, VLOG_ERROR))
                    vLogMessage(VLOGSRC_P2S_CLIENT, VLOG_ERROR,
                                "loginFailed and can't unpack ClientLoginFailed_1");
                return false;
            }
            answer.failure = ClientLoginFailed_2(old.m_error, old.m_message, std::string());
            answer.oldFailureRecord = true;
        }
        if (vLogLevelEnabled(VLOGSRC_P2S_CLIENT, VLOG_WARNING))
            vLogMessage(VLOGSRC_P2S_CLIENT, VLOG_WARNING, "loginFailed for 0x%x: %s (%d)", clientId,
                        answer.failure.m_message.c_str(), static_cast<int>(answer.failure.m_error));
    }
    *out = std::move(answer);
    return true;
}

} // namespace Grid
} // namespace Kapi
