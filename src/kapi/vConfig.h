#ifndef KAPI_VCONFIG_H
#define KAPI_VCONFIG_H
/*
 * The client's static configuration: an INI-like text of "[name]" headers and "key = value"
 * lines. Every occurrence of a section name and of a key is kept, so duplicates are
 * representable; the single-value getters refuse what is ambiguous.
 *
 * Representation: `global` is the unnamed section that receives the lines before the first
 * header; `sections` maps each header name to one vSection per occurrence, in name order (a
 * repeated name keeps its occurrences in text order). A vSection maps keys to values in key
 * order, a repeated key keeping its values in text order. `current` points at the section that
 * receives key lines while a parse runs and is null at every other time.
 *
 * Typed getters take a default: a missing section or key gives the default with success; an
 * empty value keeps the default with success; an ambiguous key or a text that does not convert
 * gives false with `out` holding the default. Integers are read with C rules (base 0): decimal,
 * "0x" hexadecimal, a leading "0" octal, so pointer values written as "0x..." read back.
 *
 * Threads: the store is written while parsing and by set-up code before it is shared; after
 * that it is only read, and concurrent readers need no lock. It is not safe to write while
 * others read.
 */
#include "kapi/KapiTypes.h"
#include "kapi/StringVector.h"

#include <map>
#include <set>
#include <string>
#include <vector>

namespace Kapi {

class Address;

class vConfig
{
public:
    class vSection : public std::multimap<std::string, std::string>
    {
    public:
        vSection() = default;
        vSection(const vSection&) = default;
        vSection(vSection&&) = default;
        vSection& operator=(const vSection&) = default;
        vSection& operator=(vSection&&) = default;
        virtual ~vSection();

        // No value: `out` = default, true. One value: that value, true. Several: false and
        // `out` unchanged.
        bool getSingleValue(const std::string& key, std::string& out,
                            const std::string& defaultValue) const;
        // "true"/"false" in any letter case, "1" or "0".
        bool getSingleBooleanValue(const std::string& key, bool& out, bool defaultValue) const;
        bool getSingleIntegerValue(const std::string& key, int& out, int defaultValue) const;
        bool getSingleInteger64Value(const std::string& key, int64& out, int64 defaultValue) const;
        bool getSingleUInteger32Value(const std::string& key, uint32& out,
                                      uint32 defaultValue) const;
        bool getSingleUInteger16Value(const std::string& key, uint16& out,
                                      uint16 defaultValue) const;
        // The text may end in a "K", "M" or "G" scale letter.
        bool getSingleUInteger32WithScaleValue(const std::string& key, uint32& out,
                                               uint32 defaultValue) const;
        // The text must parse as a valid address.
        bool getSingleAddressValue(const std::string& key, Address& out,
                                   const Address& defaultValue) const;

        // Every value of `key` in text order (`out` is replaced).
        void getValues(const std::string& key, StringVector& out) const;
        // Every key (`out` is replaced).
        void getNames(std::set<std::string>& out) const;
        // Adds a missing key or replaces a single value; a key with several values is left
        // unchanged and the result is false.
        bool setSingleValue(const std::string& key, const std::string& value);
    };

    typedef std::multimap<std::string, vSection> SectionMap;

    vConfig() = default;
    // Copies hold their own sections; `current` is never carried over (it is null outside a
    // parse, and a parse cannot be under way while the source is being copied).
    vConfig(const vConfig& other);
    vConfig& operator=(const vConfig& other);
    virtual ~vConfig();

    // Splits at '\n' and parses the pieces as lines.
    bool fromString(const std::string& text);
    // Reads the file as lines; false, with the store unchanged, when it cannot be read.
    bool fromFile(const std::string& path);
    // Clears the store and parses the lines in order. The first bad line stops the parse, is
    // logged as a warning under "misc_system" and recorded for getErrorLine()/getErrorText();
    // the result is then false and the lines before it stay loaded.
    bool fromStringVector(const StringVector& lines);

    // "key = value\n" per global entry, then per section "\n[name]\n" and its entries.
    std::string toString() const;

    // The 1-based number and the text of the line that stopped the last parse; 0 and "" when
    // the last parse succeeded or none has run.
    int getErrorLine() const { return mErrorLine; }
    const std::string& getErrorText() const { return mErrorText; }

    // An empty name gives `global`; otherwise exactly one section of that name must exist.
    bool getSingleSection(const std::string& name, const vSection*& out) const;

    // When the section lookup fails (missing or repeated section) every getter gives the
    // default with success; otherwise they behave as the vSection getters.
    bool getSingleValue(const std::string& section, const std::string& key, std::string& out,
                        const std::string& defaultValue) const;
    bool getSingleBooleanValue(const std::string& section, const std::string& key, bool& out,
                               bool defaultValue) const;
    bool getSingleIntegerValue(const std::string& section, const std::string& key, int& out,
                               int defaultValue) const;
    bool getSingleInteger64Value(const std::string& section, const std::string& key, int64& out,
                                 int64 defaultValue) const;
    bool getSingleUInteger32Value(const std::string& section, const std::string& key, uint32& out,
                                  uint32 defaultValue) const;
    bool getSingleUInteger16Value(const std::string& section, const std::string& key, uint16& out,
                                  uint16 defaultValue) const;
    bool getSingleUInteger32WithScaleValue(const std::string& section, const std::string& key,
                                           uint32& out, uint32 defaultValue) const;
    bool getSingleAddressValue(const std::string& section, const std::string& key, Address& out,
                               const Address& defaultValue) const;

    // Every value of the key in the single section of that name (`out` is replaced); false,
    // with `out` empty, when there is not exactly one such section.
    bool getValues(const std::string& section, const std::string& key, StringVector& out) const;
    // Every section of that name in text order (`out` is replaced; an empty name gives
    // `global`); false when there is none.
    bool getSections(const std::string& name, std::vector<const vSection*>& out) const;
    // An empty section name means `global`; a missing section is created. False, changing
    // nothing, when the name is shared by several sections or the key has several values.
    bool setSingleValue(const std::string& section, const std::string& key,
                        const std::string& value);

    vSection* current = nullptr;
    vSection global;
    SectionMap sections;

private:
    bool processLine(const std::string& line);

    int mErrorLine = 0;
    std::string mErrorText;
};

} // namespace Kapi

#endif
