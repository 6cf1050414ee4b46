#ifndef KAPI_DIRECTOR_NOTEXML_H
#define KAPI_DIRECTOR_NOTEXML_H
// Kapi::Director::NoteXml: notes as XML, through libxml2's text writer and text reader.
//
// A note is an element named after the entry that holds it ("note" at the top) with one
// attribute "type" (always written, also when empty). A string entry is a child element named
// after the entry with the value as its text (an empty value: an empty element); a sub-note
// entry is a nested element by the same rule; repeated names are repeated siblings. Names are
// neither checked nor escaped as XML names; text is escaped by the writer.
//
// Reading takes that shape back: a child element with a "type" attribute is a sub-note, one
// without is a string (its text, CDATA included; nested elements are an error). Whitespace
// between the children of a note is layout and is skipped; other text there is an error, as
// are attributes other than "type", document type declarations and entity references (so no
// entity is ever expanded), and nesting deeper than Note::kMaxDepth. Comments and processing
// instructions are skipped. Notes whose names are not XML names or whose text is not XML
// character data therefore do not come back unchanged.
//
// All functions are stateless and safe from any thread. Failures are logged under
// kapi_director.
#include "kapi/director/Note.h"

#include <memory>
#include <string>

typedef struct _xmlTextWriter xmlTextWriter;

namespace Kapi {
namespace Director {

class NoteXml
{
public:
    NoteXml() = delete;

    // Indentation is two blanks per level; the declaration is <?xml version="1.0"
    // encoding="utf-8"?>.
    static bool toString(const std::shared_ptr<Note>& note, std::string* out, bool indent,
                         bool withDeclaration);
    // The recursive worker: one element for `note`.
    static bool toStringAux(const std::shared_ptr<Note>& note, const std::string& elementName,
                            xmlTextWriter* writer);

    // Parses a document written by toString(). On failure returns false, leaves `*out` alone
    // and, when `error` is given, stores the reason (which is also logged).
    static bool fromString(const std::string& text, std::shared_ptr<Note>* out,
                           std::string* error = nullptr);
};

} // namespace Director
} // namespace Kapi

#endif
