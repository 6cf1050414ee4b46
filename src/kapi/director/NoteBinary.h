#ifndef KAPI_DIRECTOR_NOTEBINARY_H
#define KAPI_DIRECTOR_NOTEBINARY_H
// Kapi::Director::NoteBinary: the compact wire form of a note, also the canonical bytes that
// signatures cover. Every integer is a varuint: big-endian groups of 7 bits, every byte but the
// last with bit 7 set (5 is 05, 300 is 82 2C, 65536 is 84 80 00), at most 5 bytes.
//
//   note    string(type), entries, 0x00
//   entry   0x01 string(name) string(value)   a string under a new name
//           0x02 string(name) note             a sub-note under a new name
//           0x03 string(value)                 a string under the previous entry's name
//           0x04 note                          a sub-note under the previous entry's name
//   string  varuint(length) and the raw bytes; length at most 65536
//
// The previous name is tracked per note level and starts out empty, so an entry with an empty
// name at the start of a note is written with a repeat code - which the decoder refuses. Such
// notes pack but do not unpack; the asymmetry is part of the format.
//
// Decoding never reads past the stream's end, refuses strings over 65536 bytes and notes
// nested deeper than Note::kMaxDepth, and on any failure leaves the output untouched. All
// functions keep no state and are safe from any thread on distinct streams and notes. Failures
// are logged under kapi_director.
#include "kapi/StreamReader.h"
#include "kapi/StreamWriter.h"
#include "kapi/director/Note.h"

#include <memory>
#include <string>

namespace Kapi {
namespace Director {

// The HTTP content type of a binary note (sent as "Accept" by the HTTP note query).
extern const char* const g_binaryNoteContentType;

class NoteBinary
{
public:
    static constexpr unsigned kMaxStringLength = 65536;

    NoteBinary() = delete;

    static bool pack(Stream::Writer* writer, const std::shared_ptr<Note>& note);
    // `*out` is set only on success.
    static bool unpack(Stream::Reader* reader, std::shared_ptr<Note>* out);

    static bool writeVarUint(Stream::Writer* writer, unsigned int value);
    static bool readVarUint(Stream::Reader* reader, unsigned int* out);
    static bool writeString(Stream::Writer* writer, const std::string& text);
    static bool readString(Stream::Reader* reader, std::string* out);

    // Conveniences over a string writer and a buffer reader. unpackBytes() also requires the
    // note to end exactly at the end of the bytes.
    static bool packToString(const std::shared_ptr<Note>& note, std::string* out);
    static std::shared_ptr<Note> unpackBytes(const void* data, size_t size);
};

} // namespace Director
} // namespace Kapi

#endif
