// Compiles and runs arbitrary script text on the program's interpreter: the lexer, parser,
// code generator (constant folding into integer constants) and the virtual machine's integer
// arithmetic, tables and strings. Only the base, table, string and math libraries are open;
// each run is cut off after a fixed number of instructions and a memory cap. Binary chunks are
// not fed to the loader (the stock loader does not verify them).
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <initializer_list>

#include "luaKelo.h"

namespace {

constexpr size_t kMemoryCap = 32 * 1024 * 1024;
constexpr int kInstructionBudget = 20000;

struct Budget
{
    size_t used = 0;
};

void* capAlloc(void* ud, void* ptr, size_t oldSize, size_t newSize)
{
    auto* budget = static_cast<Budget*>(ud);
    if (newSize == 0) {
        budget->used -= oldSize;
        std::free(ptr);
        return nullptr;
    }
    if (newSize > oldSize && budget->used + (newSize - oldSize) > kMemoryCap)
        return nullptr;
    void* p = std::realloc(ptr, newSize);
    if (p != nullptr)
        budget->used = budget->used - oldSize + newSize;
    return p;
}

void stopHook(lua_State* L, lua_Debug*)
{
    luaL_error(L, "instruction budget spent");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > 0 && data[0] == '\033')
        return 0;
    Budget budget;
    lua_State* L = lua_newstate(capAlloc, &budget);
    if (L == nullptr)
        return 0;
    const lua_CFunction libs[] = {luaopen_base, luaopen_table, luaopen_string, luaopen_math};
    for (lua_CFunction open : libs) {
        lua_pushcfunction(L, open);
        if (lua_pcall(L, 0, 0, 0) != 0)
            lua_pop(L, 1);
    }
    for (const char* unsafe : {"dofile", "loadfile", "load", "loadstring", "collectgarbage"}) {
        lua_pushnil(L);
        lua_setglobal(L, unsafe);
    }
    lua_sethook(L, stopHook, LUA_MASKCOUNT, kInstructionBudget);
    if (luaL_loadbuffer(L, reinterpret_cast<const char*>(data), size, "=fuzz") == 0)
        lua_pcall(L, 0, 0, 0);
    lua_close(L);
    return 0;
}
