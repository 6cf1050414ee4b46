// The SRandom node. The random source is a device path, so KELO_ROOT relocates it.
#include "kapi/SRandomInitNode.h"

#include "kapi/KapiTypes.h"
#include "kapi/SystemUtil.h"
#include "kapi/vLog.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <unistd.h>

namespace Kapi {
namespace Init {

namespace {

SRandomInitNode s_node;

// Unsigned arithmetic: the seed wraps instead of overflowing.
unsigned fallbackSeed()
{
    return static_cast<unsigned>(time(nullptr)) * 127u + static_cast<unsigned>(getpid()) * 79u;
}

// Logs with the errno of the failed call (the "%m"), whatever happened to errno since.
void logFailure(bool opening, int error)
{
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR)) {
        errno = error;
        if (opening)
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                        "SRandomInitNode::start: Cannot open /dev/urandom %m");
        else
            vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR,
                        "SRandomInitNode::start: Cannot read /dev/urandom %m");
    }
}

} // namespace

SRandomInitNode* getSRandomInitNode()
{
    return &s_node;
}

SRandomInitNode::SRandomInitNode() : InitNode("SRandom") {}

bool SRandomInitNode::start(const Kapi::vConfig&)
{
    const std::string path = SystemUtil::devicePath("/dev/urandom");
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        logFailure(true, errno);
        srandom(fallbackSeed());
        return true;
    }
    uint32 seed = 0;
    errno = 0; // a short read leaves errno alone; the message then reads "Success"
    ssize_t got;
    do {
        got = read(fd, &seed, sizeof(seed));
    } while (got < 0 && errno == EINTR);
    const int readError = errno;
    close(fd);
    if (got != static_cast<ssize_t>(sizeof(seed))) {
        logFailure(false, readError);
        srandom(fallbackSeed());
        return true;
    }
    srandom(seed);
    return true;
}

bool SRandomInitNode::stop()
{
    return true;
}

} // namespace Init
} // namespace Kapi
