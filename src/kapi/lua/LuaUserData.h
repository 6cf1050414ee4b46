#ifndef KAPI_LUA_LUAUSERDATA_H
#define KAPI_LUA_LUAUSERDATA_H
// LuaUserData: the base of every native object that scripts hold as typed full userdata.
//
// Representation: the userdata block is exactly one std::shared_ptr<LuaUserData>, so while Lua
// holds the block the object cannot die. `m_userdata` points at that block from makeOnStack()
// until the block is collected, and is null otherwise; push() is legal only in that span. One
// metatable per type name and Lua state (in the registry, under the type name) carries __gc,
// __index, __newindex and __tostring; the metamethods forward to the virtual gc / index /
// newindex. Fields that a class does not resolve itself may live in a per-object private table,
// the userdata's environment, made on first use.
//
// Objects are always owned by a std::shared_ptr (makeOnStack() on any other object is a
// programming error and raises std::bad_weak_ptr). Every method runs on the thread that owns
// the Lua state; the object may be released on any thread once Lua has let go of it.
#include <memory>

struct lua_State;

namespace Kapi {
namespace Lua {

class LuaUserData : public std::enable_shared_from_this<LuaUserData>
{
public:
    // `typeName` (not copied, not owned) names the type's metatable in the registry.
    explicit LuaUserData(const char* typeName);
    LuaUserData(const LuaUserData&) = delete;
    LuaUserData& operator=(const LuaUserData&) = delete;

    // Slot order is fixed: destructor, fillMetatable, gc, index, newindex; derived classes
    // append their own virtuals after these.
    virtual ~LuaUserData();
    // Called once per Lua state, with the new metatable on top, when the type's metatable is
    // made; a class adds methods or fields to it here.
    virtual void fillMetatable(lua_State* L);
    // Called from __gc after `m_userdata` has been cleared, before Lua's reference is released.
    virtual void gc(lua_State* L);
    // __index with (userdata, key) on the stack; returns the number of results pushed.
    virtual int index(lua_State* L);
    // __newindex with (userdata, key, value) on the stack; returns the number of results.
    virtual int newindex(lua_State* L);

    // Makes the Lua representation of this object and leaves it on the stack.
    void makeOnStack(lua_State* L);
    // Pushes the existing userdata again (the same Lua value). Only while hasUserData().
    void push(lua_State* L);
    bool hasUserData() const { return m_userdata != nullptr; }
    const char* getTypeName() const { return m_typeName; }

    // The object held by the userdata at `index`. With a type name the value is checked with
    // luaL_checkudata (a wrong value raises the standard argument error); with null only a
    // userdata of the right size is accepted and anything else gives null.
    static LuaUserData* fromStack(lua_State* L, int index, const char* typeName);

    // Pushes the object's private table (the environment of the userdata at `index`, counted
    // before this call's own pushes), making it on first use.
    void pushPrivateTable(lua_State* L, int index);
    // For index()/newindex() of derived classes, for names they do not handle: a raw get of the
    // key from the private table (1 result) / a raw set of key and value into it (0 results).
    int indexPrivateData(lua_State* L);
    int newindexPrivateData(lua_State* L);

    // The metamethods installed on every type's metatable.
    static int s_gc(lua_State* L);
    static int s_index(lua_State* L);
    static int s_newindex(lua_State* L);
    static int s_tostring(lua_State* L);

private:
    const char* m_typeName;
    std::shared_ptr<LuaUserData>* m_userdata = nullptr;
    bool m_hasPrivateTable = false;
};

} // namespace Lua
} // namespace Kapi

#endif
