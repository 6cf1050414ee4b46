// kelo-lua: runs Lua scripts on the program's interpreter from the command line.
//
//   kelo-lua [options] [script [args]]
//     -e stat   execute the text stat
//     -l name   require the module name
//     -i        interactive mode after the script
//     -v        print the version
//     --        stop handling options
//     -         run standard input and stop handling options
//
// Options run in order before the script; the script gets its arguments as `...` and in the
// global table `arg` (arg[0] the script, arg[1..n] its arguments, negative indices the
// interpreter and options). LUA_INIT ("@file" or text) runs first. Errors are printed as
// "<program>: <message>" with a traceback, and the exit status is 1. The state has the full
// standard libraries and, in package.preload, socket (LuaSocket), xmlreader and, when built
// with the bridge library, crypto, json and crypto.base64.
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <unistd.h>

#include "luaKelo.h"
#include "luaKeloSocket.h"
#ifdef KELO_LUA_HAVE_XMLREADER
#include "luaKeloXmlReader.h"
#endif
#ifdef KELO_LUA_HAVE_MODULES
#include "kapi/lua/Modules.h"
#endif

namespace {

const char* g_programName = "kelo-lua";
lua_State* g_interruptState = nullptr;

struct Options
{
    int scriptIndex = 0; // 0: no script; otherwise argv index of the script
    bool interactive = false;
    bool version = false;
    bool execute = false;
};

void printMessage(const char* program, const char* message)
{
    if (program != nullptr)
        std::fprintf(stderr, "%s: ", program);
    std::fprintf(stderr, "%s\n", message);
    std::fflush(stderr);
}

void printUsage()
{
    std::fprintf(stderr,
                 "usage: %s [options] [script [args]].\n"
                 "Available options are:\n"
                 "  -e stat  execute string 'stat'\n"
                 "  -l name  require library 'name'\n"
                 "  -i       enter interactive mode after executing 'script'\n"
                 "  -v       show version information\n"
                 "  --       stop handling options\n"
                 "  -        execute stdin and stop handling options\n",
                 g_programName);
    std::fflush(stderr);
}

// Prints the error on top of the stack (if any) and pops it; returns status unchanged.
int report(lua_State* L, int status)
{
    if (status != 0 && !lua_isnil(L, -1)) {
        const char* message = lua_tostring(L, -1);
        printMessage(g_programName,
                     message != nullptr ? message : "(error object is not a string)");
        lua_pop(L, 1);
    }
    return status;
}

void stopHook(lua_State* L, lua_Debug*)
{
    lua_sethook(L, nullptr, 0, 0);
    luaL_error(L, "interrupted!");
}

void onInterrupt(int signal)
{
    std::signal(signal, SIG_DFL); // a second interrupt ends the process
    lua_sethook(g_interruptState, stopHook, LUA_MASKCALL | LUA_MASKRET | LUA_MASKCOUNT, 1);
}

// The message handler: adds a traceback to string errors, keeps other error objects as they are.
int addTraceback(lua_State* L)
{
    if (!lua_isstring(L, 1))
        return 1;
    lua_getfield(L, LUA_GLOBALSINDEX, "debug");
    if (!lua_istable(L, -1)) {
        lua_pop(L, 1);
        return 1;
    }
    lua_getfield(L, -1, "traceback");
    if (!lua_isfunction(L, -1)) {
        lua_pop(L, 2);
        return 1;
    }
    lua_pushvalue(L, 1);
    lua_pushinteger(L, 2);
    lua_call(L, 2, 1);
    return 1;
}

// Calls the function below its nargs arguments with the traceback handler.
int protectedCall(lua_State* L, int nargs, int nresults)
{
    int base = lua_gettop(L) - nargs;
    lua_pushcfunction(L, addTraceback);
    lua_insert(L, base);
    g_interruptState = L;
    std::signal(SIGINT, onInterrupt);
    int status = lua_pcall(L, nargs, nresults, base);
    std::signal(SIGINT, SIG_DFL);
    lua_remove(L, base);
    if (status != 0)
        lua_gc(L, LUA_GCCOLLECT, 0);
    return status;
}

int runFile(lua_State* L, const char* name)
{
    int status = luaL_loadfile(L, name);
    if (status == 0)
        status = protectedCall(L, 0, LUA_MULTRET);
    return report(L, status);
}

int runText(lua_State* L, const char* text, const char* chunkName)
{
    int status = luaL_loadbuffer(L, text, std::strlen(text), chunkName);
    if (status == 0)
        status = protectedCall(L, 0, LUA_MULTRET);
    return report(L, status);
}

int requireModule(lua_State* L, const char* name)
{
    lua_getglobal(L, "require");
    lua_pushstring(L, name);
    return report(L, protectedCall(L, 1, 1));
}

// Scans the options; returns false on a malformed command line.
bool parseOptions(char** argv, Options& options)
{
    for (int i = 1; argv[i] != nullptr; ++i) {
        const char* a = argv[i];
        if (a[0] != '-') {
            options.scriptIndex = i;
            return true;
        }
        switch (a[1]) {
        case '-':
            if (a[2] != '\0')
                return false;
            options.scriptIndex = argv[i + 1] != nullptr ? i + 1 : 0;
            return true;
        case '\0':
            options.scriptIndex = i;
            return true;
        case 'i':
            if (a[2] != '\0')
                return false;
            options.interactive = true;
            options.version = true;
            break;
        case 'v':
            if (a[2] != '\0')
                return false;
            options.version = true;
            break;
        case 'e':
            options.execute = true;
            [[fallthrough]];
        case 'l':
            if (a[2] == '\0') {
                ++i;
                if (argv[i] == nullptr)
                    return false;
            }
            break;
        default:
            return false;
        }
    }
    return true;
}

// Runs the -e and -l options in order, up to argv[end].
int runOptions(lua_State* L, char** argv, int end)
{
    for (int i = 1; i < end; ++i) {
        const char* a = argv[i];
        if (a[1] != 'e' && a[1] != 'l')
            continue;
        const char* value = a[2] != '\0' ? a + 2 : argv[++i];
        int status = a[1] == 'e' ? runText(L, value, "=(command line)") : requireModule(L, value);
        if (status != 0)
            return status;
    }
    return 0;
}

int runScript(lua_State* L, int argc, char** argv, int scriptIndex)
{
    int nargs = argc - scriptIndex - 1;
    luaL_checkstack(L, nargs + 3, "too many arguments to script");
    for (int i = scriptIndex + 1; i < argc; ++i)
        lua_pushstring(L, argv[i]);
    lua_createtable(L, nargs, scriptIndex + 1);
    for (int i = 0; i < argc; ++i) {
        lua_pushstring(L, argv[i]);
        lua_rawseti(L, -2, i - scriptIndex);
    }
    lua_setglobal(L, "arg");

    const char* name = argv[scriptIndex];
    if (std::strcmp(name, "-") == 0 && std::strcmp(argv[scriptIndex - 1], "--") != 0)
        name = nullptr; // standard input
    int status = luaL_loadfile(L, name);
    lua_insert(L, -(nargs + 1));
    if (status == 0)
        status = protectedCall(L, nargs, 0);
    else
        lua_pop(L, nargs);
    return report(L, status);
}

const char* prompt(lua_State* L, bool first)
{
    lua_getfield(L, LUA_GLOBALSINDEX, first ? "_PROMPT" : "_PROMPT2");
    const char* p = lua_tostring(L, -1);
    lua_pop(L, 1);
    return p != nullptr ? p : (first ? "> " : ">> ");
}

// A chunk whose only problem is that it ends too early: the reader asks for more lines.
bool isIncomplete(lua_State* L, int status)
{
    if (status != LUA_ERRSYNTAX)
        return false;
    size_t length = 0;
    const char* message = lua_tolstring(L, -1, &length);
    const char eofMark[] = "'<eof>'";
    size_t markLength = sizeof(eofMark) - 1;
    if (length >= markLength && std::strcmp(message + length - markLength, eofMark) == 0) {
        lua_pop(L, 1);
        return true;
    }
    return false;
}

bool readLine(lua_State* L, bool first, std::string& line)
{
    std::fputs(prompt(L, first), stdout);
    std::fflush(stdout);
    char buffer[512];
    line.clear();
    while (std::fgets(buffer, sizeof(buffer), stdin) != nullptr) {
        line += buffer;
        if (!line.empty() && line.back() == '\n') {
            line.pop_back();
            return true;
        }
    }
    return !line.empty();
}

void interactive(lua_State* L)
{
    const char* savedName = g_programName;
    g_programName = nullptr;
    std::string line;
    lua_settop(L, 0);
    while (readLine(L, true, line)) {
        if (!line.empty() && line[0] == '=')
            line = "return " + line.substr(1);
        std::string chunk = line;
        int status;
        for (;;) {
            status = luaL_loadbuffer(L, chunk.data(), chunk.size(), "=stdin");
            if (!isIncomplete(L, status))
                break;
            if (!readLine(L, false, line)) {
                status = luaL_loadbuffer(L, chunk.data(), chunk.size(), "=stdin");
                break;
            }
            chunk += "\n" + line;
        }
        if (status == 0)
            status = protectedCall(L, 0, LUA_MULTRET);
        report(L, status);
        if (status == 0 && lua_gettop(L) > 0) {
            lua_getglobal(L, "print");
            lua_insert(L, 1);
            if (lua_pcall(L, lua_gettop(L) - 1, 0, 0) != 0) {
                lua_pushfstring(L, "error calling 'print' (%s)", lua_tostring(L, -1));
                printMessage(g_programName, lua_tostring(L, -1));
            }
        }
        lua_settop(L, 0);
    }
    std::fputs("\n", stdout);
    std::fflush(stdout);
    g_programName = savedName;
}

void printVersion()
{
    printMessage(nullptr, LUA_RELEASE "  " LUA_COPYRIGHT);
}

void openLibraries(lua_State* L)
{
    luaL_openlibs(L);
    luaKelo_preload_socket(L);
#ifdef KELO_LUA_HAVE_XMLREADER
    luaKelo_preload_xmlreader(L);
#endif
#ifdef KELO_LUA_HAVE_MODULES
    Kapi::Lua::preloadModules(L);
#endif
}

int runInit(lua_State* L)
{
    const char* init = std::getenv("LUA_INIT");
    if (init == nullptr)
        return 0;
    if (init[0] == '@')
        return runFile(L, init + 1);
    return runText(L, init, "=LUA_INIT");
}

struct MainArgs
{
    int argc;
    char** argv;
    int status;
};

int protectedMain(lua_State* L)
{
    auto* args = static_cast<MainArgs*>(lua_touserdata(L, 1));
    char** argv = args->argv;
    if (argv[0] != nullptr && argv[0][0] != '\0')
        g_programName = argv[0];
    lua_gc(L, LUA_GCSTOP, 0);
    openLibraries(L);
    lua_gc(L, LUA_GCRESTART, 0);
    args->status = runInit(L);
    if (args->status != 0)
        return 0;
    Options options;
    if (!parseOptions(argv, options)) {
        printUsage();
        args->status = 1;
        return 0;
    }
    if (options.version)
        printVersion();
    args->status = runOptions(L, argv, options.scriptIndex > 0 ? options.scriptIndex : args->argc);
    if (args->status != 0)
        return 0;
    if (options.scriptIndex > 0) {
        args->status = runScript(L, args->argc, argv, options.scriptIndex);
        if (args->status != 0)
            return 0;
    }
    if (options.interactive) {
        interactive(L);
    } else if (options.scriptIndex == 0 && !options.execute && !options.version) {
        if (isatty(STDIN_FILENO)) {
            printVersion();
            interactive(L);
        } else {
            args->status = runFile(L, nullptr);
        }
    }
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    lua_State* L = luaL_newstate();
    if (L == nullptr) {
        printMessage(argv[0], "cannot create state: not enough memory");
        return EXIT_FAILURE;
    }
    MainArgs args{argc, argv, 0};
    int status = lua_cpcall(L, protectedMain, &args);
    report(L, status);
    lua_close(L);
    return (status != 0 || args.status != 0) ? EXIT_FAILURE : EXIT_SUCCESS;
}
