#ifndef SIM_HOST_HOSTFIELDS_H
#define SIM_HOST_HOSTFIELDS_H
// The payload fields of each host message type, by the field names of the host protocol's
// records: which union member a type carries and where each of its fields lies. Used to fill
// a message from "field=value" words and to print a received message's payload.
//
// Types without a payload record have no fields. Numbers are decimal or 0x-prefixed hex;
// strings must leave room for their terminating NUL.
#include "kelouipc/kelo_ipc.h"

#include <string>
#include <vector>

namespace KeloHost {

struct Field
{
    enum Kind
    {
        U8, // BOOL
        I32,
        U32,
        U64,
        STR // NUL-terminated char array of `size` bytes
    };
    const char* name;
    size_t offset; // within uMsgData
    Kind kind;
    size_t size;
};

// The fields of `type` (empty when it has no payload record).
std::vector<Field> fieldsOf(int32 type);
// The union member's name for `type` ("rOpenUrlMsg"), or "" without a payload record.
const char* recordOf(int32 type);

// Stores `value` in field `name` of `msg` (whose tMsgType is set); false with `*error` set for
// an unknown field or a value that does not fit.
bool setField(KELO_MSG_T& msg, const std::string& name, const std::string& value,
              std::string* error);
// " name=value" for each field of the message's type (strings quoted); for a type without
// fields, " data=<hex>" up to the last non-zero payload byte, or "" when the payload is zero.
std::string describePayload(const KELO_MSG_T& msg);
// "<number> <NAME>" ("<number> ?" for a number without a name).
std::string describeType(int32 type);
// A name or a number; false when it is neither.
bool parseType(const std::string& text, int32* type);

} // namespace KeloHost

#endif
