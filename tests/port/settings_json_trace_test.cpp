// The JSON settings store seen from outside: strace shows, for every set, the temporary file
// written, renamed over the settings file and the file system synced.
#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <sstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

std::vector<std::string> splitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);)
        lines.push_back(line);
    return lines;
}

} // namespace

TEST(SettingsJsonTrace, EverySetWritesTheNewFileRenamesItAndSyncs)
{
    if (access("/usr/bin/strace", X_OK) != 0)
        GTEST_SKIP() << "strace is not installed";
    char dir[] = "/tmp/kelo-settings-trace.XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string settings = std::string(dir) + "/s.txt";
    const std::string trace = std::string(dir) + "/trace";

    // ptrace and LeakSanitizer do not mix; leaks are checked by the in-process tests.
    const KeloTest::ProcessResult run = KeloTest::runProcess(
        "/usr/bin/strace",
        {"-f", "-o", trace, "-e", "trace=openat,rename,renameat,renameat2,fsync,fdatasync,sync",
         KeloTest::binPath("settings_json_probe"), settings, "a=1", "b=2", "a=3"},
        "", {"ASAN_OPTIONS=detect_leaks=0"});
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, "set a 1\nset b 1\nset a 1\n");
    EXPECT_EQ(KeloTest::readFile(settings), "{ \"a\" : \"3\", \"b\" : \"2\" }");

    // Keep the calls on the two settings paths and every sync, in order.
    const std::regex openNew("openat\\(AT_FDCWD, \"" + settings +
                             "\\.new\", O_WRONLY\\|O_CREAT\\|O_TRUNC.*");
    const std::regex renamed("rename(at2?)?\\(.*\"" + settings + "\\.new\", .*\"" + settings +
                             "\".*= 0");
    const std::regex synced("sync\\(\\)\\s*= 0");
    std::string sequence;
    for (const std::string& line : splitLines(KeloTest::readFile(trace))) {
        std::smatch match;
        if (std::regex_search(line, match, openNew))
            sequence += "W";
        else if (std::regex_search(line, match, renamed))
            sequence += "R";
        else if (std::regex_search(line, match, synced))
            sequence += "S";
    }
    EXPECT_EQ(sequence, "WRSWRSWRS") << KeloTest::readFile(trace);
    std::system(("rm -rf '" + std::string(dir) + "'").c_str());
}
