// Text conversions fed with arbitrary bytes: addresses, times and integers must never crash,
// and whatever parses must print to a text that parses back to the same value; the JSON
// quoting must never let a raw control byte, '<' or '>' through.
#include "kapi/Address.h"
#include "kapi/StringUtil.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);

    Kapi::Address address;
    if (Kapi::Address::parse(text, address)) {
        const Kapi::Address again(address.toString());
        if (!again.isValid() || again != address)
            abort();
    }

    long long time = 0;
    if (Kapi::StringUtil::asTime(text, time)) {
        long long back = 0;
        // The text form keeps milliseconds; only years 0000..9999 read back.
        const long long millis = time - ((time % 1000) + 1000) % 1000;
        const std::string printed = Kapi::StringUtil::timeToString(millis);
        if (printed.size() == 23 && printed[0] != '-' &&
            (!Kapi::StringUtil::asTime(printed, back) || back != millis))
            abort();
    }

    int64 value = 0;
    if (Kapi::StringUtil::asInteger64(text, value, 0)) {
        int64 back = 1;
        if (!Kapi::StringUtil::asInteger64(
                Kapi::StringUtil::toString(static_cast<long long>(value)), back, 10) ||
            back != value)
            abort();
    }
    uint32 scaled = 0;
    Kapi::StringUtil::asUInteger32WithScale(text, scaled, 0);

    const std::string quoted = Kapi::StringUtil::makeJsonString(text);
    for (size_t i = 1; i + 1 < quoted.size(); ++i) {
        const unsigned char c = static_cast<unsigned char>(quoted[i]);
        if (c < 0x20 || c == '<' || c == '>')
            abort();
    }
    return 0;
}
