#ifndef KAPI_DIRECTOR_NOTEURLPATH_H
#define KAPI_DIRECTOR_NOTEURLPATH_H
// Kapi::Director::NoteUrlPath: a note as URL path segments, key and value alternating:
// "key/value/key/value". Keys are flattened exactly as in the query form (kapi/director/
// NoteUrl.h). Names and values are escaped with the path codec: safe bytes 0-9 A-Z a-z - _ .
// stand for themselves, the blank is "+", every other byte "*" and two upper-case hex digits.
// An empty value is written "*00" (so a value that is a single NUL byte cannot be carried),
// and a note with neither type nor entries below the top is "P._type/*00".
//
// Parsing ignores one leading and one trailing "/"; any other empty segment is an error, as is
// an odd number of segments. Every failure is logged under kapi_director and gives a null note.
//
// Stateless and safe from any thread.
#include "kapi/director/Note.h"

#include <memory>
#include <string>

namespace Kapi {
namespace Director {

class NoteUrlPath
{
public:
    NoteUrlPath() = delete;

    static std::string toString(const std::shared_ptr<Note>& note);
    static std::shared_ptr<Note> fromString(const std::string& url);

    // Appends the segments of `note` under `prefix` (already escaped) to `out`.
    static void toStringAux(const std::shared_ptr<Note>& note, const std::string& prefix,
                            std::string* out);
};

} // namespace Director
} // namespace Kapi

#endif
