#ifndef KAPI_LUA_LUADUMP_H
#define KAPI_LUA_LUADUMP_H
// Readable text of Lua values, tables and the stack, for logs and debugging. Runs on the
// thread that owns the Lua state; every function leaves the stack as it found it.
//
// Table dump layout (one line per entry, each line starting with `level` tabs):
//   array part, i = 1..#t, non-nil:   [i]=<value>          or  [i]=  /  {  /  <nested>  /  }
//   other non-table entries by key:   <key>=<value>
//   other table entries by key:       <key>={  /  <nested>  /  }
// A table already being dumped further up (a cycle) is written as a plain value, "table <p>".
#include "kapi/vLog.h"

#include <ostream>
#include <string>

struct lua_State;

namespace Kapi {
namespace Lua {

// One printed entry: ordered by its key text.
struct Entry
{
    std::string key;
    std::string value;
    bool operator<(const Entry& other) const { return key < other.key; }
};

// -1 "none", 0 "nil", 1 "boolean", 2 "lightuserdata", 3 "number", 4 "string", 5 "table",
// 6 "function", 7 "userdata", 8 "thread", anything else "unknown".
const char* typeToString(int type);
// nil and none -> ""; booleans; numbers as integers ("%d"); strings in double quotes; tables
// dumped at `indent`; other values "<type name> <address>".
std::string valueToString(lua_State* L, int index, int indent);
// The key at -2 during a traversal: number "%d", string, boolean, else "".
std::string tableKeyToString(lua_State* L);
// True when the key at -2 is a number whose integer value lies in 1..n.
bool ignoreEntry(lua_State* L, int index, int n);
void printIndent(const char* indent, int level, std::ostream& stream);
// False (with partial output) when the value is not a table or a nested dump fails.
bool tableToStream(lua_State* L, int index, int level, std::ostream& stream);
// tableToStream() into a string without trailing white space; "" on failure.
std::string tableToString(lua_State* L, int index, int level);
// "Dumping LUA stack.  top=%d" and one "%d: %s %s" line per slot, to standard output or the log.
void printStack(lua_State* L);
void dumpStackToLog(lua_State* L, vLogSource source, vLogLevel level);

} // namespace Lua
} // namespace Kapi

#endif
