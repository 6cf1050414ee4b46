// Fast userdata: native index/newindex handlers called by the virtual machine without the
// metatable, native finalisers, identity, environments and watcher calls.
#include <string>

#include "LuaTestState.h"

namespace {

struct Widget
{
    int32_t width = 10;
    int indexCalls = 0;
    int newindexCalls = 0;
    std::string lastKey;
    int* finalised = nullptr;
};

std::string keyText(const LuaTValue* key)
{
    size_t length = 0;
    const char* text = luaKelo_tvalue_cptr(key, &length);
    return text != nullptr ? std::string(text, length) : std::string("<not a string>");
}

void widgetIndex(lua_State*, LuaFastUserDataHolder* block, const LuaTValue* key, LuaTValue* result)
{
    auto* w = static_cast<Widget*>(block);
    ++w->indexCalls;
    w->lastKey = keyText(key);
    if (w->lastKey == "width")
        luaKelo_tvalue_set_integer(result, w->width);
    else if (w->lastKey == "half")
        luaKelo_tvalue_set_double(result, w->width / 4.0);
    else if (w->lastKey == "visible")
        luaKelo_tvalue_set_boolean(result, 1);
    // anything else: the result stays nil
}

void widgetNewIndex(lua_State* L, LuaFastUserDataHolder* block, const LuaTValue* key,
                    const LuaTValue* value)
{
    auto* w = static_cast<Widget*>(block);
    ++w->newindexCalls;
    w->lastKey = keyText(key);
    if (w->lastKey == "width") {
        if (luaKelo_tvalue_type(value) != LUA_TINT && luaKelo_tvalue_type(value) != LUA_TNUMBER) {
            // Inside a handler the running Lua function is level 0.
            luaL_where(L, 0);
            lua_pushliteral(L, "width must be a number");
            lua_concat(L, 2);
            lua_error(L);
        }
        w->width = static_cast<int32_t>(luaKelo_tvalue_to_integer(value));
    }
}

void widgetGc(LuaFastUserDataHolder* block)
{
    auto* w = static_cast<Widget*>(block);
    ++*w->finalised;
    w->~Widget();
}

class FastUserData : public KeloTest::LuaStateTest
{
protected:
    Widget* pushWidget()
    {
        void* block = luaKelo_push_userdata_new(L, sizeof(Widget));
        auto* w = new (block) Widget;
        w->finalised = &finalised;
        luaKelo_userdata_setcfuncs(block, widgetNewIndex, widgetIndex);
        luaKelo_userdata_setcgc(block, widgetGc);
        return w;
    }
    int finalised = 0;
};

TEST_F(FastUserData, HandlersServeReadsAndWrites)
{
    Widget* w = pushWidget();
    lua_setglobal(L, "w");
    EXPECT_EQ(eval("w.width"), "10");
    EXPECT_EQ(w->indexCalls, 1);
    EXPECT_EQ(run("w.width = 25"), "");
    EXPECT_EQ(w->width, 25);
    EXPECT_EQ(w->newindexCalls, 1);
    EXPECT_EQ(eval("w.width * 2 .. ' ' .. tostring(w.half) .. ' ' .. tostring(w.visible)"),
              "50 6.25 true");
    EXPECT_EQ(eval("w.unknown"), "nil");
    EXPECT_EQ(w->lastKey, "unknown");
    // Keys that are not strings reach the handler as raw values too.
    EXPECT_EQ(eval("w[1]"), "nil");
    EXPECT_EQ(w->lastKey, "<not a string>");
    EXPECT_EQ(run("w.width = {}"), "test:1: width must be a number");
    EXPECT_EQ(w->width, 25);

    // The handlers serve the API too.
    lua_getglobal(L, "w");
    lua_getfield(L, -1, "width");
    EXPECT_EQ(lua_tointeger(L, -1), 25);
    lua_pop(L, 1);
    lua_pushinteger(L, 77);
    lua_setfield(L, -2, "width");
    lua_pushliteral(L, "width");
    lua_gettable(L, -2);
    EXPECT_EQ(lua_tointeger(L, -1), 77);
    lua_settop(L, 0);
}

TEST_F(FastUserData, HandlersWinOverTheMetatableWhichAppliesWithoutThem)
{
    pushWidget();
    ASSERT_EQ(run("return {__index = function() return 'from metatable' end, "
                  "__newindex = function() error('metatable newindex') end}",
                  1),
              "");
    lua_setmetatable(L, -2);
    lua_setglobal(L, "w");
    EXPECT_EQ(eval("w.width"), "10");
    EXPECT_EQ(eval("w.other"), "nil");
    EXPECT_EQ(run("w.width = 3"), "");
    EXPECT_EQ(eval("w.width"), "3");

    // Without handlers the metatable applies.
    void* block = luaKelo_push_userdata_new(L, 16);
    ASSERT_NE(block, nullptr);
    lua_setglobal(L, "u");
    EXPECT_EQ(run("return u.x"), "test:1: attempt to index global 'u' (a userdata value)");
    EXPECT_EQ(run("debug.setmetatable(u, {__index = function(_, k) return k .. '!' end})"), "");
    EXPECT_EQ(eval("u.x"), "x!");
    luaKelo_userdata_setcfuncs(block, nullptr, widgetIndex); // index only
    EXPECT_EQ(run("u.y = 1"), "test:1: attempt to index global 'u' (a userdata value)");
}

TEST_F(FastUserData, NativeFinaliserRunsOnceInsteadOfGcAndAtClose)
{
    pushWidget();
    ASSERT_EQ(run("gcRan = 0 return {__gc = function() gcRan = gcRan + 1 end}", 1), "");
    lua_setmetatable(L, -2);
    lua_pop(L, 1);
    lua_gc(L, LUA_GCCOLLECT, 0);
    lua_gc(L, LUA_GCCOLLECT, 0);
    EXPECT_EQ(finalised, 1);
    EXPECT_EQ(eval("gcRan"), "0");
    lua_gc(L, LUA_GCCOLLECT, 0);
    EXPECT_EQ(finalised, 1);

    // A block without a metatable that is still referenced is finalised at close.
    pushWidget();
    lua_setglobal(L, "kept");
    lua_gc(L, LUA_GCCOLLECT, 0);
    EXPECT_EQ(finalised, 1);
    lua_close(L);
    L = nullptr;
    EXPECT_EQ(finalised, 2);
}

TEST_F(FastUserData, PushingTheBlockGivesTheSameValue)
{
    Widget* w = pushWidget();
    lua_setglobal(L, "w");
    luaKelo_pushuserdata(L, w);
    luaV_pushuserdata(L, w);
    lua_getglobal(L, "w");
    EXPECT_TRUE(lua_rawequal(L, -1, -2));
    EXPECT_TRUE(lua_rawequal(L, -1, -3));
    EXPECT_EQ(lua_touserdata(L, -1), static_cast<void*>(w));
    EXPECT_EQ(luaKelo_top_userdata(L), static_cast<void*>(w));
    EXPECT_EQ(luaKelo_stack_userdata(L, -2), static_cast<void*>(w));
    lua_settop(L, 0);
}

int makeInFunction(lua_State* L)
{
    luaKelo_push_userdata_new(L, 4);
    return 1;
}

TEST_F(FastUserData, EnvironmentIsTheRunningFunctions)
{
    void* outside = luaKelo_push_userdata_new(L, 4);
    lua_pushvalue(L, LUA_GLOBALSINDEX);
    EXPECT_EQ(luaKelo_userdata_getfenv(outside), luaKelo_top_table(L));
    EXPECT_EQ(luaKelo_stack_get_fenv(L, -2), luaKelo_top_table(L));
    lua_settop(L, 0);

    // A C function with its own environment table gives that table to new userdata.
    lua_pushcfunction(L, makeInFunction);
    lua_newtable(L);
    LuaTable* env = luaKelo_top_table(L);
    lua_setfenv(L, -2);
    lua_call(L, 0, 1);
    void* inside = lua_touserdata(L, -1);
    EXPECT_EQ(luaKelo_userdata_getfenv(inside), env);

    LuaTable* replacement = luaKelo_table_new(L, 0);
    luaKelo_userdata_setfenv(L, inside, replacement);
    EXPECT_EQ(luaKelo_userdata_getfenv(inside), replacement);
    lua_getfenv(L, -1);
    EXPECT_EQ(luaKelo_top_table(L), replacement);
    lua_settop(L, 0);
    EXPECT_EQ(luaKelo_stack_get_fenv(L, 1), nullptr);
}

int callWatcherFromC(lua_State* L)
{
    LuaTValue notAFunction;
    luaKelo_tvalue_set_boolean(&notAFunction, 1);
    luaKelo_call_watcher(L, &notAFunction, lua_touserdata(L, 1), luaKelo_string_new(L, "k", 1),
                         &notAFunction);
    return 0;
}

// Calls the watcher stored in the global "watcher" from inside the newindex handler.
void notifyingNewIndex(lua_State* L, LuaFastUserDataHolder* block, const LuaTValue* key,
                       const LuaTValue* value)
{
    lua_getglobal(L, "watcher");
    LuaTValue watcher = *luaKelo_top_tvalue(L);
    lua_pop(L, 1);
    luaKelo_call_watcher(L, &watcher, block, luaKelo_tvalue_string(key), value);
}

TEST_F(FastUserData, WatchersGetObjectKeyAndValueAndNestedOnesHitTheCStackLimit)
{
    void* block = luaKelo_push_userdata_new(L, 8);
    luaKelo_userdata_setcfuncs(block, notifyingNewIndex, nullptr);
    lua_setglobal(L, "obj");
    ASSERT_EQ(run("seen = '' function watcher(o, k, v) seen = tostring(o == obj) .. k .. v end"),
              "");
    EXPECT_EQ(run("obj.title = 'x'"), "");
    EXPECT_EQ(eval("seen"), "truetitlex");
    EXPECT_EQ(run("watcher = 5\n obj.a = 1"), "test:2: erroring! watcher not a function (-2)");
    EXPECT_EQ(run("watcher = nil obj.a = 1"), "test:1: erroring! watcher not a function (0)");
    EXPECT_EQ(run("function watcher() error('from watcher') end obj.a = 1"),
              "test:1: from watcher");
    // Called from native code the error has no position.
    EXPECT_EQ(protect(callWatcherFromC, block), "erroring! watcher not a function (1)");

    // Nested watchers hit the C stack limit.
    ASSERT_EQ(run("depth = 0 function watcher(o, k, v) depth = depth + 1 o[k] = v end"), "");
    std::string error = run("obj.loop = 1");
    EXPECT_NE(error.find("C stack overflow"), std::string::npos) << error;
    EXPECT_EQ(eval("depth > 100 and depth < 200"), "true");
}

} // namespace
