#ifndef CORE_KELOSTATUS_H
#define CORE_KELOSTATUS_H
// KELO::Status: the result of every driver-interface operation, an int32 where 0 is success.
// The values are fixed (drivers built apart from the client return them); statusToCString()
// names each one and gives "UNKNOWN" for anything outside 0..7.
#include "kapi/KapiTypes.h"

namespace KELO {

enum Status : int32
{
    SUCCESS = 0,
    INVALID_ARGUMENTS = 1,
    IO_ERROR = 2,
    TIMED_OUT = 3,
    FAILURE = 4,
    NOT_SUPPORTED = 5,
    ABORT = 6,
    OUT_OF_MEMORY = 7
};

inline const char* statusToCString(int32 status)
{
    static const char* const kNames[] = {"SUCCESS",   "INVALID_ARGUMENTS", "IO_ERROR",
                                         "TIMED_OUT", "FAILURE",           "NOT_SUPPORTED",
                                         "ABORT",     "OUT_OF_MEMORY"};
    if (status < 0 || status >= static_cast<int32>(sizeof(kNames) / sizeof(kNames[0])))
        return "UNKNOWN";
    return kNames[status];
}

} // namespace KELO

#endif
