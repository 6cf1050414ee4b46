// StringUtil: number and boolean conversions and byte-wise string helpers. Every function is
// pure (no shared state); case folding and white space follow the "C" locale (ASCII only), so
// results never depend on the process locale. Conversions save and restore errno, leaving
// the caller's errno as it was. The time conversions live in StringUtilTime.cpp.
#include "kapi/StringUtil.h"

#include <cerrno>
#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <limits>

namespace Kapi {

namespace {

const char kLowerHex[] = "0123456789abcdef";
const char kUpperHex[] = "0123456789ABCDEF";

bool isSpace(unsigned char c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

char asciiLower(char c)
{
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c;
}

char asciiUpper(char c)
{
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 'a' + 'A') : c;
}

// Restores errno when leaving the scope, so conversions never disturb the caller's "%m".
class ErrnoKeeper
{
public:
    ErrnoKeeper() : mSaved(errno) {}
    ~ErrnoKeeper() { errno = mSaved; }
    ErrnoKeeper(const ErrnoKeeper&) = delete;
    ErrnoKeeper& operator=(const ErrnoKeeper&) = delete;

private:
    int mSaved;
};

// strtoll over the whole text; false when the text has bytes the conversion did not consume
// (an embedded NUL included) or the value is outside long long.
bool parseSigned(const std::string& text, int base, long long& value)
{
    if (text.empty()) {
        value = 0;
        return true;
    }
    ErrnoKeeper keeper;
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const long long v = strtoll(begin, &end, base);
    if (errno != 0 || end != begin + text.size())
        return false;
    value = v;
    return true;
}

// strtoull over the whole text; a minus sign is refused instead of being negated.
bool parseUnsigned(const std::string& text, int base, unsigned long long& value)
{
    if (text.empty()) {
        value = 0;
        return true;
    }
    size_t first = 0;
    while (first < text.size() && isSpace(static_cast<unsigned char>(text[first])))
        ++first;
    if (first < text.size() && text[first] == '-')
        return false;
    ErrnoKeeper keeper;
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const unsigned long long v = strtoull(begin, &end, base);
    if (errno != 0 || end != begin + text.size())
        return false;
    value = v;
    return true;
}

template <typename T> bool asSigned(const std::string& text, T& out, int base)
{
    long long value = 0;
    if (!parseSigned(text, base, value))
        return false;
    if (value < static_cast<long long>(std::numeric_limits<T>::min()) ||
        value > static_cast<long long>(std::numeric_limits<T>::max()))
        return false;
    out = static_cast<T>(value);
    return true;
}

template <typename T> bool asUnsigned(const std::string& text, T& out, int base)
{
    unsigned long long value = 0;
    if (!parseUnsigned(text, base, value))
        return false;
    if (value > static_cast<unsigned long long>(std::numeric_limits<T>::max()))
        return false;
    out = static_cast<T>(value);
    return true;
}

int hexValue(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    if (c >= 'A' && c <= 'F')
        return c - 'A' + 10;
    return -1;
}

int sign(int value)
{
    return value < 0 ? -1 : (value > 0 ? 1 : 0);
}

} // namespace

std::string StringUtil::toString(bool value)
{
    return value ? "true" : "false";
}

std::string StringUtil::toString(int value)
{
    return newPrintf("%d", value);
}

std::string StringUtil::toString(unsigned value)
{
    return newPrintf("%u", value);
}

std::string StringUtil::toString(long value)
{
    return newPrintf("%ld", value);
}

std::string StringUtil::toString(unsigned long value)
{
    return newPrintf("%lu", value);
}

std::string StringUtil::toString(long long value)
{
    return newPrintf("%lli", value);
}

std::string StringUtil::toString(unsigned long long value)
{
    return newPrintf("%llu", value);
}

std::string StringUtil::toString(double value)
{
    return newPrintf("%g", value);
}

std::string StringUtil::toString(char value)
{
    return std::string(1, value);
}

bool StringUtil::asBoolean(const std::string& text, bool& out)
{
    if (text.empty()) {
        out = false;
    } else if (equals(text, "true", true)) {
        out = true;
    } else {
        int64 value = 0;
        out = asInteger64(text, value, 0) && value != 0;
    }
    return true;
}

bool StringUtil::asInteger8(const std::string& text, int8& out, int base)
{
    return asSigned(text, out, base);
}

bool StringUtil::asInteger16(const std::string& text, int16& out, int base)
{
    return asSigned(text, out, base);
}

bool StringUtil::asInteger32(const std::string& text, int32& out, int base)
{
    return asSigned(text, out, base);
}

bool StringUtil::asInteger64(const std::string& text, int64& out, int base)
{
    return asSigned(text, out, base);
}

bool StringUtil::asUInteger8(const std::string& text, uint8& out, int base)
{
    return asUnsigned(text, out, base);
}

bool StringUtil::asUInteger16(const std::string& text, uint16& out, int base)
{
    return asUnsigned(text, out, base);
}

bool StringUtil::asUInteger32(const std::string& text, uint32& out, int base)
{
    return asUnsigned(text, out, base);
}

bool StringUtil::asUInteger64(const std::string& text, uint64& out, int base)
{
    return asUnsigned(text, out, base);
}

bool StringUtil::asUInteger32WithScale(const std::string& text, uint32& out, int base)
{
    std::string number = text;
    uint64 scale = 1;
    if (!number.empty()) {
        switch (number.back()) {
        case 'K':
            scale = 1024u;
            break;
        case 'M':
            scale = 1024u * 1024u;
            break;
        case 'G':
            scale = 1024u * 1024u * 1024u;
            break;
        default:
            break;
        }
        if (scale != 1) {
            number.pop_back();
            number = trimTailWhiteSpace(number);
        }
    }
    uint32 value = 0;
    if (!asUInteger32(number, value, base) || value * scale > UINT32_MAX) {
        out = 0;
        return false;
    }
    out = static_cast<uint32>(value * scale);
    return true;
}

bool StringUtil::asDouble(const std::string& text, double& out)
{
    if (text.empty()) {
        out = 0.0;
        return true;
    }
    ErrnoKeeper keeper;
    const char* begin = text.c_str();
    char* end = nullptr;
    errno = 0;
    const double value = strtod(begin, &end);
    if (end != begin + text.size())
        return false;
    // Underflow still yields a usable (tiny or zero) value; overflow does not.
    if (errno == ERANGE && (value == HUGE_VAL || value == -HUGE_VAL))
        return false;
    out = value;
    return true;
}

bool StringUtil::asByteArray(const std::string& text, std::vector<unsigned char>& out)
{
    if (text.size() % 2 != 0)
        return false;
    std::vector<unsigned char> bytes;
    bytes.reserve(text.size() / 2);
    for (size_t i = 0; i < text.size(); i += 2) {
        const int high = hexValue(text[i]);
        const int low = hexValue(text[i + 1]);
        if (high < 0 || low < 0)
            return false;
        bytes.push_back(static_cast<unsigned char>(high * 16 + low));
    }
    out.swap(bytes);
    return true;
}

std::string StringUtil::trimWhiteSpace(const std::string& text)
{
    return trimTailWhiteSpace(trimHeadWhiteSpace(text));
}

std::string StringUtil::trimHeadWhiteSpace(const std::string& text)
{
    size_t first = 0;
    while (first < text.size() && isSpace(static_cast<unsigned char>(text[first])))
        ++first;
    return text.substr(first);
}

std::string StringUtil::trimTailWhiteSpace(const std::string& text)
{
    size_t end = text.size();
    while (end > 0 && isSpace(static_cast<unsigned char>(text[end - 1])))
        --end;
    return text.substr(0, end);
}

std::string StringUtil::toLowerCase(const std::string& text)
{
    std::string result = text;
    for (char& c : result)
        c = asciiLower(c);
    return result;
}

std::string StringUtil::toUpperCase(const std::string& text)
{
    std::string result = text;
    for (char& c : result)
        c = asciiUpper(c);
    return result;
}

bool StringUtil::startsWith(const std::string& text, const std::string& prefix, bool ignoreCase)
{
    if (prefix.size() > text.size())
        return false;
    return equals(text.substr(0, prefix.size()), prefix, ignoreCase);
}

bool StringUtil::endsWith(const std::string& text, const std::string& suffix, bool ignoreCase)
{
    if (suffix.size() > text.size())
        return false;
    return equals(text.substr(text.size() - suffix.size()), suffix, ignoreCase);
}

bool StringUtil::equals(const std::string& a, const std::string& b, bool ignoreCase)
{
    return a.size() == b.size() && compareTo(a, b, ignoreCase) == 0;
}

int StringUtil::compareTo(const std::string& a, const std::string& b, bool ignoreCase)
{
    if (!ignoreCase)
        return sign(a.compare(b));
    const size_t common = a.size() < b.size() ? a.size() : b.size();
    for (size_t i = 0; i < common; ++i) {
        const unsigned char ca = static_cast<unsigned char>(asciiLower(a[i]));
        const unsigned char cb = static_cast<unsigned char>(asciiLower(b[i]));
        if (ca != cb)
            return ca < cb ? -1 : 1;
    }
    if (a.size() == b.size())
        return 0;
    return a.size() < b.size() ? -1 : 1;
}

bool StringUtil::containsChar(const std::string& text, char c)
{
    return text.find(c) != std::string::npos;
}

bool StringUtil::isValidUtf8(const std::string& text)
{
    const size_t size = text.size();
    for (size_t i = 0; i < size;) {
        const unsigned char lead = static_cast<unsigned char>(text[i]);
        if (lead < 0x80) {
            ++i;
            continue;
        }
        unsigned length;
        uint32 code;
        uint32 smallest;
        if ((lead & 0xE0) == 0xC0) {
            length = 2;
            code = lead & 0x1F;
            smallest = 0x80;
        } else if ((lead & 0xF0) == 0xE0) {
            length = 3;
            code = lead & 0x0F;
            smallest = 0x800;
        } else if ((lead & 0xF8) == 0xF0) {
            length = 4;
            code = lead & 0x07;
            smallest = 0x10000;
        } else {
            return false;
        }
        if (size - i < length)
            return false;
        for (unsigned k = 1; k < length; ++k) {
            const unsigned char next = static_cast<unsigned char>(text[i + k]);
            if ((next & 0xC0) != 0x80)
                return false;
            code = (code << 6) | (next & 0x3F);
        }
        if (code < smallest || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += length;
    }
    return true;
}

unsigned StringUtil::countChar(const std::string& text, char c)
{
    unsigned count = 0;
    for (char x : text)
        if (x == c)
            ++count;
    return count;
}

std::string StringUtil::removeHead(const std::string& text, size_t count)
{
    return count >= text.size() ? std::string() : text.substr(count);
}

std::string StringUtil::removeTail(const std::string& text, const std::string& suffix)
{
    if (!endsWith(text, suffix))
        return text;
    return text.substr(0, text.size() - suffix.size());
}

std::string StringUtil::replaceAll(const std::string& text, const std::string& from,
                                   const std::string& to)
{
    if (from.empty())
        return text;
    std::string result;
    size_t start = 0;
    for (;;) {
        const size_t at = text.find(from, start);
        if (at == std::string::npos)
            break;
        result.append(text, start, at - start);
        result += to;
        start = at + from.size();
    }
    result.append(text, start, std::string::npos);
    return result;
}

std::string StringUtil::newPrintf(const char* format, ...)
{
    char small[128];
    va_list args;
    va_start(args, format);
    const int length = vsnprintf(small, sizeof small, format, args);
    va_end(args);
    if (length < 0)
        return std::string();
    if (static_cast<size_t>(length) < sizeof small)
        return std::string(small, static_cast<size_t>(length));
    std::string result(static_cast<size_t>(length), '\0');
    va_start(args, format);
    vsnprintf(result.data(), result.size() + 1, format, args);
    va_end(args);
    return result;
}

std::string StringUtil::toHexString(const void* data, size_t size)
{
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    std::string result;
    result.reserve(size * 2);
    for (size_t i = 0; i < size; ++i) {
        result += kLowerHex[bytes[i] >> 4];
        result += kLowerHex[bytes[i] & 0x0f];
    }
    return result;
}

std::string StringUtil::makeJsonString(const std::string& text)
{
    std::string result;
    result.reserve(text.size() + 2);
    result += '"';
    unsigned char previous = 0;
    for (const char ch : text) {
        const unsigned char c = static_cast<unsigned char>(ch);
        switch (c) {
        case '"':
            result += "\\\"";
            break;
        case '\\':
            result += "\\\\";
            break;
        case '\b':
            result += "\\b";
            break;
        case '\t':
            result += "\\t";
            break;
        case '\n':
            result += "\\n";
            break;
        case '\r':
            result += "\\r";
            break;
        case '\f':
            result += "\\f";
            break;
        case '/':
            // Keeps "</script>"-like text inert when the JSON is embedded in markup.
            result += previous == '<' ? "\\/" : "/";
            break;
        default:
            if (c < 0x20 || c == '<' || c == '>') {
                result += "\\u00";
                result += kUpperHex[c >> 4];
                result += kUpperHex[c & 0x0f];
            } else {
                result += ch;
            }
            break;
        }
        previous = c;
    }
    result += '"';
    return result;
}

std::string StringUtil::makeFileSafe(const std::string& text)
{
    std::string result = text;
    for (char& c : result) {
        const bool keep = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                          (c >= '0' && c <= '9') || c == '-' || c == '_' || c == '.';
        if (!keep)
            c = '_';
    }
    return result;
}

} // namespace Kapi
