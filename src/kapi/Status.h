#ifndef KAPI_STATUS_H
#define KAPI_STATUS_H
// The platform library's status code: a plain int shared by the library, storage, the pipeline
// and streaming. Values 0..37 are the codes below, contiguous; NERRORS (38) is their count and
// never a real status. statusToCString() names every code and gives "UNKNOWN" for anything else.
namespace Kapi {

typedef int Status;

enum : int
{
    SUCCESS = 0,
    INVALID_ARGUMENTS = 1,
    IO_ERROR = 2,
    DB_ERROR = 3,
    UNAVAILABLE = 4,
    ALREADY_OPEN = 5,
    NOT_PLAYING = 6,
    OUTOFBOUNDS = 7,
    CANT_WRITE_SLICE = 8,
    BLOCK_NOT_PRESENT = 9,
    BLOCK_INVALID_HEADER = 10,
    BLOCK_SIGN_FAILED = 11,
    BLOB_INVALID_HEADER = 12,
    OUT_OF_DISK_SPACE = 13,
    AREA_FULL = 14,
    DISCONNECTED = 15,
    TIMED_OUT = 16,
    BLOCK_INCOMPLETE = 17,
    FAILURE = 18,
    NOT_SUPPORTED = 19,
    PIPELINE_RUNNING = 20,
    PIPELINE_STOPPED = 21,
    PIPELINE_PIN_ATTACHED = 22,
    PIPELINE_PIN_NOT_ATTACHED = 23,
    PIPELINE_INVALID_FORMAT = 24,
    PIPELINE_OUT_OF_MEMORY = 25,
    PIPELINE_END_OF_FILE = 26,
    PIPELINE_NO_MORE_DATA = 27,
    PIPELINE_CONDITIONS_CHANGED = 28,
    KELO_SERVICE_ERROR = 29,
    PERMISSION_DENIED = 30,
    DATA_INCONSISTENCY = 31,
    HOST_DOWN = 32,
    NW_RESOLVE_HOST_FAILED = 33,
    NW_CONNECT_FAILED = 34,
    NW_TIME_OUT = 35,
    PIPELINE_USING_NETWORK = 36,
    PIPELINE_DONE__USING_NETWORK = 37, // two underscores: the name is part of log output
    NERRORS = 38
};

// The code's name, e.g. "TIMED_OUT"; NERRORS gives "NERRORS"; other values give "UNKNOWN".
// The result is a static string.
const char* statusToCString(Status status);

} // namespace Kapi

#endif
