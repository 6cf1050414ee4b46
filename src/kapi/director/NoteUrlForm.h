#ifndef KAPI_DIRECTOR_NOTEURLFORM_H
#define KAPI_DIRECTOR_NOTEURLFORM_H
// The machinery the query and path forms of notes share (kapi/director/NoteUrl.h and
// NoteUrlPath.h): flattening a note into escaped key/value pairs, and applying one decoded
// key/value pair to the note being rebuilt. Internal to the two forms.
#include "kapi/director/Note.h"

#include <map>
#include <memory>
#include <set>
#include <string>

namespace Kapi {
namespace Director {
namespace NoteUrlForm {

struct Syntax
{
    char separator; // between pairs: '&' or '/'
    char joiner;    // between key and value: '=' or '/'
    std::string (*encode)(const std::string&);
    const char* emptyValue;      // how an empty string value is written
    const char* emptyNoteSuffix; // after P for a note with no type and no entries
    const char* who;             // "NoteUrl::fromString()" in messages
};

void flatten(const Syntax& syntax, const Note& note, const std::string& prefix, std::string& out);

// One pair being rebuilt. `key` and `value` are decoded; `hasValue` tells whether a value was
// given at all.
struct Pair
{
    std::string key;
    std::string value;
    bool hasValue;
};

// What a parse remembers between pairs: the note being rebuilt, the notes whose type was
// already set, and the note each path prefix ("a.0", "a.0.b.3") led to - a prefix always leads
// to the same note once it exists, and looking it up again by index would cost time linear in
// the number of values of its name, for every key.
struct Rebuild
{
    std::shared_ptr<Note> root = Note::create();
    std::set<const Note*> typed;
    std::map<std::string, std::shared_ptr<Note>> resolved;
};
bool apply(const Syntax& syntax, Rebuild& rebuild, const Pair& pair, const std::string& url);

// Logs a parse failure under kapi_director and returns false.
bool fail(const char* format, ...) __attribute__((format(printf, 1, 2)));

} // namespace NoteUrlForm
} // namespace Director
} // namespace Kapi

#endif
