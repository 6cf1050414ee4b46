// The kelo-lua command line: options, the arg table, standard input, errors and the modules
// the program preloads.
#include <gtest/gtest.h>

#include "support/RunProcess.h"

namespace {

using KeloTest::binPath;
using KeloTest::ProcessResult;
using KeloTest::runProcess;
using KeloTest::sourcePath;

ProcessResult keloLua(const std::vector<std::string>& args, const std::string& input = "")
{
    return runProcess(binPath("kelo-lua"), args, input, {"LUA_INIT"});
}

TEST(KeloLuaProgram, VersionText)
{
    ProcessResult r = keloLua({"-v"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.err, "Lua 5.1.5 double int32  Copyright (C) 1994-2012 Lua.org, PUC-Rio\n");
    EXPECT_EQ(r.out, "");
}

TEST(KeloLuaProgram, ExecuteAndRequireRunInOrder)
{
    ProcessResult r = keloLua({"-e", "x = 1", "-e", "print(x + 1)", "-lstring", "-eprint(x)"});
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "2\n1\n");
}

TEST(KeloLuaProgram, ScriptArgumentsAndArgTable)
{
    ProcessResult r =
        keloLua({"-", "a", "b"}, "print(select('#', ...), #arg, arg[0], arg[1], arg[2], arg[-1])");
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "2\t2\t-\ta\tb\t" + binPath("kelo-lua") + "\n");
}

TEST(KeloLuaProgram, StandardInputWithoutArguments)
{
    ProcessResult r = keloLua({}, "io.write(6 * 7, '\\n')");
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "42\n");
}

TEST(KeloLuaProgram, ErrorsGiveStatusOneAndAMessage)
{
    ProcessResult r = keloLua({"-e", "x ="});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_EQ(r.err, binPath("kelo-lua") + ": (command line):1: unexpected symbol near '<eof>'\n");

    r = keloLua({"/nonexistent/kelo/script.lua"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_EQ(r.err, binPath("kelo-lua") +
                         ": cannot open /nonexistent/kelo/script.lua: No such file or "
                         "directory\n");

    r = keloLua({"-e", "error({})"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_EQ(r.err, binPath("kelo-lua") + ": (error object is not a string)\n");

    r = keloLua({"-l", "kelo_no_such_module"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("module 'kelo_no_such_module' not found"), std::string::npos);
}

TEST(KeloLuaProgram, BadOptionsPrintTheUsage)
{
    for (const std::vector<std::string>& args :
         std::vector<std::vector<std::string>>{{"-x"}, {"-e"}, {"-vx"}}) {
        ProcessResult r = keloLua(args);
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_EQ(r.err.rfind("usage: " + binPath("kelo-lua") + " [options] [script [args]].\n", 0),
                  0u)
            << r.err;
    }
}

TEST(KeloLuaProgram, InitVariableRunsFirst)
{
    ProcessResult r = runProcess(binPath("kelo-lua"), {"-e", "print(fromInit)"}, "",
                                 {"LUA_INIT=fromInit = 'yes'"});
    EXPECT_EQ(r.out, "yes\n");
}

TEST(KeloLuaProgram, InteractiveModeEvaluatesLines)
{
    ProcessResult r = keloLua({"-i"}, "x = 5\n=x * 2\nfor i = 1, 2 do\nprint(i)\nend\n");
    EXPECT_EQ(r.exitStatus, 0);
    EXPECT_EQ(r.out, "> > 10\n> >> >> 1\n2\n> \n");
}

TEST(KeloLuaProgram, FullLibrariesAndPreloadedModules)
{
    ProcessResult r =
        keloLua({"-e", "print(type(os.execute), type(debug.getinfo), type(require('socket').tcp), "
                       "type(require('socket.url').parse), type(require('ltn12').sink), "
                       "type(require('mime').b64), type(require('xmlreader').from_string))"});
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "function\tfunction\tfunction\tfunction\ttable\tfunction\tfunction\n");
}

TEST(KeloLuaProgram, SocketLoopback)
{
    // A listening socket and a client on loopback exchange one line each way.
    const char* script = R"(
local socket = require("socket")
local server = assert(socket.bind("127.0.0.1", 0))
local _, port = server:getsockname()
local client = assert(socket.connect("127.0.0.1", port))
local peer = assert(server:accept())
client:send("ping " .. 2^31 .. "\n")
print((peer:receive("*l")))
peer:send("pong\n")
print((client:receive("*l")))
client:close() peer:close() server:close()
print(require("socket.url").escape("a b&c"), (require("mime").b64("hello")))
)";
    ProcessResult r = keloLua({"-"}, script);
    EXPECT_EQ(r.exitStatus, 0) << r.err;
    EXPECT_EQ(r.out, "ping 2147483648\npong\na%20b%26c\taGVsbG8=\n");
}

} // namespace
