// FileUtil: reading, writing and examining single files, and the path-name helpers. File
// descriptors never outlive the call that opened them (FdCloser); on failure the errno of
// the failing call is what the caller sees, even after clean-up calls. A file too large for
// memory fails with EFBIG or ENOMEM instead of throwing. Directory creation, removal,
// visits and temporary names are in FileUtilDir.cpp.
#include "kapi/FileUtil.h"

#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Kapi {

namespace {

// Closes the descriptor on every path out of a helper without disturbing errno.
class FdCloser
{
public:
    explicit FdCloser(int fd) : mFd(fd) {}
    ~FdCloser()
    {
        if (mFd >= 0) {
            const int saved = errno;
            ::close(mFd);
            errno = saved;
        }
    }
    FdCloser(const FdCloser&) = delete;
    FdCloser& operator=(const FdCloser&) = delete;

    int get() const { return mFd; }
    // Closes now, reporting a failed close (a delayed write error) as false.
    bool close()
    {
        const int fd = mFd;
        mFd = -1;
        return ::close(fd) == 0;
    }

private:
    int mFd;
};

bool writeAll(int fd, const char* data, size_t size)
{
    while (size > 0) {
        const ssize_t written = ::write(fd, data, size);
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

int64 toMicroseconds(const struct timespec& time)
{
    return static_cast<int64>(time.tv_sec) * 1000000 + time.tv_nsec / 1000;
}

} // namespace

bool FileUtil::exists(const std::string& path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0;
}

bool FileUtil::isReadable(const std::string& path)
{
    return ::access(path.c_str(), R_OK) == 0;
}

bool FileUtil::isDirectory(const std::string& path)
{
    struct stat info;
    return ::stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

int64 FileUtil::size(const std::string& path)
{
    struct stat info;
    if (::stat(path.c_str(), &info) != 0)
        return -1;
    return static_cast<int64>(info.st_size);
}

bool FileUtil::getModTime(const std::string& path, int64& outMicroseconds)
{
    struct stat info;
    if (::stat(path.c_str(), &info) != 0)
        return false;
    outMicroseconds = toMicroseconds(info.st_mtim);
    return true;
}

int FileUtil::compareModTime(const std::string& a, const std::string& b)
{
    struct stat infoA, infoB;
    const bool haveA = ::stat(a.c_str(), &infoA) == 0;
    const bool haveB = ::stat(b.c_str(), &infoB) == 0;
    if (!haveA || !haveB)
        return haveA == haveB ? 0 : (haveA ? 1 : -1);
    const struct timespec& ta = infoA.st_mtim;
    const struct timespec& tb = infoB.st_mtim;
    if (ta.tv_sec != tb.tv_sec)
        return ta.tv_sec < tb.tv_sec ? -1 : 1;
    if (ta.tv_nsec != tb.tv_nsec)
        return ta.tv_nsec < tb.tv_nsec ? -1 : 1;
    return 0;
}

bool FileUtil::readAll_i(const std::string& path, bool nonBlocking, std::string& out)
{
    FdCloser fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC | (nonBlocking ? O_NONBLOCK : 0)));
    if (fd.get() < 0)
        return false;
    std::string text;
    struct stat info;
    if (::fstat(fd.get(), &info) != 0)
        return false;
    // A file larger than memory must fail here, not throw out of the library.
    if (S_ISREG(info.st_mode) && static_cast<uint64>(info.st_size) > text.max_size()) {
        errno = EFBIG;
        return false;
    }
    try {
        if (S_ISREG(info.st_mode) && info.st_size > 0)
            text.reserve(static_cast<size_t>(info.st_size));
        char chunk[16384];
        for (;;) {
            const ssize_t got = ::read(fd.get(), chunk, sizeof chunk);
            if (got == 0)
                break;
            if (got < 0) {
                if (errno == EINTR)
                    continue;
                if (nonBlocking && (errno == EAGAIN || errno == EWOULDBLOCK))
                    break;
                return false;
            }
            text.append(chunk, static_cast<size_t>(got));
        }
    } catch (const std::exception&) {
        errno = ENOMEM;
        return false;
    }
    out.swap(text);
    return true;
}

void FileUtil::splitLines_i(const std::string& text, StringVector& out)
{
    StringVector lines = StringVector::split(text, '\n');
    if (!lines.empty() && lines.back().empty())
        lines.pop_back();
    out.swap(lines);
}

bool FileUtil::toString(const std::string& path, std::string& out)
{
    return readAll_i(path, false, out);
}

bool FileUtil::toStringNonBlocking(const std::string& path, std::string& out)
{
    return readAll_i(path, true, out);
}

bool FileUtil::toStringVector(const std::string& path, StringVector& out)
{
    std::string text;
    if (!readAll_i(path, false, text))
        return false;
    splitLines_i(text, out);
    return true;
}

bool FileUtil::toStringVectorNonBlocking(const std::string& path, StringVector& out)
{
    std::string text;
    if (!readAll_i(path, true, text))
        return false;
    splitLines_i(text, out);
    return true;
}

bool FileUtil::toBuffer(const std::string& path, std::vector<unsigned char>& out)
{
    std::string text;
    if (!readAll_i(path, false, text))
        return false;
    try {
        std::vector<unsigned char> bytes(text.begin(), text.end());
        out.swap(bytes);
    } catch (const std::exception&) {
        errno = ENOMEM;
        return false;
    }
    return true;
}

bool FileUtil::write(const std::string& path, const std::string& text)
{
    FdCloser fd(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    if (fd.get() < 0)
        return false;
    if (!writeAll(fd.get(), text.data(), text.size()))
        return false;
    return fd.close();
}

bool FileUtil::copyFile(const std::string& from, const std::string& to)
{
    FdCloser source(::open(from.c_str(), O_RDONLY | O_CLOEXEC));
    if (source.get() < 0)
        return false;
    struct stat sourceInfo, targetInfo;
    if (::fstat(source.get(), &sourceInfo) != 0)
        return false;
    // Truncating the target would destroy the source when both are the same file.
    if (::stat(to.c_str(), &targetInfo) == 0 && targetInfo.st_dev == sourceInfo.st_dev &&
        targetInfo.st_ino == sourceInfo.st_ino) {
        errno = EINVAL;
        return false;
    }
    FdCloser target(::open(to.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (target.get() < 0)
        return false;
    char chunk[65536];
    for (;;) {
        const ssize_t got = ::read(source.get(), chunk, sizeof chunk);
        if (got == 0)
            break;
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        if (!writeAll(target.get(), chunk, static_cast<size_t>(got)))
            return false;
    }
    if (::fchmod(target.get(), sourceInfo.st_mode & 07777) != 0)
        return false;
    return target.close();
}

bool FileUtil::remove(const std::string& path)
{
    return ::remove(path.c_str()) == 0;
}

std::string FileUtil::makePath(const std::string& dir, const std::string& name)
{
    if (dir.empty())
        return name;
    if (name.empty())
        return dir;
    size_t dirEnd = dir.size();
    while (dirEnd > 0 && dir[dirEnd - 1] == '/')
        --dirEnd;
    size_t nameStart = 0;
    while (nameStart < name.size() && name[nameStart] == '/')
        ++nameStart;
    return dir.substr(0, dirEnd) + "/" + name.substr(nameStart);
}

std::string FileUtil::basename(const std::string& path)
{
    size_t end = path.size();
    while (end > 0 && path[end - 1] == '/')
        --end;
    if (end == 0)
        return path.empty() ? std::string() : std::string("/");
    const size_t slash = path.rfind('/', end - 1);
    const size_t start = slash == std::string::npos ? 0 : slash + 1;
    return path.substr(start, end - start);
}

std::string FileUtil::getExtension(const std::string& path)
{
    const std::string base = basename(path);
    const size_t dot = base.rfind('.');
    if (dot == std::string::npos || dot == 0)
        return std::string();
    return base.substr(dot + 1);
}

std::string FileUtil::replaceExtension(const std::string& path, const std::string& extension)
{
    const size_t slash = path.rfind('/');
    const size_t nameStart = slash == std::string::npos ? 0 : slash + 1;
    const size_t dot = path.rfind('.');
    const std::string stem =
        (dot != std::string::npos && dot > nameStart) ? path.substr(0, dot) : path;
    return extension.empty() ? stem : stem + "." + extension;
}

bool FileUtil::filenameIsValid(const std::string& name)
{
    if (name.empty() || name == "." || name == "..")
        return false;
    for (const char ch : name) {
        const unsigned char c = static_cast<unsigned char>(ch);
        if (c == '/' || c < 0x20 || c == 0x7f || c >= 0x80)
            return false;
    }
    return true;
}

} // namespace Kapi
