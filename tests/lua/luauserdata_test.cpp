// Typed userdata: lifetime shared between native pointers and Lua, one metatable per type,
// properties through a sorted IndexedValue table, private fields, and the argument checks.
#include "kapi/lua/IndexedValue.h"
#include "kapi/lua/LuaUserData.h"

#include "LuaTestState.h"

#include <gtest/gtest.h>

#include <cstdio>

using Kapi::Lua::IndexedValue;
using Kapi::Lua::LuaUserData;

namespace {

const char* const kTypeName = "test.Gadget";

class Gadget : public LuaUserData
{
public:
    enum Property
    {
        NOT_FOUND = -1,
        READ_ONLY = -2,
        COUNT = 1,
        DESCRIBE = 2,
        NAME = 3
    };

    Gadget() : LuaUserData(kTypeName) {}

    static int s_describe(lua_State* L)
    {
        auto* self = static_cast<Gadget*>(fromStack(L, 1, kTypeName));
        lua_pushfstring(L, "%s has %d", self->m_name.c_str(), self->m_count);
        return 1;
    }

    void fillMetatable(lua_State* L) override
    {
        ++s_metatablesFilled;
        lua_pushstring(L, "gadget");
        lua_setfield(L, -2, "kind");
    }
    void gc(lua_State*) override { ++m_gcCalls; }

    int index(lua_State* L) override
    {
        switch (IndexedValue::index(L, lua_tostring(L, 2), s_rows, sizeof s_rows / sizeof *s_rows,
                                    NOT_FOUND)) {
        case COUNT:
            lua_pushinteger(L, m_count);
            return 1;
        case NAME:
            lua_pushstring(L, m_name.c_str());
            return 1;
        case DESCRIBE:
            return 1; // the function was pushed
        default:
            return indexPrivateData(L);
        }
    }

    int newindex(lua_State* L) override
    {
        switch (IndexedValue::newindex(L, lua_tostring(L, 2), s_rows,
                                       sizeof s_rows / sizeof *s_rows, NOT_FOUND, READ_ONLY)) {
        case NAME:
            m_name = luaL_checkstring(L, 3);
            return 0;
        case READ_ONLY:
            return lua_error(L);
        default:
            return newindexPrivateData(L);
        }
    }

    static const IndexedValue s_rows[3];
    static int s_metatablesFilled;
    int m_count = 3;
    std::string m_name = "widget";
    int m_gcCalls = 0;
};

const IndexedValue Gadget::s_rows[3] = {
    {"count", 1, COUNT, nullptr, false},
    {"describe", IndexedValue::KIND_METHOD, DESCRIBE, &Gadget::s_describe, false},
    {"name", 1, NAME, nullptr, true},
};
int Gadget::s_metatablesFilled = 0;

class LuaUserDataTest : public ::testing::Test
{
protected:
    void SetUp() override { Gadget::s_metatablesFilled = 0; }

    // Makes the object's userdata and stores it in a global.
    void expose(const std::shared_ptr<Gadget>& gadget, const char* global)
    {
        gadget->makeOnStack(m_lua);
        lua_setglobal(m_lua, global);
    }

    LuaTestState m_lua;
};

TEST_F(LuaUserDataTest, PropertiesMethodsAndPrivateFields)
{
    ASSERT_TRUE(IndexedValue::isArrayOrdered(Gadget::s_rows, 3));
    auto gadget = std::make_shared<Gadget>();
    expose(gadget, "g");
    EXPECT_EQ(m_lua.eval("g.count"), "3");
    EXPECT_EQ(m_lua.eval("g:describe()"), "widget has 3");
    EXPECT_EQ(m_lua.run("g.name = 'gizmo'"), "");
    EXPECT_EQ(gadget->m_name, "gizmo");
    EXPECT_EQ(m_lua.run("g.count = 4"), "Cannot assign value to count");
    EXPECT_EQ(gadget->m_count, 3);

    // Names the class does not know go to the object's private table.
    EXPECT_EQ(m_lua.eval("g.extra"), "nil");
    EXPECT_EQ(m_lua.run("g.extra = {1, 2}; g[7] = 'seven'"), "");
    EXPECT_EQ(m_lua.eval("#g.extra .. g[7]"), "2seven");
    auto other = std::make_shared<Gadget>();
    expose(other, "h");
    EXPECT_EQ(m_lua.eval("h.extra"), "nil");
}

TEST_F(LuaUserDataTest, OneMetatablePerTypeAndIdentityThroughPush)
{
    auto first = std::make_shared<Gadget>();
    auto second = std::make_shared<Gadget>();
    expose(first, "a");
    expose(second, "b");
    EXPECT_EQ(Gadget::s_metatablesFilled, 1);
    EXPECT_EQ(m_lua.eval("getmetatable(a) == getmetatable(b)"), "true");
    EXPECT_EQ(m_lua.eval("getmetatable(a).kind"), "gadget");

    ASSERT_TRUE(first->hasUserData());
    first->push(m_lua);
    lua_getglobal(m_lua, "a");
    EXPECT_TRUE(lua_rawequal(m_lua, -1, -2));
    EXPECT_EQ(LuaUserData::fromStack(m_lua, -1, kTypeName), first.get());
    EXPECT_EQ(LuaUserData::fromStack(m_lua, -1, nullptr), first.get());
    lua_pop(m_lua, 2);

    char expected[64];
    snprintf(expected, sizeof expected, "%s<%p>", kTypeName, static_cast<void*>(first.get()));
    EXPECT_EQ(m_lua.eval("a"), expected);
}

TEST_F(LuaUserDataTest, LuaKeepsTheObjectAliveUntilCollectedAndThenLetsGo)
{
    auto gadget = std::make_shared<Gadget>();
    std::weak_ptr<Gadget> watch = gadget;
    Gadget* raw = gadget.get();
    expose(gadget, "g");
    gadget.reset();
    ASSERT_FALSE(watch.expired());
    EXPECT_EQ(m_lua.run("collectgarbage()"), "");
    ASSERT_FALSE(watch.expired()); // still referenced by the global
    EXPECT_EQ(raw->m_gcCalls, 0);

    EXPECT_EQ(m_lua.run("g = nil; collectgarbage(); collectgarbage()"), "");
    EXPECT_TRUE(watch.expired());

    // Collection clears the userdata but not a natively held object.
    gadget = std::make_shared<Gadget>();
    expose(gadget, "g");
    EXPECT_EQ(m_lua.run("g.note = 'first life'"), "");
    EXPECT_EQ(m_lua.run("g = nil; collectgarbage(); collectgarbage()"), "");
    EXPECT_EQ(gadget->m_gcCalls, 1);
    EXPECT_FALSE(gadget->hasUserData());
    EXPECT_EQ(gadget.use_count(), 1);

    // A new userdata starts with a fresh private table.
    expose(gadget, "g");
    EXPECT_EQ(m_lua.eval("g.note"), "nil");
    EXPECT_EQ(m_lua.run("g.note = 'second life'"), "");
    EXPECT_EQ(m_lua.eval("g.note"), "second life");
}

int checkGadget(lua_State* L)
{
    LuaUserData::fromStack(L, 1, kTypeName);
    return 0;
}

TEST_F(LuaUserDataTest, TypeChecksRaiseArgumentErrorsAndOnlySharedObjectsAreExposed)
{
    m_lua.setGlobalFunction("check", checkGadget);
    const std::string error = m_lua.run("check(5)");
    EXPECT_NE(error.find("bad argument #1"), std::string::npos) << error;
    EXPECT_NE(error.find(kTypeName), std::string::npos) << error;

    lua_newuserdata(m_lua, 3);
    EXPECT_EQ(LuaUserData::fromStack(m_lua, -1, nullptr), nullptr);
    lua_pushinteger(m_lua, 1);
    EXPECT_EQ(LuaUserData::fromStack(m_lua, -1, nullptr), nullptr);
    lua_settop(m_lua, 0);

    // An object not owned by a shared pointer cannot be exposed.
    Gadget onStack;
    EXPECT_THROW(onStack.makeOnStack(m_lua), std::bad_weak_ptr);
    EXPECT_EQ(lua_gettop(m_lua), 0);
    EXPECT_FALSE(onStack.hasUserData());
}

TEST(IndexedValue, LookupsAndOrderCheck)
{
    LuaTestState lua;
    const IndexedValue* rows = Gadget::s_rows;
    EXPECT_EQ(IndexedValue::index(lua, "count", rows, 3, -1), Gadget::COUNT);
    EXPECT_EQ(lua_gettop(lua), 0); // not a method: nothing pushed
    EXPECT_EQ(IndexedValue::index(lua, "describe", rows, 3, -1), Gadget::DESCRIBE);
    EXPECT_EQ(lua_tocfunction(lua, -1), &Gadget::s_describe);
    lua_pop(lua, 1);
    EXPECT_EQ(IndexedValue::index(lua, "counts", rows, 3, -1), -1);
    EXPECT_EQ(IndexedValue::index(lua, "a", rows, 3, -1), -1);
    EXPECT_EQ(IndexedValue::index(lua, "zz", rows, 3, -1), -1);
    EXPECT_EQ(IndexedValue::index(lua, "count", rows, 0, -5), -5);

    EXPECT_EQ(IndexedValue::newindex(lua, "name", rows, 3, -1, -2), Gadget::NAME);
    EXPECT_EQ(IndexedValue::newindex(lua, "unknown", rows, 3, -1, -2), -1);
    EXPECT_EQ(lua_gettop(lua), 0);
    EXPECT_EQ(IndexedValue::newindex(lua, "count", rows, 3, -1, -2), -2);
    EXPECT_STREQ(lua_tostring(lua, -1), "Cannot assign value to count");

    const IndexedValue unsorted[] = {{"b", 1, 1, nullptr, false}, {"a", 1, 2, nullptr, false}};
    const IndexedValue duplicate[] = {{"a", 1, 1, nullptr, false}, {"a", 1, 2, nullptr, false}};
    EXPECT_FALSE(IndexedValue::isArrayOrdered(unsorted, 2));
    EXPECT_FALSE(IndexedValue::isArrayOrdered(duplicate, 2));
    EXPECT_TRUE(IndexedValue::isArrayOrdered(unsorted, 1));
    EXPECT_TRUE(IndexedValue::isArrayOrdered(nullptr, 0));
}

} // namespace
