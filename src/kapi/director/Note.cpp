// Kapi::Director::Note: lookup by (name, index) over the sorted multimap, typed getters over
// the StringUtil conversions, deep copy and the debugging dump.
#include "kapi/director/Note.h"

#include "kapi/StringUtil.h"

#include <iterator>

namespace Kapi {
namespace Director {

namespace {

// The index-th entry of `name`, or end().
template <typename Map> auto find_i(Map& entries, const std::string& name, unsigned index)
{
    auto range = entries.equal_range(name);
    auto it = range.first;
    for (unsigned i = 0; i < index && it != range.second; ++i)
        ++it;
    return it == range.second ? entries.end() : it;
}

} // namespace

const Note::Value* Note::get(const std::string& name, unsigned index) const
{
    auto it = find_i(mEntries, name, index);
    return it == mEntries.end() ? nullptr : &it->second;
}

const std::string* Note::stringAt_i(const std::string& name, unsigned index) const
{
    const Value* value = get(name, index);
    return (value == nullptr || value->note) ? nullptr : &value->str;
}

int Note::getValueType(const std::string& name, unsigned index) const
{
    const Value* value = get(name, index);
    if (value == nullptr)
        return kNoValue;
    return value->note ? kNoteValue : kStringValue;
}

bool Note::getString(const std::string& name, unsigned index, std::string* out) const
{
    const std::string* text = stringAt_i(name, index);
    if (text == nullptr)
        return false;
    *out = *text;
    return true;
}

std::string Note::getStringOr(const std::string& name, unsigned index,
                              const std::string& dflt) const
{
    const std::string* text = stringAt_i(name, index);
    return text ? *text : dflt;
}

bool Note::getBool(const std::string& name, unsigned index, bool* out) const
{
    const std::string* text = stringAt_i(name, index);
    if (text == nullptr)
        return false;
    if (*text == "true") {
        *out = true;
        return true;
    }
    if (*text == "false") {
        *out = false;
        return true;
    }
    return false;
}

bool Note::getBoolOr(const std::string& name, unsigned index, bool dflt) const
{
    bool result = dflt;
    return getBool(name, index, &result) ? result : dflt;
}

bool Note::getInt(const std::string& name, unsigned index, int* out) const
{
    const std::string* text = stringAt_i(name, index);
    int32 converted = 0;
    if (text == nullptr || !StringUtil::asInteger32(*text, converted, 0))
        return false;
    *out = converted;
    return true;
}

int Note::getIntOr(const std::string& name, unsigned index, int dflt) const
{
    int result = dflt;
    return getInt(name, index, &result) ? result : dflt;
}

bool Note::getUInteger32(const std::string& name, unsigned index, uint32* out) const
{
    const std::string* text = stringAt_i(name, index);
    return text && StringUtil::asUInteger32(*text, *out, 0);
}

uint32 Note::getUInteger32Or(const std::string& name, unsigned index, uint32 dflt) const
{
    uint32 result = dflt;
    return getUInteger32(name, index, &result) ? result : dflt;
}

bool Note::getUInteger64(const std::string& name, unsigned index, uint64* out) const
{
    const std::string* text = stringAt_i(name, index);
    uint64 converted = 0;
    if (text == nullptr || !StringUtil::asUInteger64(*text, converted, 0) ||
        converted == UINT64_MAX)
        return false;
    *out = converted;
    return true;
}

uint64 Note::getUInteger64Or(const std::string& name, unsigned index, uint64 dflt) const
{
    uint64 result = dflt;
    return getUInteger64(name, index, &result) ? result : dflt;
}

bool Note::getDouble(const std::string& name, unsigned index, double* out) const
{
    const std::string* text = stringAt_i(name, index);
    return text && StringUtil::asDouble(*text, *out);
}

double Note::getDoubleOr(const std::string& name, unsigned index, double dflt) const
{
    double result = dflt;
    return getDouble(name, index, &result) ? result : dflt;
}

bool Note::getDateTime(const std::string& name, unsigned index, long long* out)
{
    const std::string* text = stringAt_i(name, index);
    return text && StringUtil::asTime(*text, *out);
}

long long Note::getDateTimeOr(const std::string& name, unsigned index, long long dflt)
{
    long long result = dflt;
    return getDateTime(name, index, &result) ? result : dflt;
}

bool Note::getNote(const std::string& name, unsigned index, std::shared_ptr<Note>* out) const
{
    const Value* value = get(name, index);
    if (value == nullptr || !value->note)
        return false;
    *out = value->note;
    return true;
}

std::shared_ptr<Note> Note::getNoteOr(const std::string& name, unsigned index,
                                      std::shared_ptr<Note> dflt) const
{
    const Value* value = get(name, index);
    return (value == nullptr || !value->note) ? dflt : value->note;
}

bool Note::remove(const std::string& name, unsigned index)
{
    auto it = find_i(mEntries, name, index);
    if (it == mEntries.end())
        return false;
    mEntries.erase(it);
    return true;
}

unsigned Note::removeAll(const std::string& name)
{
    return static_cast<unsigned>(mEntries.erase(name));
}

unsigned Note::getNumNames() const
{
    unsigned names = 0;
    for (auto it = mEntries.begin(); it != mEntries.end(); it = mEntries.upper_bound(it->first))
        ++names;
    return names;
}

void Note::add(const std::string& name, const std::string& value)
{
    // Insertion at the upper end of the equal range keeps the values of a name in order.
    mEntries.emplace(name, Value{nullptr, value});
}

void Note::add(const std::string& name, std::shared_ptr<Note> note)
{
    mEntries.emplace(name, Value{std::move(note), std::string()});
}

std::shared_ptr<Note> Note::deepCopy() const
{
    std::shared_ptr<Note> copy = create(mType);
    for (const auto& [name, value] : mEntries) {
        if (value.note)
            copy->mEntries.emplace_hint(copy->mEntries.end(), name,
                                        Value{value.note->deepCopy(), std::string()});
        else
            copy->mEntries.emplace_hint(copy->mEntries.end(), name, value);
    }
    return copy;
}

std::string Note::toStringRecursive(const std::string& indent) const
{
    std::string out;
    dump_i(indent, out);
    return out;
}

void Note::dump_i(const std::string& indent, std::string& out) const
{
    out += "Note: ";
    out += mType;
    out += '\n';
    // Starting from the empty name makes a leading empty name print as a repeat; kept so that
    // dumps read the same everywhere.
    static const std::string s_empty;
    const std::string* previous = &s_empty;
    for (const auto& [name, value] : mEntries) {
        out += indent;
        if (name != *previous) {
            out += name;
            out += " = ";
        } else {
            out.append(name.size(), ' ');
            out += " + ";
        }
        previous = &name;
        if (value.note)
            value.note->dump_i(indent + "   ", out);
        else {
            out += value.str;
            out += '\n';
        }
    }
}

bool Note::equals(const Note& other) const
{
    if (mType != other.mType || mEntries.size() != other.mEntries.size())
        return false;
    auto mine = mEntries.begin();
    for (auto theirs = other.mEntries.begin(); theirs != other.mEntries.end(); ++theirs, ++mine) {
        if (mine->first != theirs->first)
            return false;
        const Value& a = mine->second;
        const Value& b = theirs->second;
        if (static_cast<bool>(a.note) != static_cast<bool>(b.note))
            return false;
        if (a.note ? !a.note->equals(*b.note) : a.str != b.str)
            return false;
    }
    return true;
}

} // namespace Director
} // namespace Kapi
