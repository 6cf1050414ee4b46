#ifndef KAPI_LUA_LUAJSON_H
#define KAPI_LUA_LUAJSON_H
// JSON text <-> Lua values, for the "json" script module.
//
// JsonReader builds the value on the Lua stack from the JSON reader's callbacks: containers
// are new tables, arrays 1-based sequences; a null member or element stores nothing; numbers
// snap to integers the way luaKelo_pushdouble does.
//
// JsonWriter writes the value on top of the stack: nil and functions as null, numbers as
// tostring writes them, strings between double quotes exactly as they are (no escaping, so a
// quote, backslash or control character inside gives text that is not valid JSON; kept as the
// module's documented behaviour). A table is an array when every key is a number (numeric
// strings count), values in ascending key order, indices not written and gaps not filled; else an
// object with every key written as text. An empty table is []. Other values fail, with a
// warning on the "lua" log.
//
// Both run on the thread that owns the Lua state and never raise Lua errors.
#include "kapi/JsonParser.h"

#include <string>

struct lua_State;

namespace Kapi {
namespace Lua {

class JsonReader : public JsonParser
{
public:
    JsonReader(lua_State* L, const char* text);
    // Parses the text and pushes its value: true. False with the stack as it was.
    bool read();

protected:
    void gotBoolean(bool value) override;
    void gotNull() override;
    void gotNumber(double value, bool isFloat) override;
    void gotString(const char* value) override;
    void arrayBegin() override;
    void arrayNewItem(int index) override;
    void objectBegin() override;
    void objectNewField() override;

private:
    // False (and from then on every callback ignored) once the stack cannot grow.
    bool room_i();

    lua_State* m_L;
    bool m_failed = false;
};

class JsonWriter
{
public:
    explicit JsonWriter(lua_State* L) : m_L(L) {}
    // Appends the value on top of the stack to the text; false on a value that cannot be
    // written. The stack is left as it was either way.
    bool write();
    const std::string& getText() const { return m_text; }

private:
    bool writeAt_i(int index, int depth);
    bool writeTable_i(int index, int depth);
    bool writeArray_i(int index, int depth);

    lua_State* m_L;
    std::string m_text;
};

} // namespace Lua
} // namespace Kapi

#endif
