// Table records from arbitrary bytes. Checks: a refused record leaves the Lua stack as it was
// and says why; an accepted one pushes exactly one table, which serialises again (unless it is
// over the size limit) to a record that reads back and serialises to the same length (entry
// order, and so the bytes, may differ between two tables with the same contents).
#include "kapi/lua/LuaHeaders.h"
#include "kapi/lua/Serialization.h"

#include <cstdint>
#include <cstdlib>
#include <string>

namespace {

lua_State* state()
{
    static lua_State* s_L = luaL_newstate();
    return s_L;
}

std::shared_ptr<Kapi::Buffer> bufferOf(const void* bytes, size_t size)
{
    auto buffer = std::make_shared<Kapi::Buffer>();
    if (size != 0 && !buffer->assign(bytes, static_cast<unsigned>(size)))
        std::abort();
    return buffer;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    lua_State* L = state();
    lua_settop(L, 0);
    std::shared_ptr<Kapi::Buffer> input = bufferOf(data, size);
    std::string error;
    if (Kapi::Lua::deserializeToTable(L, input, error) == 0) {
        if (lua_gettop(L) != 0 || error.empty())
            std::abort();
        return 0;
    }
    if (lua_gettop(L) != 1 || !lua_istable(L, 1) || !error.empty())
        std::abort();

    std::shared_ptr<Kapi::Buffer> first = Kapi::Lua::serializeFromTable(L, 1, error);
    if (lua_gettop(L) != 1)
        std::abort();
    if (first == nullptr) {
        if (error.find("Data size exceeds 60000 byte limit") == std::string::npos)
            std::abort();
        return 0;
    }
    const unsigned length = first->getLength();
    if (Kapi::Lua::deserializeToTable(L, first, error) != 1 || first->getLength() != 0)
        std::abort();
    std::shared_ptr<Kapi::Buffer> second = Kapi::Lua::serializeFromTable(L, 2, error);
    if (second == nullptr || second->getLength() != length)
        std::abort();
    lua_settop(L, 0);
    lua_gc(L, LUA_GCSTEP, 0);
    return 0;
}
