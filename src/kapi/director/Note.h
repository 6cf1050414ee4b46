#ifndef KAPI_DIRECTOR_NOTE_H
#define KAPI_DIRECTOR_NOTE_H
// Kapi::Director::Note: the document of every exchange with the service's director. A note has
// a type (possibly empty) and entries: an ordered multimap from name to Value, sorted by
// byte-wise comparison of the names, the values of one name in insertion order (add() puts a
// value after all values of its name). A Value is a string exactly when its `note` pointer is
// null; otherwise it holds a sub-note and its `str` is empty and ignored. An entry is addressed
// by (name, index), the index counting the values of that name from 0.
//
// Everything is text: numbers, booleans and times are strings converted on read by the
// Kapi::StringUtil conversions. Notes are held by shared pointer, and a sub-note may be shared
// by several parents unless deep-copied.
//
// A note has no lock: it is built on one thread and then handed to others read-only.
#include "kapi/KapiTypes.h"

#include <map>
#include <memory>
#include <string>

namespace Kapi {
namespace Director {

class Note;
typedef std::shared_ptr<Note> NotePtr;

class Note
{
public:
    struct Value
    {
        std::shared_ptr<Note> note; // null for a string value
        std::string str;            // the string value; empty when `note` is set
    };
    typedef std::multimap<std::string, Value> Entries;

    // getValueType() answers.
    enum ValueType
    {
        kNoValue = 0,
        kNoteValue = 1,
        kStringValue = 2
    };

    // The deepest nesting the decoders of outside input accept (the top note is level 1).
    // Recursive code over notes (encoders, copies, dumps) stays far from the stack's end
    // within it.
    static constexpr unsigned kMaxDepth = 100;

    Note() = default;
    explicit Note(std::string type) : mType(std::move(type)) {}

    static std::shared_ptr<Note> create(const std::string& type = std::string())
    {
        return std::make_shared<Note>(type);
    }

    const std::string& getType() const { return mType; }
    void setType(const std::string& type) { mType = type; }
    const Entries& entries() const { return mEntries; }
    bool empty() const { return mEntries.empty(); }

    // The index-th value of `name`, or null when there are fewer values.
    const Value* get(const std::string& name, unsigned index) const;
    int getValueType(const std::string& name, unsigned index) const;
    // The number of values `name` has.
    unsigned count(const std::string& name) const
    {
        return static_cast<unsigned>(mEntries.count(name));
    }

    // Getters with an out parameter return false - leaving *out as it was, except where the
    // conversion itself writes it - for a missing value, a sub-note or a string that does not
    // convert. The ...Or forms return `dflt` in those cases.
    bool getString(const std::string& name, unsigned index, std::string* out) const;
    std::string getStringOr(const std::string& name, unsigned index, const std::string& dflt) const;
    // Exactly "true" or "false".
    bool getBool(const std::string& name, unsigned index, bool* out) const;
    bool getBoolOr(const std::string& name, unsigned index, bool dflt) const;
    // Base 0 (C rules: 0x hexadecimal, leading 0 octal); the whole text, and it must fit.
    bool getInt(const std::string& name, unsigned index, int* out) const;
    int getIntOr(const std::string& name, unsigned index, int dflt) const;
    bool getUInteger32(const std::string& name, unsigned index, uint32* out) const;
    uint32 getUInteger32Or(const std::string& name, unsigned index, uint32 dflt) const;
    // As above; the all-ones value counts as a failure.
    bool getUInteger64(const std::string& name, unsigned index, uint64* out) const;
    uint64 getUInteger64Or(const std::string& name, unsigned index, uint64 dflt) const;
    bool getDouble(const std::string& name, unsigned index, double* out) const;
    double getDoubleOr(const std::string& name, unsigned index, double dflt) const;
    // A date-time text (Kapi::StringUtil::asTime) as microseconds since the epoch.
    bool getDateTime(const std::string& name, unsigned index, long long* out);
    long long getDateTimeOr(const std::string& name, unsigned index, long long dflt);
    // Shares the sub-note.
    bool getNote(const std::string& name, unsigned index, std::shared_ptr<Note>* out) const;
    std::shared_ptr<Note> getNoteOr(const std::string& name, unsigned index,
                                    std::shared_ptr<Note> dflt) const;

    // Erases the index-th value of `name`; true if it existed.
    bool remove(const std::string& name, unsigned index);
    // Erases every value of `name`; the number erased.
    unsigned removeAll(const std::string& name);
    // The number of distinct names.
    unsigned getNumNames() const;

    // Appends after the existing values of `name`. A null sub-note is stored as an empty
    // string, so that "a string exactly when note is null" always holds.
    void add(const std::string& name, const std::string& value);
    void add(const std::string& name, const char* value) { add(name, std::string(value)); }
    void add(const std::string& name, std::shared_ptr<Note> note);

    // A new note sharing nothing with this one: strings copied, sub-notes deep-copied.
    std::shared_ptr<Note> deepCopy() const;

    // The debugging dump: "Note: TYPE\n", then one line per value, names indented by `indent`,
    // a repeated name shown as blanks and " + ", sub-notes three blanks deeper.
    std::string toString() const { return toStringRecursive(std::string()); }
    std::string toStringRecursive(const std::string& indent) const;

    // Same type and the same entries in the same order, sub-notes compared by content.
    bool equals(const Note& other) const;

private:
    // The string at (name, index); null for a missing value or a sub-note.
    const std::string* stringAt_i(const std::string& name, unsigned index) const;
    void dump_i(const std::string& indent, std::string& out) const;

    std::string mType;
    Entries mEntries;
};

} // namespace Director
} // namespace Kapi

#endif
