// The kelo-lua command line: options, the arg table, standard input, errors and the modules
// the program preloads.
#include <gtest/gtest.h>

#include "support/RunProcess.h"

namespace {

using KeloTest::binPath;
using KeloTest::ProcessResult;
using KeloTest::runProcess;

ProcessResult keloLua(const std::vector<std::string>& args, const std::string& input = "")
{
    return runProcess(binPath("kelo-lua"), args, input, {"LUA_INIT"});
}

TEST(KeloLuaProgram, OptionsInputAndErrors)
{
    // "@" in an expected text stands for the program's path.
    const struct
    {
        std::vector<std::string> args;
        std::string input;
        int status;
        std::string out;
        std::string err; // "?": not checked
    } cases[] = {
        {{"-v"}, "", 0, "", "Lua 5.1.5 double int32  Copyright (C) 1994-2012 Lua.org, PUC-Rio\n"},
        {{"-e", "x = 1", "-e", "print(x + 1)", "-lstring", "-eprint(x)"}, "", 0, "2\n1\n", ""},
        {{"-", "a", "b"},
         "print(select('#', ...), #arg, arg[0], arg[1], arg[2], arg[-1])",
         0,
         "2\t2\t-\ta\tb\t@\n",
         ""},
        {{}, "io.write(6 * 7, '\\n')", 0, "42\n", ""},
        {{"-i"},
         "x = 5\n=x * 2\nfor i = 1, 2 do\nprint(i)\nend\n",
         0,
         "> > 10\n> >> >> 1\n2\n> \n",
         "?"},
        {{"-e", "x ="}, "", 1, "", "@: (command line):1: unexpected symbol near '<eof>'\n"},
        {{"/nonexistent/kelo/script.lua"},
         "",
         1,
         "",
         "@: cannot open /nonexistent/kelo/script.lua: No such file or directory\n"},
        {{"-e", "error({})"}, "", 1, "", "@: (error object is not a string)\n"},
        {{"-e", "print(type(os.execute), type(debug.getinfo), type(require('socket').tcp), "
                "type(require('socket.url').parse), type(require('ltn12').sink), "
                "type(require('mime').b64), type(require('xmlreader').from_string))"},
         "",
         0,
         "function\tfunction\tfunction\tfunction\ttable\tfunction\tfunction\n",
         ""},
    };
    auto expand = [](std::string text) {
        const size_t at = text.find('@');
        return at == std::string::npos ? text : text.replace(at, 1, binPath("kelo-lua"));
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args.empty() ? c.input : c.args.front());
        ProcessResult r = keloLua(c.args, c.input);
        EXPECT_EQ(r.exitStatus, c.status);
        EXPECT_EQ(r.out, expand(c.out));
        if (c.err != "?") {
            EXPECT_EQ(r.err, expand(c.err));
        }
    }

    ProcessResult r = keloLua({"-l", "kelo_no_such_module"});
    EXPECT_EQ(r.exitStatus, 1);
    EXPECT_NE(r.err.find("module 'kelo_no_such_module' not found"), std::string::npos);
    for (const std::vector<std::string>& args :
         std::vector<std::vector<std::string>>{{"-x"}, {"-e"}, {"-vx"}}) {
        r = keloLua(args);
        EXPECT_EQ(r.exitStatus, 1);
        EXPECT_EQ(r.err.rfind("usage: " + binPath("kelo-lua") + " [options] [script [args]].\n", 0),
                  0u)
            << r.err;
    }
    r = runProcess(binPath("kelo-lua"), {"-e", "print(fromInit)"}, "",
                   {"LUA_INIT=fromInit = 'yes'"});
    EXPECT_EQ(r.out, "yes\n");
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
