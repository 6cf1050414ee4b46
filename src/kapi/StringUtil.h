#ifndef KAPI_STRINGUTIL_H
#define KAPI_STRINGUTIL_H
// Text conversions of numbers and booleans and small string helpers. All stateless and
// thread-safe. Conversions report failure through their bool result and leave `out`
// unchanged on failure; an empty text converts to 0 with success (callers rely on this).
#include "kapi/KapiTypes.h"
#include "kapi/StringVector.h"

#include <string>
#include <vector>

namespace Kapi {

class StringUtil
{
public:
    StringUtil() = delete;

    static std::string toString(bool value);           // "true" / "false"
    static std::string toString(int value);            // decimal
    static std::string toString(unsigned value);
    static std::string toString(long value);
    static std::string toString(unsigned long value);
    static std::string toString(long long value);      // "%lli"
    static std::string toString(unsigned long long value);
    static std::string toString(double value);         // "%g"
    static std::string toString(char value);           // the one character

    // Always true. Empty -> false; "true" in any case -> true; otherwise true exactly when
    // the text is a non-zero 64-bit integer in base 0.
    static bool asBoolean(const std::string& text, bool& out);
    // strtoll/strtoull in `base` (0: C rules); the whole text must convert and fit.
    static bool asInteger8(const std::string& text, int8& out, int base = 10);
    static bool asInteger16(const std::string& text, int16& out, int base = 10);
    static bool asInteger32(const std::string& text, int32& out, int base = 10);
    static bool asInteger64(const std::string& text, int64& out, int base = 10);
    static bool asUInteger8(const std::string& text, uint8& out, int base = 10);
    static bool asUInteger16(const std::string& text, uint16& out, int base = 10);
    static bool asUInteger32(const std::string& text, uint32& out, int base = 10);
    static bool asUInteger64(const std::string& text, uint64& out, int base = 10);
    // Optional final K, M or G (powers of 1024) after optional white space. Unlike the
    // other conversions, any failure (bad number, product above 32 bits) sets `out` to 0.
    static bool asUInteger32WithScale(const std::string& text, uint32& out, int base = 10);
    // strtod; the whole text must convert; an overflow (to infinity) fails.
    static bool asDouble(const std::string& text, double& out);
    // Seconds since the epoch (decimal) or "YYYY-MM-DD[ HH:MM:SS]" / "YYYY-MM-DDTHH:MM:SS[Z]"
    // in UTC, the seconds optionally followed by "." and 1 to 6 fraction digits (so the text
    // of timeToString reads back); the result is in microseconds.
    static bool asTime(const std::string& text, long long& out);
    // Hexadecimal digit pairs ("0a1B..."), an even number of them.
    static bool asByteArray(const std::string& text, std::vector<unsigned char>& out);

    static std::string trimWhiteSpace(const std::string& text);
    static std::string trimHeadWhiteSpace(const std::string& text);
    static std::string trimTailWhiteSpace(const std::string& text);
    static std::string toLowerCase(const std::string& text);
    static std::string toUpperCase(const std::string& text);
    static bool startsWith(const std::string& text, const std::string& prefix,
                           bool ignoreCase = false);
    static bool endsWith(const std::string& text, const std::string& suffix,
                         bool ignoreCase = false);
    static bool equals(const std::string& a, const std::string& b, bool ignoreCase = false);
    static int compareTo(const std::string& a, const std::string& b, bool ignoreCase = false);
    static bool containsChar(const std::string& text, char c);
    // Well-formed UTF-8: shortest forms only, no surrogates, nothing above U+10FFFF.
    static bool isValidUtf8(const std::string& text);
    static unsigned countChar(const std::string& text, char c);
    // `text` without its first `count` characters (empty when shorter).
    static std::string removeHead(const std::string& text, size_t count);
    // `text` without `suffix` when it ends with it, else `text`.
    static std::string removeTail(const std::string& text, const std::string& suffix);
    static std::string replaceAll(const std::string& text, const std::string& from,
                                  const std::string& to);
    static std::string newPrintf(const char* format, ...) __attribute__((format(printf, 1, 2)));
    // Lower-case hexadecimal, two digits a byte.
    static std::string toHexString(const void* data, size_t size);
    // Microseconds since the epoch as "YYYY-MM-DD HH:MM:SS.mmm" (UTC) and "YYYY-MM-DD".
    static std::string timeToString(long long microseconds);
    static std::string timeToDateString(long long microseconds);
    // The JSON string literal of `text` (quotes included), with the escapes of the JSON
    // writer: control bytes, '<' and '>' as \u00XX, "</" as "<\/".
    static std::string makeJsonString(const std::string& text);
    // Every byte that is not a letter, digit, '-', '_' or '.' becomes '_'.
    static std::string makeFileSafe(const std::string& text);
};

} // namespace Kapi

#endif
