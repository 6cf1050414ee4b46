#ifndef KAPI_DIRECTOR_GRIDLOGIN_H
#define KAPI_DIRECTOR_GRIDLOGIN_H
// The login exchange of the grid-management protocol (service category 2). The device opens
// with one message of at most 500 bytes:
//     varu32 2, varu32 MT_LOGIN, u32 device id, Version_1 {6, 4, 6, 19}, ClientLogin_2 {1, none}
// and the service answers MT_LOGIN_OK with a u32 client id (which must equal the device id), or
// MT_LOGIN_FAILED with a u32 client id and a ClientLoginFailed_2 - or, from an older service,
// a ClientLoginFailed_1, which is read when the newer record does not unpack.
//
// Stateless; safe from any thread. Answers are logged under p2s_client.
#include "kapi/KapiTypes.h"
#include "kapi/StreamWriter.h"
#include "kapi/director/GridEnums.h"
#include "kapi/director/GridRecords.h"

#include <cstddef>

namespace Kapi {
namespace Grid {

constexpr uint32 kGridServiceCategory = 2;
constexpr size_t kMaxLoginMessageSize = 500;
// The protocol versions the device announces (also sent by the kickstart request).
constexpr uint32 kServerVersionMajor = 6;
constexpr uint32 kServerVersionMinor = 4;
constexpr uint32 kC2CVersionMajor = 6;
constexpr uint32 kC2CVersionMinor = 19;

Version::Version_1 loginVersion();

// Writes the whole login message; the writer's ok flag.
bool packLoginMessage(Stream::Writer* writer, uint32 deviceId);

struct LoginAnswer
{
    MessageType type = MT_UNKNOWN; // MT_LOGIN_OK or MT_LOGIN_FAILED
    uint32 clientId = 0;
    ClientLoginFailed_2 failure; // MT_LOGIN_FAILED only; m_extra empty for the older record
    bool oldFailureRecord = false;
};

// Reads a login answer from a whole message payload. False for another service category or
// message type, a truncated payload, or a refusal whose record unpacks in neither form.
bool unpackLoginAnswer(const void* payload, size_t size, LoginAnswer* out);

} // namespace Grid
} // namespace Kapi

#endif
