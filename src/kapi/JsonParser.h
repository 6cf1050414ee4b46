#ifndef KAPI_JSONPARSER_H
#define KAPI_JSONPARSER_H
// JsonParser: an event-driven reader of one JSON value from a NUL-terminated text. A
// subclass builds what it needs from the callbacks; the base class validates only.
//
// Callback order for a document: scalars call one got...() each; an array calls
// arrayBegin(), then per element the element's callbacks followed by arrayNewItem(index),
// then arrayEnd(); an object calls objectBegin(), then per member gotString(key), the
// value's callbacks and objectNewField(), then objectEnd(). After a failure the callbacks
// simply stop; a subclass must cope with an unfinished structure.
//
// Accepted text, beyond plain JSON (kept for compatibility with existing documents):
// - "//" comments to the end of the line and "/* */" comments wherever white space may
//   stand; white space is whatever isspace() accepts; text after the first value is ignored.
// - numbers are whatever strtod() reads ("+1", "0x10", "inf", "nan" included); a number is
//   floating when its text contains '.'.
// - "\b \f \n \r \t" decode; any other escaped character stands for itself; "\u" decodes
//   with a compatibility quirk: when the first three characters after it are hex digits and
//   the character whose code is the first one's code plus 3 is a hex digit too, the third
//   and fourth characters are read as a number in C automatic base (octal after a leading
//   '0', else decimal) and give one byte; otherwise the escape gives 'u'. Either way the
//   four characters are not consumed and follow as ordinary characters.
// - a string keeps its first MAX_STRING_LENGTH bytes; the rest is read and dropped.
// - an object is empty only when '}' follows '{' immediately ("{ }" is an error).
// Limits: containers nest at most MAX_DEPTH deep (the reader recurses once per level).
//
// An unexpected end of text logs "Unexpected end of json (N)" at error level (misc_system);
// N names the place: 1 before a value, 2 after '[', 3 after an array element, 4 after an
// object key, 5 after an object value, 6 inside a string, 7 after a backslash, 8 inside
// true/false/null. Every failure also leaves a description in getErrorText().
#include <cstddef>
#include <memory>
#include <string>

namespace Kapi {

class JsonParser
{
public:
    static constexpr int MAX_STRING_LENGTH = 10240;
    static constexpr int MAX_DEPTH = 512;

    // `text` must stay valid and unchanged while parse() runs; null reads as "".
    explicit JsonParser(const char* text);
    virtual ~JsonParser();
    JsonParser(const JsonParser&) = delete;
    JsonParser& operator=(const JsonParser&) = delete;

    // Reads one value, calling the callbacks; true when it was well formed.
    bool parse();

    // After a failed parse(): what went wrong ("unexpected character 'x' at offset 12",
    // "unexpected end of text at offset 40", ...) and the byte offset it refers to. Empty
    // and 0 after a successful parse.
    const std::string& getErrorText() const { return mErrorText; }
    size_t getErrorOffset() const { return mErrorOffset; }

protected:
    // Default implementations do nothing. gotString's text is valid only during the call.
    virtual void gotBoolean(bool value);
    virtual void gotNull();
    virtual void gotNumber(double value, bool isFloat);
    virtual void gotString(const char* value);
    virtual void arrayBegin();
    virtual void arrayEnd();
    virtual void arrayNewItem(int index);
    virtual void objectBegin();
    virtual void objectEnd();
    virtual void objectNewField();

private:
    bool read_i();
    bool readString_i();
    bool readArray_i();
    bool readObject_i();
    bool readLiteral_i(const char* word);
    bool readNumber_i();
    bool skipWhiteSpace_i(int place);
    bool unexpectedEnd_i(int place);
    bool unexpectedCharacter_i();
    bool fail_i(const std::string& what);

    const char* mText;
    const char* mPos = nullptr;
    char* mBuffer = nullptr; // MAX_STRING_LENGTH + 1 bytes while parse() runs
    int mDepth = 0;
    bool mStringValue = false;
    std::string mErrorText;
    size_t mErrorOffset = 0;
};

} // namespace Kapi

#endif
