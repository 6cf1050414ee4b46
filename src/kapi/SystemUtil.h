#ifndef KAPI_SYSTEMUTIL_H
#define KAPI_SYSTEMUTIL_H
// Process and system helpers.
//
// Device paths: the client's absolute paths ("/dev/urandom", "/misc", "/etc/cert", ...) are
// its defaults on the device. The environment variable KELO_ROOT, when set and not empty,
// names a device root directory that prefixes every one of them, so that separate runs on one
// machine never share files. It is read on every call.
#include <string>

namespace Kapi {
namespace SystemUtil {

// KELO_ROOT followed by `path`, or `path` unchanged when KELO_ROOT is unset or empty.
std::string devicePath(const char* path);

} // namespace SystemUtil
} // namespace Kapi

#endif
