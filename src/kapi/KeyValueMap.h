#ifndef KAPI_KEYVALUEMAP_H
#define KAPI_KEYVALUEMAP_H
// KeyValueMap: string keys to Variants, kept in byte-wise key order (std::string's order is
// memcmp order), one value per key. Adding an existing key replaces its value.
//
// Text forms:
// - compact: "k=v;k=v" in key order; in keys and value texts '%' -> "%25", ';' -> "%3b",
//   '=' -> "%3d". parse() reads it back with every value a String.
// - JSON: "{ " + "\"k\" : value" joined with ", " + " }" ("{  }" when empty).
#include "kapi/Variant.h"

#include <map>
#include <string>

namespace Kapi {

class KeyValueMap
{
public:
    using Container = std::map<std::string, Variant>;
    using iterator = Container::iterator;
    using const_iterator = Container::const_iterator;

    KeyValueMap() = default;
    // Up to four (name, value) pairs; a pair with a null name is skipped, so callers pass
    // null names for the pairs they do not need (four null names give an empty map).
    KeyValueMap(const char* name1, const Variant& value1, const char* name2 = nullptr,
                const Variant& value2 = Variant(), const char* name3 = nullptr,
                const Variant& value3 = Variant(), const char* name4 = nullptr,
                const Variant& value4 = Variant());

    // Insert or replace. Every value type a Variant accepts converts implicitly (bool,
    // int, int64, const char*, string, containers ...).
    void addValue(const std::string& key, const Variant& value);
    void addValue(const std::string& key, Variant&& value);
    void setValue(const std::string& key, const Variant& value) { addValue(key, value); }
    void setValue(const std::string& key, Variant&& value) { addValue(key, std::move(value)); }
    // Every entry of `other`, replacing equal keys.
    void addValues(const KeyValueMap& other);

    bool hasValue(const std::string& key) const;
    bool hasValue(const std::string& key, Variant::Type type) const;
    // A copy of the value; Undefined when absent.
    Variant getValue(const std::string& key) const;
    // The held value or null; no copy.
    const Variant* findValue(const std::string& key) const;
    Variant* findValue(const std::string& key);
    // The entry's value converted as Variant::as...(); an absent key converts as Undefined.
    std::string getValueAsString(const std::string& key) const;
    int32 getValueAsInteger32(const std::string& key) const;
    int64 getValueAsInteger64(const std::string& key) const;
    bool getValueAsBoolean(const std::string& key) const;
    StringVector getValueAsStringVector(const std::string& key) const;
    VariantVector getValueAsArray(const std::string& key) const;
    // True when an entry was removed.
    bool removeValue(const std::string& key);

    size_t size() const { return mValues.size(); }
    bool empty() const { return mValues.empty(); }
    void clear() { mValues.clear(); }
    void swap(KeyValueMap& other) noexcept { mValues.swap(other.mValues); }
    iterator begin() { return mValues.begin(); }
    iterator end() { return mValues.end(); }
    const_iterator begin() const { return mValues.begin(); }
    const_iterator end() const { return mValues.end(); }

    // withTypes false: the compact text. withTypes true: the same layout with each value
    // written as Variant::toString(true) ("a=i32:1;b=s:x%3by") - for logs, not for parse().
    std::string toString(bool withTypes = false) const;
    // Reads the compact text into `out` (cleared first): pieces between ';' that split at
    // '=' into exactly two parts become String entries (both parts unescaped); other pieces
    // are ignored. Every text is accepted, so the result is always true.
    static bool parse(const std::string& text, KeyValueMap& out);

    std::string toJsonString() const;
    // Appends toJsonString() to `out` (no intermediate copies for nested values).
    void appendJsonString(std::string& out) const;
    // True when `text` is JSON whose top-level value is an object; `out` is cleared first
    // and holds the object on success (empty on failure).
    static bool parseJsonString(const std::string& text, KeyValueMap& out);
    // The same; on failure `errorText` (when not null) receives the reader's description,
    // or "top-level value is not an object".
    static bool parseJsonString(const std::string& text, KeyValueMap& out, std::string* errorText);

    // Negative, zero or positive: entry by entry (key byte-wise, then value), then by size.
    int compareTo(const KeyValueMap& other) const;
    bool operator==(const KeyValueMap& other) const { return compareTo(other) == 0; }
    bool operator!=(const KeyValueMap& other) const { return compareTo(other) != 0; }

    // The compact-text escaping of one key or value, and its inverse.
    static std::string escape(const std::string& text);
    static std::string unescape(const std::string& text);

private:
    Container mValues;
};

} // namespace Kapi

#endif
