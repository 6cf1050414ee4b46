// The binary note decoder on arbitrary bytes. Checks: nothing is read past the input (ASan);
// a decoded note packs again, the packed form decodes to an equal note and packs to the same
// bytes (the input itself need not come back: a 0x01 code may repeat the previous name, and a
// varuint may be longer than needed) - unless the note holds an empty name first in some level,
// which the format cannot take back. The other writers run over every decoded note.
#include "kapi/director/Note.h"
#include "kapi/director/NoteBinary.h"
#include "kapi/director/NoteUrl.h"
#include "kapi/director/NoteXml.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using Kapi::Director::Note;
using Kapi::Director::NoteBinary;

namespace {

bool hasEmptyName(const Note& note)
{
    for (const auto& [name, value] : note.entries())
        if (name.empty() || (value.note && hasEmptyName(*value.note)))
            return true;
    return false;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    std::shared_ptr<Note> note = NoteBinary::unpackBytes(data, size);
    if (!note)
        return 0;
    std::string packed;
    if (!NoteBinary::packToString(note, &packed))
        abort(); // everything decoded fits the limits it was decoded under
    std::shared_ptr<Note> again = NoteBinary::unpackBytes(packed.data(), packed.size());
    if (!again) {
        if (!hasEmptyName(*note))
            abort();
        return 0;
    }
    if (!again->equals(*note))
        abort();
    std::string repacked;
    if (!NoteBinary::packToString(again, &repacked) || repacked != packed)
        abort();

    std::shared_ptr<Note> copy = note->deepCopy();
    if (!copy->equals(*note))
        abort();
    (void)note->toString();
    std::string xml;
    (void)Kapi::Director::NoteXml::toString(note, &xml, true, true);
    (void)Kapi::Director::NoteUrl::toString(note);
    return 0;
}
