// Kapi::Director::NoteBinary: recursive pack and unpack over the byte streams, one note level
// per call, with the previous name kept per level.
#include "kapi/director/NoteBinary.h"

#include "kapi/StreamBufferReader.h"
#include "kapi/StreamStringWriter.h"
#include "kapi/vLog.h"

namespace Kapi {
namespace Director {

const char* const g_binaryNoteContentType = "application/x-kelo-bin-note";

namespace {

enum ByteCode : uint8
{
    kEnd = 0x00,
    kNewNameString = 0x01,
    kNewNameNote = 0x02,
    kSameNameString = 0x03,
    kSameNameNote = 0x04
};

bool tooDeep_i(unsigned depth, size_t position)
{
    if (depth <= Note::kMaxDepth)
        return false;
    if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR,
                    "NoteBinary: notes nested deeper than %u levels (~%zu)", Note::kMaxDepth,
                    position);
    return true;
}

bool pack_i(Stream::Writer* writer, const Note& note, unsigned depth)
{
    if (tooDeep_i(depth, writer->tell()))
        return false;
    if (!NoteBinary::writeString(writer, note.getType()))
        return false;
    const std::string* previous = nullptr;
    for (const auto& [name, value] : note.entries()) {
        const bool sameName = previous ? name == *previous : name.empty();
        if (!sameName) {
            previous = &name;
            if (!writer->addU8(value.note ? kNewNameNote : kNewNameString) ||
                !NoteBinary::writeString(writer, name))
                return false;
        } else if (!writer->addU8(value.note ? kSameNameNote : kSameNameString)) {
            return false;
        }
        if (value.note ? !pack_i(writer, *value.note, depth + 1)
                       : !NoteBinary::writeString(writer, value.str))
            return false;
    }
    return writer->addU8(kEnd);
}

bool unpack_i(Stream::Reader* reader, unsigned depth, std::shared_ptr<Note>* out)
{
    if (tooDeep_i(depth, reader->tell()))
        return false;
    std::string type;
    if (!NoteBinary::readString(reader, &type))
        return false;
    std::shared_ptr<Note> note = Note::create(type);
    std::string previous;
    for (;;) {
        const uint8 code = reader->getU8();
        if (!reader->ok())
            return false;
        switch (code) {
        case kEnd:
            *out = std::move(note);
            return true;
        case kNewNameString:
        case kNewNameNote:
        case kSameNameString:
        case kSameNameNote: {
            const bool isNote = code == kNewNameNote || code == kSameNameNote;
            if (code == kNewNameString || code == kNewNameNote) {
                if (!NoteBinary::readString(reader, &previous))
                    return false;
            } else if (previous.empty()) {
                if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR))
                    vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR,
                                "NoteBinary: No name to repeat yet (%s)",
                                isNote ? "note" : "string");
                return false;
            }
            if (isNote) {
                std::shared_ptr<Note> sub;
                if (!unpack_i(reader, depth + 1, &sub))
                    return false;
                note->add(previous, std::move(sub));
            } else {
                std::string value;
                if (!NoteBinary::readString(reader, &value))
                    return false;
                note->add(previous, value);
            }
            break;
        }
        default:
            if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR,
                            "NoteBinary: unexpected byte code %u (~%d)", code,
                            static_cast<int>(reader->tell()));
            return false;
        }
    }
}

} // namespace

bool NoteBinary::pack(Stream::Writer* writer, const std::shared_ptr<Note>& note)
{
    if (writer == nullptr || !note)
        return false;
    return pack_i(writer, *note, 1) && writer->ok();
}

bool NoteBinary::unpack(Stream::Reader* reader, std::shared_ptr<Note>* out)
{
    if (reader == nullptr || out == nullptr)
        return false;
    return unpack_i(reader, 1, out);
}

bool NoteBinary::writeVarUint(Stream::Writer* writer, unsigned int value)
{
    uint8 bytes[5];
    unsigned count = 0;
    // Groups from the least significant up, then written most significant first.
    do {
        bytes[4 - count] = static_cast<uint8>((value & 0x7Fu) | (count ? 0x80u : 0u));
        value >>= 7;
        ++count;
    } while (value != 0);
    return writer->copyBytes(bytes + 5 - count, count);
}

bool NoteBinary::readVarUint(Stream::Reader* reader, unsigned int* out)
{
    unsigned int value = 0;
    for (int i = 0; i < 5; ++i) {
        const uint8 byte = reader->getU8();
        if (!reader->ok())
            return false;
        value = (value << 7) | (byte & 0x7Fu);
        if ((byte & 0x80u) == 0) {
            *out = value;
            return true;
        }
    }
    return false;
}

bool NoteBinary::writeString(Stream::Writer* writer, const std::string& text)
{
    if (text.size() > kMaxStringLength) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR,
                        "NoteBinary: Try to write %u (>65536) bytes for a String",
                        static_cast<unsigned>(text.size()));
        return false;
    }
    return writeVarUint(writer, static_cast<unsigned int>(text.size())) &&
           writer->copyBytes(text.data(), text.size());
}

bool NoteBinary::readString(Stream::Reader* reader, std::string* out)
{
    unsigned int length = 0;
    if (!readVarUint(reader, &length))
        return false;
    if (length > kMaxStringLength) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR,
                        "NoteBinary: Try to read %u (>65536) bytes for a String", length);
        return false;
    }
    // A length past the end fails before anything is allocated.
    if (length > reader->remaining()) {
        reader->setFailed();
        return false;
    }
    std::string text(length, '\0');
    if (!reader->copyBytes(text.data(), length))
        return false;
    *out = std::move(text);
    return true;
}

bool NoteBinary::packToString(const std::shared_ptr<Note>& note, std::string* out)
{
    std::string bytes;
    Stream::StringWriter writer(&bytes);
    if (!pack(&writer, note))
        return false;
    *out = std::move(bytes);
    return true;
}

std::shared_ptr<Note> NoteBinary::unpackBytes(const void* data, size_t size)
{
    Stream::BufferReader reader(data, size);
    std::shared_ptr<Note> note;
    if (!unpack(&reader, &note))
        return nullptr;
    if (reader.remaining() != 0) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_DIRECTOR, VLOG_ERROR,
                        "NoteBinary: %zu bytes after the end of the note", reader.remaining());
        return nullptr;
    }
    return note;
}

} // namespace Director
} // namespace Kapi
