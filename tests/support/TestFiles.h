#ifndef KELOTEST_TESTFILES_H
#define KELOTEST_TESTFILES_H
// Whole-file reads and writes for tests, independent of the client's own file helpers (which
// some tests check). A file that cannot be read reads as empty.
#include <fstream>
#include <iterator>
#include <string>

namespace KeloTest {

inline std::string readFile(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeFile(const std::string& path, const std::string& data)
{
    std::ofstream(path, std::ios::binary) << data;
}

} // namespace KeloTest

#endif
