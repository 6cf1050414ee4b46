// JSON reading on arbitrary bytes. Checks: a failure always comes with a description that
// points inside the text; KeyValueMap::parseJsonString agrees with the parser on whether
// the text is an object; and writing a parsed value and reading it back reaches a fixpoint
// after one pass (the first pass may change a value: doubles are written with six
// significant digits, 5.0 is written as 5 and read back as an integer, and \u escapes are
// read with the compatibility quirk, so only the second pass must be lossless).
#include "kapi/JsonToKeyValue.h"
#include "kapi/KeyValueMap.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

// Values whose JSON text our reader does not take back: an empty object is written "{  }"
// (only "{}" is an empty object to the reader) and a NaN is written "nan", which the reader
// takes for a misspelt null.
bool writesUnreadably(const Kapi::Variant& value)
{
    switch (value.getType()) {
    case Kapi::Variant::Double:
        return value.valueToString()[0] == 'n';
    case Kapi::Variant::Map: {
        const Kapi::KeyValueMap& map = value.getMapReference();
        if (map.empty())
            return true;
        for (const auto& entry : map) {
            if (writesUnreadably(entry.second))
                return true;
        }
        return false;
    }
    case Kapi::Variant::Array:
        for (const Kapi::Variant& item : value.getArrayReference()) {
            if (writesUnreadably(item))
                return true;
        }
        return false;
    default:
        return false;
    }
}

bool readValue(const std::string& text, Kapi::Variant& out)
{
    Kapi::JsonToKeyValue parser(text.c_str());
    if (!parser.parse())
        return false;
    out = std::move(parser.getValue());
    return true;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);

    Kapi::JsonToKeyValue parser(text.c_str());
    const bool ok = parser.parse();
    if (!ok) {
        if (parser.getErrorText().empty() || parser.getErrorOffset() > std::strlen(text.c_str()))
            std::abort();
    }
    Kapi::KeyValueMap map;
    const bool isObject = Kapi::KeyValueMap::parseJsonString(text, map);
    if (isObject != (ok && parser.getValue().isMap()))
        std::abort();
    if (!ok)
        return 0;

    const Kapi::Variant first = parser.getValue();
    if (isObject && Kapi::Variant(map).compareTo(first) != 0)
        std::abort();
    const std::string written = first.toJsonString();
    Kapi::Variant second;
    if (!readValue(written, second)) {
        if (!writesUnreadably(first))
            std::abort();
        return 0;
    }
    // Bytes written as \u escapes come back changed by the quirk on every pass.
    const std::string rewritten = second.toJsonString();
    if (writesUnreadably(second) || rewritten.find("\\u") != std::string::npos)
        return 0;
    Kapi::Variant third;
    if (!readValue(rewritten, third))
        std::abort();
    if (third.compareTo(second) != 0)
        std::abort();
    return 0;
}
