// Fuzz target for the configuration parser: any byte sequence must parse or fail cleanly, and
// a text that parsed must come back unchanged through its own text form.
#include "kapi/vConfig.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    Kapi::vConfig config;
    if (!config.fromString(text))
        return 0;

    const std::string printed = config.toString();
    Kapi::vConfig again;
    if (!again.fromString(printed)) {
        fprintf(stderr, "text form does not parse (line %d)\n", again.getErrorLine());
        abort();
    }
    if (again.toString() != printed) {
        fprintf(stderr, "text form changed on re-parse\n");
        abort();
    }

    // The copy must be independent of the source and print the same.
    Kapi::vConfig copy(config);
    if (copy.toString() != printed)
        abort();
    return 0;
}
