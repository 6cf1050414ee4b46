#ifndef KAPI_STREAMSTRINGWRITER_H
#define KAPI_STREAMSTRINGWRITER_H
// Kapi::Stream::StringWriter: a Writer that appends to a std::string - its own, or one the
// caller names, which must outlive the writer. Positions count from the string's length when
// the writer was made, so the bytes already there are never touched. After seek() back, writes
// overwrite in place and then extend the string; seek() cannot pass the string's end. Only a
// failed allocation fails the writer.
#include "kapi/StreamWriter.h"

#include <string>

namespace Kapi {
namespace Stream {

class StringWriter : public Writer
{
public:
    StringWriter() : m_target(&m_own) {}
    explicit StringWriter(std::string* target) : m_target(target), m_start(target->size()) {}

    size_t tell() const override { return m_position; }
    bool seek(size_t position) override;

    // The whole target string (including what it held before this writer).
    const std::string& str() const { return *m_target; }

protected:
    bool write_i(const void* data, size_t length) override;

private:
    std::string m_own;
    std::string* m_target;
    size_t m_start = 0;
    size_t m_position = 0; // relative to m_start
};

} // namespace Stream
} // namespace Kapi

#endif
