// Typed userdata: the block holds one shared pointer constructed in place; __gc moves it out. The
// private table is the userdata's environment; because a userdata made by lua_newuserdata starts
// with the running function's environment, the flag m_hasPrivateTable (not the environment itself)
// tells whether ours has been set, and it is cleared again when the block is collected so a later
// makeOnStack() starts afresh.
#include "kapi/lua/LuaUserData.h"

#include "kapi/PanicAssert.h"
#include "kapi/lua/LuaHeaders.h"

#include <new>

namespace Kapi {
namespace Lua {
namespace {

typedef std::shared_ptr<LuaUserData> Holder;

Holder* holderAt(lua_State* L, int index)
{
    if (lua_type(L, index) != LUA_TUSERDATA || lua_objlen(L, index) != sizeof(Holder)) {
        return nullptr;
    }
    return static_cast<Holder*>(lua_touserdata(L, index));
}

LuaUserData* objectAt(lua_State* L, int index)
{
    Holder* holder = holderAt(L, index);
    return holder != nullptr ? holder->get() : nullptr;
}

} // namespace

LuaUserData::LuaUserData(const char* typeName) : m_typeName(typeName) {}

LuaUserData::~LuaUserData() = default;

void LuaUserData::fillMetatable(lua_State* /*L*/) {}

void LuaUserData::gc(lua_State* /*L*/) {}

int LuaUserData::index(lua_State* /*L*/)
{
    return 0;
}

int LuaUserData::newindex(lua_State* /*L*/)
{
    return 0;
}

void LuaUserData::makeOnStack(lua_State* L)
{
    Holder self = shared_from_this(); // std::bad_weak_ptr for an object no shared_ptr owns
    void* block = lua_newuserdata(L, sizeof(Holder));
    m_userdata = new (block) Holder(std::move(self));
    if (luaL_newmetatable(L, m_typeName) != 0) {
        lua_pushcfunction(L, &LuaUserData::s_gc);
        lua_setfield(L, -2, "__gc");
        lua_pushcfunction(L, &LuaUserData::s_index);
        lua_setfield(L, -2, "__index");
        lua_pushcfunction(L, &LuaUserData::s_newindex);
        lua_setfield(L, -2, "__newindex");
        lua_pushcfunction(L, &LuaUserData::s_tostring);
        lua_setfield(L, -2, "__tostring");
        fillMetatable(L);
    }
    lua_setmetatable(L, -2);
}

void LuaUserData::push(lua_State* L)
{
    KAPI_ASSERT(m_userdata != nullptr);
    luaKelo_pushuserdata(L, m_userdata);
}

LuaUserData* LuaUserData::fromStack(lua_State* L, int index, const char* typeName)
{
    if (typeName != nullptr) {
        return static_cast<Holder*>(luaL_checkudata(L, index, typeName))->get();
    }
    return objectAt(L, index);
}

void LuaUserData::pushPrivateTable(lua_State* L, int index)
{
    if (index < 0 && index > LUA_REGISTRYINDEX) {
        index = lua_gettop(L) + index + 1;
    }
    if (!m_hasPrivateTable) {
        lua_newtable(L);
        lua_pushvalue(L, -1);
        lua_setfenv(L, index);
        m_hasPrivateTable = true;
    } else {
        lua_getfenv(L, index);
    }
}

int LuaUserData::indexPrivateData(lua_State* L)
{
    // (userdata, key)
    pushPrivateTable(L, 1);
    lua_pushvalue(L, 2);
    lua_rawget(L, -2);
    return 1;
}

int LuaUserData::newindexPrivateData(lua_State* L)
{
    // (userdata, key, value)
    pushPrivateTable(L, 1);
    lua_pushvalue(L, 2);
    lua_pushvalue(L, 3);
    lua_rawset(L, -3);
    lua_pop(L, 1);
    return 0;
}

int LuaUserData::s_gc(lua_State* L)
{
    Holder* holder = holderAt(L, 1);
    KAPI_ASSERT(holder != nullptr && *holder != nullptr);
    // Moving out leaves the block holding an empty pointer, which owns nothing, so the block
    // may be freed without its destructor; a second __gc then finds null and fails loudly.
    Holder self = std::move(*holder);
    self->m_userdata = nullptr;
    self->m_hasPrivateTable = false;
    self->gc(L);
    return 0; // `self` releases Lua's reference here
}

int LuaUserData::s_index(lua_State* L)
{
    LuaUserData* self = objectAt(L, -2);
    return self != nullptr ? self->index(L) : 0;
}

int LuaUserData::s_newindex(lua_State* L)
{
    LuaUserData* self = objectAt(L, -3);
    return self != nullptr ? self->newindex(L) : 0;
}

int LuaUserData::s_tostring(lua_State* L)
{
    LuaUserData* self = objectAt(L, 1);
    lua_pushfstring(L, "%s<%p>", self != nullptr ? self->m_typeName : "?",
                    static_cast<void*>(self));
    return 1;
}

} // namespace Lua
} // namespace Kapi
