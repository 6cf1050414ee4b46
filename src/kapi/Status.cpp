// Names of the platform library's status codes, indexed by code; the table has NERRORS + 1
// entries so that the count itself has a name.
#include "kapi/Status.h"

namespace Kapi {

namespace {

const char* const kStatusNames[] = {
    "SUCCESS",
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
    "NERRORS",
};

static_assert(sizeof(kStatusNames) / sizeof(kStatusNames[0]) == NERRORS + 1,
              "one name per status code plus the count");

} // namespace

const char* statusToCString(Status status)
{
    if (status < 0 || status > NERRORS) {
        return "UNKNOWN";
    }
    return kStatusNames[status];
}

} // namespace Kapi
