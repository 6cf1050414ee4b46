// Kapi::Buffer: area management, file transfer and hex dumps. The invariant
// 0 <= mBegin <= mEnd <= mReserved holds after every member function; mData is null exactly
// when mReserved is 0.
#include "kapi/Buffer.h"

#include "kapi/PanicAssert.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <limits>
#include <sys/stat.h>
#include <unistd.h>

namespace Kapi {

namespace {

BufferAllocator* orDefault(BufferAllocator* allocator)
{
    return allocator != nullptr ? allocator : DefaultAllocator::getInstance();
}

// One dump line for up to 16 bytes at `offset`.
void appendDumpLine(std::string& out, unsigned offset, const unsigned char* bytes, unsigned count)
{
    char text[96];
    int used = snprintf(text, sizeof text, "%08x ", offset);
    for (unsigned i = 0; i < 16; ++i) {
        if (i < count) {
            used += snprintf(text + used, sizeof text - used, " %02x", bytes[i]);
        } else {
            used += snprintf(text + used, sizeof text - used, "   ");
        }
    }
    out.append(text, static_cast<size_t>(used));
    out.append("  |");
    for (unsigned i = 0; i < count; ++i) {
        const unsigned char c = bytes[i];
        out.push_back(c >= 0x20 && c < 0x7f ? static_cast<char>(c) : '.');
    }
    out.append("|\n");
}

} // namespace

Buffer::Buffer(BufferAllocator* allocator) : mAllocator(orDefault(allocator)) {}

Buffer::Buffer(unsigned reservedSize, BufferAllocator* allocator) : mAllocator(orDefault(allocator))
{
    reserve(reservedSize);
}

Buffer::~Buffer()
{
    release_i();
}

Buffer::Buffer(Buffer&& other) noexcept
    : mAllocator(other.mAllocator), mData(other.mData), mBegin(other.mBegin), mEnd(other.mEnd),
      mReserved(other.mReserved), mProtected(other.mProtected)
{
    other.mData = nullptr;
    other.mBegin = other.mEnd = other.mReserved = 0;
    other.mProtected = false;
}

Buffer& Buffer::operator=(Buffer&& other) noexcept
{
    if (this != &other) {
        release_i();
        mAllocator = other.mAllocator;
        mData = other.mData;
        mBegin = other.mBegin;
        mEnd = other.mEnd;
        mReserved = other.mReserved;
        mProtected = other.mProtected;
        other.mData = nullptr;
        other.mBegin = other.mEnd = other.mReserved = 0;
        other.mProtected = false;
    }
    return *this;
}

void Buffer::release_i()
{
    if (mData != nullptr) {
        mAllocator->free(mData);
    }
    mData = nullptr;
    mBegin = mEnd = mReserved = 0;
}

std::unique_ptr<Buffer> Buffer::clone() const
{
    auto copy = std::make_unique<Buffer>(mReserved, mAllocator);
    if (copy->getReservedSize() != mReserved) {
        return nullptr;
    }
    if (mReserved != 0) {
        memcpy(copy->mData + mBegin, mData + mBegin, getLength());
    }
    copy->mBegin = mBegin;
    copy->mEnd = mEnd;
    return copy;
}

unsigned char* Buffer::getWritableData()
{
    KAPI_ASSERT(!mProtected);
    return mData;
}

bool Buffer::reserve(unsigned size)
{
    if (mProtected) {
        return false;
    }
    if (size <= mReserved) {
        return true;
    }
    void* area = mData == nullptr ? mAllocator->malloc(size) : mAllocator->realloc(mData, size);
    if (area == nullptr) {
        return false;
    }
    mData = static_cast<unsigned char*>(area);
    mReserved = size;
    return true;
}

bool Buffer::setRange(unsigned begin, unsigned end)
{
    if (mProtected || begin > end || end > mReserved) {
        return false;
    }
    mBegin = begin;
    mEnd = end;
    return true;
}

bool Buffer::assign(const void* bytes, unsigned length)
{
    if (mProtected || !reserve(length)) {
        return false;
    }
    if (length != 0) {
        memmove(mData, bytes, length);
    }
    mBegin = 0;
    mEnd = length;
    return true;
}

bool Buffer::append(const void* bytes, unsigned length)
{
    if (mProtected || length > std::numeric_limits<unsigned>::max() - mEnd) {
        return false;
    }
    if (mEnd + length > mReserved) {
        // Grow geometrically so that repeated appends stay linear overall.
        unsigned grown = mReserved > std::numeric_limits<unsigned>::max() / 2
                             ? std::numeric_limits<unsigned>::max()
                             : mReserved * 2;
        if (grown < mEnd + length) {
            grown = mEnd + length;
        }
        if (!reserve(grown) && !reserve(mEnd + length)) {
            return false;
        }
    }
    if (length != 0) {
        memcpy(mData + mEnd, bytes, length);
    }
    mEnd += length;
    return true;
}

bool Buffer::clear()
{
    if (mProtected) {
        return false;
    }
    release_i();
    return true;
}

Status Buffer::readFromFile(const std::string& path)
{
    if (mProtected) {
        return INVALID_ARGUMENTS;
    }
    const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        return IO_ERROR;
    }
    struct stat info;
    if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode)) {
        ::close(fd);
        return IO_ERROR;
    }
    if (static_cast<uint64>(info.st_size) > std::numeric_limits<unsigned>::max()) {
        ::close(fd);
        return OUTOFBOUNDS;
    }
    // Read into a fresh buffer so that a failure leaves this one untouched.
    const unsigned size = static_cast<unsigned>(info.st_size);
    Buffer fresh(mAllocator);
    if (size != 0 && !fresh.reserve(size)) {
        ::close(fd);
        return PIPELINE_OUT_OF_MEMORY;
    }
    unsigned done = 0;
    while (done < size) {
        const ssize_t n = ::read(fd, fresh.mData + done, size - done);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            // An error, or the file shrank while being read.
            ::close(fd);
            return IO_ERROR;
        }
        done += static_cast<unsigned>(n);
    }
    ::close(fd);
    fresh.mEnd = size;
    *this = std::move(fresh);
    return SUCCESS;
}

Status Buffer::writeToFile(const std::string& path) const
{
    std::string temporary = path + ".XXXXXX";
    const int fd = mkstemp(temporary.data());
    if (fd < 0) {
        return IO_ERROR;
    }
    bool ok = fchmod(fd, 0644) == 0;
    const unsigned char* p = getBeginPtr();
    unsigned left = getLength();
    while (ok && left > 0) {
        const ssize_t n = ::write(fd, p, left);
        if (n < 0 && errno == EINTR) {
            continue;
        }
        if (n <= 0) {
            ok = false;
            break;
        }
        p += n;
        left -= static_cast<unsigned>(n);
    }
    ok = ok && fsync(fd) == 0;
    ok = (::close(fd) == 0) && ok;
    ok = ok && ::rename(temporary.c_str(), path.c_str()) == 0;
    if (!ok) {
        ::unlink(temporary.c_str());
        return IO_ERROR;
    }
    return SUCCESS;
}

std::string Buffer::dump(unsigned maxBytes) const
{
    const unsigned length = getLength();
    const unsigned shown = length < maxBytes ? length : maxBytes;
    std::string out;
    for (unsigned offset = 0; offset < shown; offset += 16) {
        const unsigned count = shown - offset < 16 ? shown - offset : 16;
        appendDumpLine(out, offset, getBeginPtr() + offset, count);
    }
    if (shown < length) {
        out += "... " + std::to_string(length - shown) + " more bytes\n";
    }
    return out;
}

void Buffer::dump(vLogSource source, vLogLevel level, const char* title, unsigned maxBytes) const
{
    if (!vLogLevelEnabled(source, level)) {
        return;
    }
    vLogMessage(source, level, "%s: Buffer@%p length %u (begin %u, end %u, reserved %u)", title,
                static_cast<const void*>(this), getLength(), mBegin, mEnd, mReserved);
    const std::string text = dump(maxBytes);
    size_t start = 0;
    while (start < text.size()) {
        const size_t newline = text.find('\n', start);
        const std::string line = text.substr(start, newline - start);
        if (vLogLevelEnabled(source, level)) {
            vLogMessage(source, level, "%s", line.c_str());
        }
        start = newline + 1;
    }
}

} // namespace Kapi
