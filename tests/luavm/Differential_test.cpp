// Every script of tests/luavm/scripts runs under the stock interpreter (/usr/bin/lua5.1) and
// under kelo-lua and must give the same output, error text and exit status. A script with a
// <name>.expected file shows a documented difference of the integer subtype instead: its
// kelo-lua output must equal that file, and the stock output must differ from it.
#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "support/RunProcess.h"
#include "support/TestFiles.h"

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

KeloTest::ProcessResult runScript(const std::string& program, const fs::path& script)
{
    // Scripts are named relative to their folder so chunk names match in both runs.
    KeloTest::ProcessResult r = KeloTest::runProcess(
        "/bin/sh", {"-c", "cd \"$1\" && exec \"$2\" \"$3\"", "sh", script.parent_path().string(),
                    program, script.filename().string()});
    r.out = withoutProgramName(r.out, program);
    r.err = withoutProgramName(r.err, program);
    return r;
}

TEST(LuaDifferential, SameOutputAsTheStockInterpreterOrTheDocumentedDifference)
{
    const bool haveStock = fs::exists(kStockLua);
    const std::string kelo = KeloTest::binPath("kelo-lua");
    std::vector<fs::path> scripts;
    for (const auto& entry : fs::directory_iterator(KeloTest::sourcePath("tests/luavm/scripts")))
        if (entry.path().extension() == ".lua")
            scripts.push_back(entry.path());
    std::sort(scripts.begin(), scripts.end());
    int compared = 0, documented = 0;
    for (const fs::path& script : scripts) {
        SCOPED_TRACE(script.filename());
        fs::path expected = script;
        expected.replace_extension(".expected");
        KeloTest::ProcessResult ours = runScript(kelo, script);
        if (fs::exists(expected)) {
            EXPECT_EQ(ours.out, KeloTest::readFile(expected));
            EXPECT_EQ(ours.exitStatus, 0);
            if (haveStock) {
                EXPECT_NE(runScript(kStockLua, script).out, ours.out);
            }
            ++documented;
        } else if (haveStock) {
            KeloTest::ProcessResult stock = runScript(kStockLua, script);
            EXPECT_EQ(ours.out, stock.out);
            EXPECT_EQ(ours.err, stock.err);
            EXPECT_EQ(ours.exitStatus, stock.exitStatus);
            ++compared;
        }
    }
    EXPECT_GE(documented, 1);
    EXPECT_GE(scripts.size() - documented, 50u);
    if (!haveStock)
        GTEST_SKIP() << kStockLua << " is not installed";
    EXPECT_GE(compared, 50);
}

TEST(LuaDifferential, UncaughtErrorsReportTheSameWay)
{
    KeloTest::ProcessResult ours = runScript(
        KeloTest::binPath("kelo-lua"), KeloTest::sourcePath("tests/luavm/scripts/errors_exit.lua"));
    EXPECT_EQ(ours.exitStatus, 1);
    EXPECT_EQ(ours.out, "before\n");
    EXPECT_EQ(ours.err.rfind("<lua>: errors_exit.lua:4: attempt to index field 'missing' (a nil "
                             "value)\nstack traceback:\n",
                             0),
              0u)
        << ours.err;
}

} // namespace
