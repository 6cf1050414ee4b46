// Status codes and their names, which appear verbatim in logs and script results.
#include "kapi/Status.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

static_assert(Kapi::SUCCESS == 0 && Kapi::FAILURE == 18 && Kapi::NOT_SUPPORTED == 19);
static_assert(Kapi::KELO_SERVICE_ERROR == 29 && Kapi::NW_TIME_OUT == 35);
static_assert(Kapi::PIPELINE_DONE__USING_NETWORK == 37 && Kapi::NERRORS == 38);

TEST(Status, EveryCodeHasItsNameAndOthersAreUnknown)
{
    std::istringstream names(
        "SUCCESS INVALID_ARGUMENTS IO_ERROR DB_ERROR UNAVAILABLE ALREADY_OPEN NOT_PLAYING "
        "OUTOFBOUNDS CANT_WRITE_SLICE BLOCK_NOT_PRESENT BLOCK_INVALID_HEADER BLOCK_SIGN_FAILED "
        "BLOB_INVALID_HEADER OUT_OF_DISK_SPACE AREA_FULL DISCONNECTED TIMED_OUT BLOCK_INCOMPLETE "
        "FAILURE NOT_SUPPORTED PIPELINE_RUNNING PIPELINE_STOPPED PIPELINE_PIN_ATTACHED "
        "PIPELINE_PIN_NOT_ATTACHED PIPELINE_INVALID_FORMAT PIPELINE_OUT_OF_MEMORY "
        "PIPELINE_END_OF_FILE PIPELINE_NO_MORE_DATA PIPELINE_CONDITIONS_CHANGED "
        "KELO_SERVICE_ERROR PERMISSION_DENIED DATA_INCONSISTENCY HOST_DOWN "
        "NW_RESOLVE_HOST_FAILED NW_CONNECT_FAILED NW_TIME_OUT PIPELINE_USING_NETWORK "
        "PIPELINE_DONE__USING_NETWORK NERRORS");
    int code = 0;
    for (std::string name; names >> name; ++code)
        EXPECT_STREQ(Kapi::statusToCString(code), name.c_str()) << code;
    EXPECT_EQ(code, Kapi::NERRORS + 1);
    EXPECT_STREQ(Kapi::statusToCString(Kapi::TIMED_OUT), "TIMED_OUT");
    for (int other : {-1, 39, 1000, -2147483647 - 1})
        EXPECT_STREQ(Kapi::statusToCString(other), "UNKNOWN") << other;
}
