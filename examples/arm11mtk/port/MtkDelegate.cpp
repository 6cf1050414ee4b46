// The deactivation flag file of the device.
#include "MtkDelegate.h"

#include "kapi/SystemUtil.h"

#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace {

const char kStatePath[] = "/misc/KeloDeactivateState";

} // namespace

bool MtkDelegate::deactivateRequested() const
{
    const std::string path = Kapi::SystemUtil::devicePath(kStatePath);
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return false;
    char digit = 0;
    ssize_t got;
    do {
        got = read(fd, &digit, 1);
    } while (got < 0 && errno == EINTR);
    close(fd);
    if (got != 1)
        return false;
    const int state = digit - '0';
    printf("active state = %d\n", state);
    fflush(stdout);
    return state != 0;
}

void MtkDelegate::deactivateAcknowledged()
{
    const std::string path = Kapi::SystemUtil::devicePath(kStatePath);
    const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    if (fd < 0) {
        printf("open KeloDeactivateState for write fail\n");
        fflush(stdout);
        return;
    }
    // The file holds one digit; writing from the start keeps it one digit long.
    ssize_t written;
    do {
        written = write(fd, "0\n", 2);
    } while (written < 0 && errno == EINTR);
    fsync(fd);
    close(fd);
}
