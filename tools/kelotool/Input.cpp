// Whole-input reading for the sub-commands: a named file or standard input, as bytes.
#include "Command.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace KeloTool {

static bool readStream_i(FILE* f, std::string& out)
{
    char chunk[65536];
    size_t n;
    while ((n = fread(chunk, 1, sizeof chunk, f)) > 0)
        out.append(chunk, n);
    return !ferror(f);
}

bool readInput(const std::string& path, std::string& out)
{
    out.clear();
    if (path.empty() || path == "-") {
        if (!readStream_i(stdin, out)) {
            fprintf(stderr, "kelotool: cannot read standard input: %s\n", strerror(errno));
            return false;
        }
        return true;
    }
    FILE* f = fopen(path.c_str(), "rb");
    if (!f) {
        fprintf(stderr, "kelotool: cannot read %s: %s\n", path.c_str(), strerror(errno));
        return false;
    }
    bool ok = readStream_i(f, out);
    int err = errno;
    fclose(f);
    if (!ok) {
        fprintf(stderr, "kelotool: cannot read %s: %s\n", path.c_str(), strerror(err));
        return false;
    }
    return true;
}

} // namespace KeloTool
