// The note XML reader on arbitrary text. Checks: a refusal always has a reason; an accepted
// note is written back and read again to an equal note, and that second writing is the same
// text (a fixpoint after one pass).
#include "kapi/director/Note.h"
#include "kapi/director/NoteXml.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using Kapi::Director::Note;
using Kapi::Director::NoteXml;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::shared_ptr<Note> note;
    std::string error;
    if (!NoteXml::fromString(text, &note, &error)) {
        if (error.empty() || note)
            abort();
        return 0;
    }
    std::string written;
    if (!NoteXml::toString(note, &written, size % 2 == 0, size % 3 == 0))
        abort();
    std::shared_ptr<Note> again;
    if (!NoteXml::fromString(written, &again, &error))
        abort();
    if (!again->equals(*note))
        abort();
    std::string rewritten;
    if (!NoteXml::toString(again, &rewritten, size % 2 == 0, size % 3 == 0) || rewritten != written)
        abort();
    return 0;
}
