// Every script of tests/luavm/scripts runs under the stock interpreter (/usr/bin/lua5.1) and
// under kelo-lua and must give the same output, error text and exit status. A script with a
// <name>.expected file shows a documented difference of the integer subtype instead: its
// kelo-lua output must equal that file, and the stock output must differ from it.
#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gtest/gtest.h>

#include "support/RunProcess.h"
#include "support/TestFiles.h"

using KeloTest::readFile;
namespace {

namespace fs = std::filesystem;

const char* const kStockLua = "/usr/bin/lua5.1";


// The program name starts error lines; make the two interpreters' texts comparable.
std::string withoutProgramName(std::string text, const std::string& program)
{
    for (size_t at = text.find(program); at != std::string::npos; at = text.find(program, at))
        text.replace(at, program.size(), "<lua>");
    return text;
}

struct ScriptRun
{
    int status;
    std::string out;
    std::string err;
};

ScriptRun runScript(const std::string& program, const fs::path& script)
{
    // Scripts are named relative to their folder so chunk names match in both runs.
    KeloTest::ProcessResult r = KeloTest::runProcess(
        "/bin/sh", {"-c", "cd \"$1\" && exec \"$2\" \"$3\"", "sh", script.parent_path().string(),
                    program, script.filename().string()});
    return ScriptRun{r.exitStatus, withoutProgramName(r.out, program),
                     withoutProgramName(r.err, program)};
}

std::vector<fs::path> scripts()
{
    std::vector<fs::path> found;
    for (const auto& entry : fs::directory_iterator(KeloTest::sourcePath("tests/luavm/scripts")))
        if (entry.path().extension() == ".lua")
            found.push_back(entry.path());
    std::sort(found.begin(), found.end());
    return found;
}

TEST(LuaDifferential, CorpusIsLargeEnough)
{
    EXPECT_GE(scripts().size(), 50u);
}

TEST(LuaDifferential, SameOutputAsTheStockInterpreter)
{
    if (!fs::exists(kStockLua))
        GTEST_SKIP() << kStockLua << " is not installed";
    const std::string kelo = KeloTest::binPath("kelo-lua");
    int compared = 0;
    for (const fs::path& script : scripts()) {
        fs::path expected = script;
        expected.replace_extension(".expected");
        if (fs::exists(expected))
            continue;
        ScriptRun stock = runScript(kStockLua, script);
        ScriptRun ours = runScript(kelo, script);
        EXPECT_EQ(ours.out, stock.out) << script.filename();
        EXPECT_EQ(ours.err, stock.err) << script.filename();
        EXPECT_EQ(ours.status, stock.status) << script.filename();
        ++compared;
    }
    EXPECT_GE(compared, 50);
}

TEST(LuaDifferential, IntegerSubtypeDifferencesAreAsDocumented)
{
    const std::string kelo = KeloTest::binPath("kelo-lua");
    int checked = 0;
    for (const fs::path& script : scripts()) {
        fs::path expected = script;
        expected.replace_extension(".expected");
        if (!fs::exists(expected))
            continue;
        ScriptRun ours = runScript(kelo, script);
        EXPECT_EQ(ours.out, readFile(expected)) << script.filename();
        EXPECT_EQ(ours.status, 0) << script.filename();
        if (fs::exists(kStockLua)) {
            EXPECT_NE(runScript(kStockLua, script).out, ours.out) << script.filename();
        }
        ++checked;
    }
    EXPECT_GE(checked, 1);
}

TEST(LuaDifferential, UncaughtErrorsReportTheSameWay)
{
    const std::string kelo = KeloTest::binPath("kelo-lua");
    ScriptRun ours = runScript(kelo, KeloTest::sourcePath("tests/luavm/scripts/errors_exit.lua"));
    EXPECT_EQ(ours.status, 1);
    EXPECT_EQ(ours.out, "before\n");
    EXPECT_EQ(ours.err.rfind("<lua>: errors_exit.lua:4: attempt to index field 'missing' (a nil "
                             "value)\nstack traceback:\n",
                             0),
              0u)
        << ours.err;
}

} // namespace
