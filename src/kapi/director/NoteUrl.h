#ifndef KAPI_DIRECTOR_NOTEURL_H
#define KAPI_DIRECTOR_NOTEURL_H
// Kapi::Director::NoteUrl: a note as a URL query string, "key=value" pairs joined by "&".
//
// Flattening: a note at key prefix P (empty at the top) writes its type, when not empty, under
// P._type, and each entry in order: a string under P.name (the key simply repeats for repeated
// names), a sub-note recursively under the prefix P.name.i, where i is the value's position
// among the values of its name. A note with neither type nor entries below the top is the bare
// key P. Names and values are escaped with Kapi::UrlCodec; dots and indexes are not, so names
// holding a dot, and an entry named "_type", do not come back as they were.
//
// Parsing reverses this: each key is split at its dots into name, index, name, ..., name (odd)
// or name, index, ..., index (even: it only creates the note, and may carry no value). An index
// may be at most the number of values the name has so far; equal to it, a new sub-note is
// appended. A key without "=" has the empty value. Empty pieces ("&&") are skipped. Every
// failure is logged under kapi_director and gives a null note.
//
// Stateless and safe from any thread.
#include "kapi/director/Note.h"

#include <memory>
#include <string>
#include <vector>

namespace Kapi {
namespace Director {

class NoteUrl
{
public:
    NoteUrl() = delete;

    static std::string toString(const std::shared_ptr<Note>& note);
    static std::shared_ptr<Note> fromString(const std::string& url);

    // Appends the pairs of `note` under `prefix` (already escaped) to `out`.
    static void toStringAux(const std::shared_ptr<Note>& note, const std::string& prefix,
                            std::string* out);
    // Walks `nParts` (even) parts name, index, ... from `root`, creating the sub-note an index
    // equal to the name's value count asks for. `path` is the whole key, for messages.
    static bool findNoteByPath(const std::shared_ptr<Note>& root, const std::string* parts,
                               int nParts, const std::string& path, std::shared_ptr<Note>* note);
};

} // namespace Director
} // namespace Kapi

#endif
