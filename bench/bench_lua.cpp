// The Lua bridge's hot paths. Property reads from a script loop (1000 reads of obj.value per
// iteration) through: a fast userdata whose native index handler answers by the key's string
// identifier; a metatable __index C function comparing the key text; and a LuaUserData class
// resolving the name through its sorted IndexedValue table. And table record throughput: a
// ~50 KB table of strings, integers, booleans and nested tables serialised and read back.
#include "kapi/lua/IndexedValue.h"
#include "kapi/lua/LuaHeaders.h"
#include "kapi/lua/LuaUserData.h"
#include "kapi/lua/Serialization.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <memory>
#include <random>
#include <string>

namespace {

constexpr uint32_t kValueId = 1;

const char* const kReadLoop = "local obj = ... local s = 0 for i = 1, 1000 do s = s + obj.value "
                              "end return s";

// Runs the compiled read loop on the object at the top of the stack.
void runReads(benchmark::State& state, lua_State* L)
{
    if (luaL_loadstring(L, kReadLoop) != 0) {
        state.SkipWithError("cannot compile the loop");
        return;
    }
    const int loop = lua_gettop(L);
    for (auto _ : state) {
        lua_pushvalue(L, loop);
        lua_pushvalue(L, loop - 1);
        if (lua_pcall(L, 1, 1, 0) != 0 || lua_tointeger(L, -1) != 42000) {
            state.SkipWithError(lua_tostring(L, -1));
            return;
        }
        lua_pop(L, 1);
    }
    state.SetItemsProcessed(state.iterations() * 1000);
}

void fastIndex(lua_State*, LuaFastUserDataHolder*, const LuaTValue* key, LuaTValue* result)
{
    const LuaString* name = luaKelo_tvalue_string(key);
    if (name != nullptr && luaKelo_string_getKeloID(name) == kValueId) {
        luaKelo_tvalue_set_integer(result, 42);
    } else {
        luaKelo_tvalue_set_nil(result);
    }
}

void BM_ReadFastUserData(benchmark::State& state)
{
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    // The registry keeps the interned name, and so its identifier, alive.
    lua_pushstring(L, "value");
    luaKelo_top_string_setKeloID(L, kValueId);
    lua_setfield(L, LUA_REGISTRYINDEX, "bench.valueName");
    LuaFastUserDataHolder* block = luaKelo_push_userdata_new(L, 8);
    luaKelo_userdata_setcfuncs(block, nullptr, fastIndex);
    runReads(state, L);
    lua_close(L);
}
BENCHMARK(BM_ReadFastUserData);

int metatableIndex(lua_State* L)
{
    if (strcmp(luaL_checkstring(L, 2), "value") == 0) {
        lua_pushinteger(L, 42);
        return 1;
    }
    return 0;
}

void BM_ReadMetatableIndexFunction(benchmark::State& state)
{
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    lua_newuserdata(L, 8);
    lua_newtable(L);
    lua_pushcfunction(L, metatableIndex);
    lua_setfield(L, -2, "__index");
    lua_setmetatable(L, -2);
    runReads(state, L);
    lua_close(L);
}
BENCHMARK(BM_ReadMetatableIndexFunction);

class Probe : public Kapi::Lua::LuaUserData
{
public:
    Probe() : LuaUserData("bench.Probe") {}
    int index(lua_State* L) override
    {
        static const Kapi::Lua::IndexedValue kRows[] = {
            {"count", 1, 1, nullptr, false},
            {"name", 1, 2, nullptr, false},
            {"value", 1, 3, nullptr, false},
        };
        if (Kapi::Lua::IndexedValue::index(L, lua_tostring(L, 2), kRows, 3, -1) == 3) {
            lua_pushinteger(L, 42);
            return 1;
        }
        return 0;
    }
};

void BM_ReadLuaUserDataIndexedValue(benchmark::State& state)
{
    lua_State* L = luaL_newstate();
    luaL_openlibs(L);
    auto probe = std::make_shared<Probe>();
    probe->makeOnStack(L);
    runReads(state, L);
    lua_close(L);
}
BENCHMARK(BM_ReadLuaUserDataIndexedValue);

// A table whose record is about 50 KB.
void pushRecordTable(lua_State* L)
{
    std::mt19937 random(42);
    lua_newtable(L);
    for (int i = 1; i <= 400; ++i) {
        lua_newtable(L);
        lua_pushinteger(L, static_cast<lua_Integer>(random() % 100000));
        lua_setfield(L, -2, "id");
        const std::string title(16 + random() % 32, static_cast<char>('a' + random() % 26));
        lua_pushlstring(L, title.data(), title.size());
        lua_setfield(L, -2, "title");
        lua_pushboolean(L, random() % 2);
        lua_setfield(L, -2, "available");
        lua_newtable(L);
        for (int k = 1; k <= 4; ++k) {
            lua_pushinteger(L, static_cast<lua_Integer>(random() % 5000));
            lua_rawseti(L, -2, k);
        }
        lua_setfield(L, -2, "bitrates");
        lua_rawseti(L, -2, i);
    }
}

void BM_SerializeTable(benchmark::State& state)
{
    lua_State* L = luaL_newstate();
    pushRecordTable(L);
    std::string error;
    size_t bytes = 0;
    for (auto _ : state) {
        std::shared_ptr<Kapi::Buffer> record = Kapi::Lua::serializeFromTable(L, -1, error);
        if (record == nullptr) {
            state.SkipWithError(error.c_str());
            break;
        }
        bytes += record->getLength();
    }
    state.SetBytesProcessed(static_cast<int64_t>(bytes));
    lua_close(L);
}
BENCHMARK(BM_SerializeTable);

void BM_DeserializeTable(benchmark::State& state)
{
    lua_State* L = luaL_newstate();
    pushRecordTable(L);
    std::string error;
    std::shared_ptr<Kapi::Buffer> record = Kapi::Lua::serializeFromTable(L, -1, error);
    lua_pop(L, 1);
    if (record == nullptr) {
        state.SkipWithError(error.c_str());
        lua_close(L);
        return;
    }
    const std::string bytes(reinterpret_cast<const char*>(record->getBeginPtr()),
                            record->getLength());
    for (auto _ : state) {
        auto buffer = std::make_shared<Kapi::Buffer>();
        buffer->assign(bytes.data(), static_cast<unsigned>(bytes.size()));
        if (Kapi::Lua::deserializeToTable(L, buffer, error) != 1) {
            state.SkipWithError(error.c_str());
            break;
        }
        lua_pop(L, 1);
    }
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations() * bytes.size()));
    lua_close(L);
}
BENCHMARK(BM_DeserializeTable);

} // namespace
