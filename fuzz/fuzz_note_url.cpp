// The URL forms of notes on arbitrary text; the first byte picks the query form (even) or the
// path form (odd). Checks: an accepted note written in the same form parses back to an equal
// note, and the other form's writer runs too.
#include "kapi/director/Note.h"
#include "kapi/director/NoteUrl.h"
#include "kapi/director/NoteUrlPath.h"

#include <cstdint>
#include <cstdlib>
#include <string>

using Kapi::Director::Note;
using Kapi::Director::NoteUrl;
using Kapi::Director::NoteUrlPath;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size == 0)
        return 0;
    const bool pathForm = (data[0] & 1) != 0;
    const std::string text(reinterpret_cast<const char*>(data) + 1, size - 1);
    std::shared_ptr<Note> note =
        pathForm ? NoteUrlPath::fromString(text) : NoteUrl::fromString(text);
    if (!note)
        return 0;
    const std::string written = pathForm ? NoteUrlPath::toString(note) : NoteUrl::toString(note);
    std::shared_ptr<Note> again =
        pathForm ? NoteUrlPath::fromString(written) : NoteUrl::fromString(written);
    if (!again || !again->equals(*note))
        abort();
    (void)(pathForm ? NoteUrl::toString(note) : NoteUrlPath::toString(note));
    return 0;
}
