// The compact map text on arbitrary bytes: parse, write with toString(false), parse again;
// the two maps must be equal and the written text must be reproduced exactly.
#include "kapi/KeyValueMap.h"

#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    Kapi::KeyValueMap first;
    if (!Kapi::KeyValueMap::parse(text, first))
        std::abort();
    const std::string written = first.toString(false);
    Kapi::KeyValueMap second;
    if (!Kapi::KeyValueMap::parse(written, second))
        std::abort();
    if (first.compareTo(second) != 0 || second.toString(false) != written)
        std::abort();
    // Each key and value unescapes to what was escaped.
    if (Kapi::KeyValueMap::unescape(Kapi::KeyValueMap::escape(text)) != text)
        std::abort();
    // The typed form and the implied-type reading of each value must not misbehave.
    (void)first.toString(true);
    for (const auto& entry : first)
        (void)Kapi::Variant::fromStringImpliedType(entry.second.asString()).toJsonString();
    return 0;
}
