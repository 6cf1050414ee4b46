#ifndef KAPI_LUA_SERIALIZATION_H
#define KAPI_LUA_SERIALIZATION_H
// Lua tables as compact binary records, and back.
//
// Record: a 32-bit big-endian format number (always 1), then a table body. A table body is a
// 32-bit big-endian entry count and that many (key, value) pairs; every key and value is a
// type byte and its payload:
//   1 boolean (1 byte: 1 or 0)   2 int8   3 int16   4 int32   5 int64 (big-endian, two's
//   complement)   6 nil (no payload)   7 string (32-bit big-endian length, then the bytes)
//   8 table (a table body)
// Keys are numbers or strings. Numbers are written as integers truncated toward zero in the
// narrowest form that holds them. A record never grows beyond kMaxRecordSize bytes. An empty
// table is exactly 00 00 00 01 00 00 00 00.
//
// Known properties of the format, kept on purpose: a non-empty string that begins with a zero
// byte is written as its length only (the record is unreadable from there), and strings read
// back end at their first zero byte.
//
// The reader never reads past the end of the buffer: a truncated or malformed record fails with
// an error text and leaves the Lua stack as it was. Everything runs on the thread that owns the
// Lua state; no function here raises a Lua error.
#include "kapi/Buffer.h"

#include <memory>
#include <string>

struct lua_State;

namespace Kapi {
namespace Lua {

constexpr unsigned kMaxRecordSize = 60000;

enum BinaryType : signed char
{
    BINARY_BOOLEAN = 1,
    BINARY_INT8 = 2,
    BINARY_INT16 = 3,
    BINARY_INT32 = 4,
    BINARY_INT64 = 5,
    BINARY_NIL = 6,
    BINARY_STRING = 7,
    BINARY_TABLE = 8
};

// The record of the table at `index`, or null with `error` saying why (not a table: "Expected a
// table"). The stack is left as it was.
std::shared_ptr<Buffer> serializeFromTable(lua_State* L, int index, std::string& error);
// Reads the record from the buffer's valid bytes (advancing its begin past what was read) and
// pushes the table: 1. Or 0 with `error` set and the stack as it was. An empty buffer gives an
// empty table; a format number other than 1 is logged as an error on the "lua" source.
int deserializeToTable(lua_State* L, std::shared_ptr<Buffer>& buffer, std::string& error);
// True when the buffer holds exactly an empty table's 8 bytes (format number not checked).
bool serializedTableIsEmpty(const std::shared_ptr<Buffer>& buffer);
// Entries of the table at `index` whose key is a boolean, number, string or table.
int tableCountSerializableValues(lua_State* L, int index);

// For the script functions. Each pushes one value: the record as a string (1) or the table
// (1), or an error text (0).
int tableSerialize(lua_State* L, int index);
int tableDeserialize(lua_State* L, int index);
// Script-callable forms (kelo.tableSerialize / kelo.tableDeserialize): they work on the top of
// the stack and raise the error text as a Lua error.
int luaTableSerialize(lua_State* L);
int luaTableDeserialize(lua_State* L);

} // namespace Lua
} // namespace Kapi

#endif
