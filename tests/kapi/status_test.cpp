// Status codes and their names, which appear verbatim in logs and script results.
#include "kapi/Status.h"

#include <gtest/gtest.h>

#include <string>

TEST(Status, EveryCodeHasItsName)
{
    const char* const names[] = {"SUCCESS",
                                 "INVALID_ARGUMENTS",
                                 "IO_ERROR",
                                 "DB_ERROR",
                                 "UNAVAILABLE",
                                 "ALREADY_OPEN",
                                 "NOT_PLAYING",
                                 "OUTOFBOUNDS",
                                 "CANT_WRITE_SLICE",
                                 "BLOCK_NOT_PRESENT",
                                 "BLOCK_INVALID_HEADER",
                                 "BLOCK_SIGN_FAILED",
                                 "BLOB_INVALID_HEADER",
                                 "OUT_OF_DISK_SPACE",
                                 "AREA_FULL",
                                 "DISCONNECTED",
                                 "TIMED_OUT",
                                 "BLOCK_INCOMPLETE",
                                 "FAILURE",
                                 "NOT_SUPPORTED",
                                 "PIPELINE_RUNNING",
                                 "PIPELINE_STOPPED",
                                 "PIPELINE_PIN_ATTACHED",
                                 "PIPELINE_PIN_NOT_ATTACHED",
                                 "PIPELINE_INVALID_FORMAT",
                                 "PIPELINE_OUT_OF_MEMORY",
                                 "PIPELINE_END_OF_FILE",
                                 "PIPELINE_NO_MORE_DATA",
                                 "PIPELINE_CONDITIONS_CHANGED",
                                 "KELO_SERVICE_ERROR",
                                 "PERMISSION_DENIED",
                                 "DATA_INCONSISTENCY",
                                 "HOST_DOWN",
                                 "NW_RESOLVE_HOST_FAILED",
                                 "NW_CONNECT_FAILED",
                                 "NW_TIME_OUT",
                                 "PIPELINE_USING_NETWORK",
                                 "PIPELINE_DONE__USING_NETWORK",
                                 "NERRORS"};
    static_assert(sizeof(names) / sizeof(names[0]) == 39);
    for (int code = 0; code <= Kapi::NERRORS; ++code) {
        EXPECT_STREQ(Kapi::statusToCString(code), names[code]) << code;
    }
}

TEST(Status, ConstantsCarryTheirCodes)
{
    static_assert(Kapi::SUCCESS == 0 && Kapi::FAILURE == 18 && Kapi::NOT_SUPPORTED == 19);
    static_assert(Kapi::KELO_SERVICE_ERROR == 29 && Kapi::NW_TIME_OUT == 35);
    static_assert(Kapi::PIPELINE_DONE__USING_NETWORK == 37 && Kapi::NERRORS == 38);
    Kapi::Status status = Kapi::TIMED_OUT;
    EXPECT_STREQ(Kapi::statusToCString(status), "TIMED_OUT");
}

TEST(Status, OutOfRangeIsUnknown)
{
    for (int code : {-1, 39, 1000, -2147483647 - 1}) {
        EXPECT_STREQ(Kapi::statusToCString(code), "UNKNOWN") << code;
    }
}
