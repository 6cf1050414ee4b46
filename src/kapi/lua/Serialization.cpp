// The table record writer and reader. Both recurse once per nested table, at most kMaxNesting
// levels deep, so a cyclic or hostile input ends in an error instead of exhausting the native or
// the Lua stack. A failure deep inside is reported as "Failed to ... table value->" once per
// enclosing table followed by the innermost message; the prefixes are counted on the way out
// and joined once, so deep failures cost linear time.
#include "kapi/lua/Serialization.h"

#include "kapi/lua/LuaHeaders.h"
#include "kapi/vLog.h"

#include <cstring>
#include <vector>

namespace Kapi {
namespace Lua {
namespace {

constexpr unsigned kFormatNumber = 1;
constexpr unsigned kInitialCapacity = 4096;
constexpr int kMaxNesting = 1000;
constexpr int kStackNeed = 4;

// What failed, innermost message first, and how many table levels it sits below the top.
struct Failure
{
    std::string message;
    int wraps = 0;

    bool fail(std::string text)
    {
        message = std::move(text);
        return false;
    }

    std::string compose(const char* prefix) const
    {
        std::string text;
        text.reserve(wraps * strlen(prefix) + message.size());
        for (int i = 0; i < wraps; ++i) {
            text += prefix;
        }
        return text + message;
    }
};

std::string nestingMessage()
{
    return "Table nesting exceeds " + std::to_string(kMaxNesting) + " levels";
}

std::string sizeMessage()
{
    return "Data size exceeds " + std::to_string(kMaxRecordSize) + " byte limit";
}

// ---- writing ----

bool bufferAppendInt8(Buffer& buffer, int8 value)
{
    return buffer.append(&value, 1);
}

bool bufferAppendBigEndian(Buffer& buffer, uint64 value, unsigned size)
{
    unsigned char bytes[8];
    for (unsigned i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(value >> (8 * (size - 1 - i)));
    }
    return buffer.append(bytes, size);
}

bool bufferAppendInt32(Buffer& buffer, uint32 value)
{
    return bufferAppendBigEndian(buffer, value, 4);
}

bool serializeNumber(lua_State* L, int index, Buffer& buffer)
{
    const int64 value = luaKelo_toint64(L, index);
    if (value >= INT8_MIN && value <= INT8_MAX) {
        return bufferAppendInt8(buffer, BINARY_INT8) &&
               bufferAppendBigEndian(buffer, static_cast<uint64>(value), 1);
    }
    if (value >= INT16_MIN && value <= INT16_MAX) {
        return bufferAppendInt8(buffer, BINARY_INT16) &&
               bufferAppendBigEndian(buffer, static_cast<uint64>(value), 2);
    }
    if (value >= INT32_MIN && value <= INT32_MAX) {
        return bufferAppendInt8(buffer, BINARY_INT32) &&
               bufferAppendBigEndian(buffer, static_cast<uint64>(value), 4);
    }
    return bufferAppendInt8(buffer, BINARY_INT64) &&
           bufferAppendBigEndian(buffer, static_cast<uint64>(value), 8);
}

// The value at `index` is a string. A string that could never fit in a record is refused
// before copying it.
bool serializeString(lua_State* L, int index, Buffer& buffer, Failure& failure)
{
    size_t length = 0;
    const char* text = lua_tolstring(L, index, &length);
    if (length > kMaxRecordSize) {
        return failure.fail(sizeMessage());
    }
    if (!bufferAppendInt8(buffer, BINARY_STRING) ||
        !bufferAppendInt32(buffer, static_cast<uint32>(length))) {
        return false;
    }
    if (length == 0 || text[0] == '\0') {
        return true;
    }
    return buffer.append(text, static_cast<unsigned>(length));
}

bool serialize(lua_State* L, int index, Buffer& buffer, Failure& failure, int depth);

bool serializeValue(lua_State* L, Buffer& buffer, Failure& failure, int depth)
{
    const int type = lua_type(L, -1);
    switch (type) {
    case LUA_TNIL:
        return bufferAppendInt8(buffer, BINARY_NIL) || failure.fail("Out of memory");
    case LUA_TBOOLEAN:
        return (bufferAppendInt8(buffer, BINARY_BOOLEAN) &&
                bufferAppendInt8(buffer, lua_toboolean(L, -1) ? 1 : 0)) ||
               failure.fail("Out of memory");
    case LUA_TNUMBER:
        return serializeNumber(L, -1, buffer) || failure.fail("Failed to serialize integer value");
    case LUA_TSTRING:
        if (serializeString(L, -1, buffer, failure)) {
            return true;
        }
        return failure.message.empty() ? failure.fail("Failed to serialize string value") : false;
    case LUA_TTABLE:
        if (!bufferAppendInt8(buffer, BINARY_TABLE)) {
            return failure.fail("Out of memory");
        }
        if (buffer.getLength() > kMaxRecordSize) {
            return failure.fail(sizeMessage());
        }
        if (!serialize(L, lua_gettop(L), buffer, failure, depth + 1)) {
            ++failure.wraps;
            return false;
        }
        return true;
    default:
        return failure.fail(std::string("Invalid type '") + lua_typename(L, type) + "' for value");
    }
}

bool serialize(lua_State* L, int index, Buffer& buffer, Failure& failure, int depth)
{
    if (!lua_istable(L, index)) {
        return failure.fail("Value is not a table");
    }
    if (depth > kMaxNesting || !lua_checkstack(L, kStackNeed)) {
        return failure.fail(nestingMessage());
    }
    if (!bufferAppendInt32(buffer, static_cast<uint32>(tableCountSerializableValues(L, index)))) {
        return failure.fail("Out of memory");
    }
    lua_pushnil(L);
    while (lua_next(L, index) != 0) {
        const int keyType = lua_type(L, -2);
        bool ok;
        if (keyType == LUA_TSTRING) {
            ok = serializeString(L, -2, buffer, failure) ||
                 (failure.message.empty() && failure.fail("Failed to serialize string key"));
        } else if (keyType == LUA_TNUMBER) {
            ok = serializeNumber(L, -2, buffer) || failure.fail("Failed to serialize integer key");
        } else {
            ok = failure.fail(std::string("Invalid type '") + lua_typename(L, keyType) +
                              "' for key");
        }
        ok = ok && serializeValue(L, buffer, failure, depth);
        if (ok && buffer.getLength() > kMaxRecordSize) {
            ok = failure.fail(sizeMessage());
        }
        if (!ok) {
            lua_pop(L, 2);
            return false;
        }
        lua_pop(L, 1);
    }
    return true;
}

// ---- reading ----

// The unread bytes of a record; every read checks what remains.
class Reader
{
public:
    Reader(const unsigned char* bytes, unsigned length) : m_pos(bytes), m_end(bytes + length) {}

    unsigned remaining() const { return static_cast<unsigned>(m_end - m_pos); }
    const unsigned char* position() const { return m_pos; }

    bool bufferRemoveInt8(int8& out)
    {
        uint64 value;
        if (!bigEndian(1, value)) {
            return false;
        }
        out = static_cast<int8>(value);
        return true;
    }

    bool bufferRemoveInt32(uint32& out)
    {
        uint64 value;
        if (!bigEndian(4, value)) {
            return false;
        }
        out = static_cast<uint32>(value);
        return true;
    }

    bool bigEndian(unsigned size, uint64& out)
    {
        if (remaining() < size) {
            return false;
        }
        out = 0;
        for (unsigned i = 0; i < size; ++i) {
            out = (out << 8) | m_pos[i];
        }
        m_pos += size;
        return true;
    }

    // The text up to its first zero byte; the whole counted length is consumed.
    bool bufferRemoveString(std::string& out)
    {
        uint32 length;
        if (!bufferRemoveInt32(length) || remaining() < length) {
            return false;
        }
        const void* zero = memchr(m_pos, 0, length);
        const size_t used =
            zero != nullptr ? static_cast<const unsigned char*>(zero) - m_pos : length;
        out.assign(reinterpret_cast<const char*>(m_pos), used);
        m_pos += length;
        return true;
    }

private:
    const unsigned char* m_pos;
    const unsigned char* m_end;
};

// Pushes the number of type `type` (2..5).
bool deserializeNumber(lua_State* L, Reader& reader, int8 type)
{
    static const unsigned kSizes[] = {1, 2, 4, 8};
    const unsigned size = kSizes[type - BINARY_INT8];
    uint64 raw;
    if (!reader.bigEndian(size, raw)) {
        return false;
    }
    if (size == 8) {
        luaKelo_pushint64(L, static_cast<int64>(raw));
        return true;
    }
    // Sign-extend from `size` bytes.
    const unsigned shift = 64 - 8 * size;
    const int64 value = static_cast<int64>(raw << shift) >> shift;
    lua_pushinteger(L, static_cast<lua_Integer>(value));
    return true;
}

bool deserializeString(lua_State* L, Reader& reader)
{
    std::string text;
    if (!reader.bufferRemoveString(text)) {
        return false;
    }
    lua_pushlstring(L, text.data(), text.size());
    return true;
}

bool isNumberType(int8 type)
{
    return type >= BINARY_INT8 && type <= BINARY_INT64;
}

bool deserialize(lua_State* L, Reader& reader, Failure& failure, int depth);

// Pushes one value of a pair.
bool deserializeValue(lua_State* L, Reader& reader, Failure& failure, int depth)
{
    int8 type;
    if (!reader.bufferRemoveInt8(type)) {
        return failure.fail("Failed to deserialize value type");
    }
    switch (type) {
    case BINARY_BOOLEAN: {
        int8 flag;
        if (!reader.bufferRemoveInt8(flag)) {
            return failure.fail("Failed to deserialize boolean value");
        }
        lua_pushboolean(L, flag != 0);
        return true;
    }
    case BINARY_INT8:
    case BINARY_INT16:
    case BINARY_INT32:
    case BINARY_INT64:
        return deserializeNumber(L, reader, type) ||
               failure.fail("Failed to deserialize number value");
    case BINARY_NIL:
        lua_pushnil(L);
        return true;
    case BINARY_STRING:
        return deserializeString(L, reader) || failure.fail("Failed to deserialize string value");
    case BINARY_TABLE:
        if (!deserialize(L, reader, failure, depth + 1)) {
            ++failure.wraps;
            return false;
        }
        return true;
    default:
        return failure.fail("Invalid type " + std::to_string(type) + " for value");
    }
}

// Pushes the table whose body starts at the reader, or leaves what it pushed for the caller to
// discard.
bool deserialize(lua_State* L, Reader& reader, Failure& failure, int depth)
{
    if (depth > kMaxNesting || !lua_checkstack(L, kStackNeed)) {
        return failure.fail(nestingMessage());
    }
    lua_newtable(L);
    if (reader.remaining() == 0) {
        return true;
    }
    uint32 count;
    if (!reader.bufferRemoveInt32(count)) {
        return failure.fail("Failed to deserialize table size");
    }
    for (uint32 i = 0; i < count; ++i) {
        int8 keyType;
        if (!reader.bufferRemoveInt8(keyType)) {
            return failure.fail("Failed to deserialize key type");
        }
        if (isNumberType(keyType)) {
            if (!deserializeNumber(L, reader, keyType)) {
                return failure.fail("Failed to deserialize number key");
            }
        } else if (keyType == BINARY_STRING) {
            if (!deserializeString(L, reader)) {
                return failure.fail("Failed to deserialize string key");
            }
        } else {
            return failure.fail("Invalid type " + std::to_string(keyType) + " for key");
        }
        if (!deserializeValue(L, reader, failure, depth)) {
            return false;
        }
        lua_settable(L, -3);
    }
    return true;
}

std::shared_ptr<Buffer> newRecordBuffer()
{
    auto buffer = std::make_shared<Buffer>(kInitialCapacity);
    return buffer->getReservedSize() != 0 ? buffer : nullptr;
}

int absolute(lua_State* L, int index)
{
    return index < 0 && index > LUA_REGISTRYINDEX ? lua_gettop(L) + index + 1 : index;
}

} // namespace

std::shared_ptr<Buffer> serializeFromTable(lua_State* L, int index, std::string& error)
{
    error.clear();
    const int top = lua_gettop(L);
    index = absolute(L, index);
    std::shared_ptr<Buffer> buffer = newRecordBuffer();
    Failure failure;
    bool ok;
    if (buffer == nullptr) {
        ok = failure.fail("Out of memory");
    } else {
        ok = (bufferAppendInt32(*buffer, kFormatNumber) || failure.fail("Out of memory")) &&
             serialize(L, index, *buffer, failure, 0);
    }
    lua_settop(L, top);
    if (!ok) {
        error = failure.compose("Failed to serialize table value->");
        return nullptr;
    }
    return buffer;
}

int deserializeToTable(lua_State* L, std::shared_ptr<Buffer>& buffer, std::string& error)
{
    error.clear();
    if (buffer == nullptr || buffer->getLength() == 0) {
        lua_newtable(L);
        return 1;
    }
    const int top = lua_gettop(L);
    Reader reader(buffer->getBeginPtr(), buffer->getLength());
    Failure failure;
    uint32 format = 0;
    bool ok;
    if (!reader.bufferRemoveInt32(format)) {
        ok = failure.fail("Failed to deserialize data format");
    } else if (format != kFormatNumber) {
        if (vLogLevelEnabled(VLOGSRC_LUA, VLOG_ERROR))
            vLogMessage(VLOGSRC_LUA, VLOG_ERROR, "deserializeToTable: Unexpected data format %u",
                        format);
        ok = failure.fail("Unexpected data format " + std::to_string(format));
    } else {
        ok = deserialize(L, reader, failure, 0);
    }
    buffer->setBegin(static_cast<unsigned>(reader.position() - buffer->getData()));
    if (!ok) {
        lua_settop(L, top);
        error = failure.compose("Failed to deserialize table value->");
        return 0;
    }
    return 1;
}

bool serializedTableIsEmpty(const std::shared_ptr<Buffer>& buffer)
{
    if (buffer == nullptr || buffer->getLength() != 8) {
        return false;
    }
    const unsigned char* bytes = buffer->getBeginPtr();
    return bytes[4] == 0 && bytes[5] == 0 && bytes[6] == 0 && bytes[7] == 0;
}

int tableCountSerializableValues(lua_State* L, int index)
{
    if (!lua_istable(L, index) || !lua_checkstack(L, 2)) {
        return 0;
    }
    index = absolute(L, index);
    int count = 0;
    lua_pushnil(L);
    while (lua_next(L, index) != 0) {
        switch (lua_type(L, -2)) {
        case LUA_TBOOLEAN:
        case LUA_TNUMBER:
        case LUA_TSTRING:
        case LUA_TTABLE:
            ++count;
            break;
        default:
            break;
        }
        lua_pop(L, 1);
    }
    return count;
}

int tableSerialize(lua_State* L, int index)
{
    if (index == 0 || !lua_istable(L, index)) {
        lua_pushstring(L, "Expected a single table argument");
        return 0;
    }
    std::string error;
    std::shared_ptr<Buffer> buffer = serializeFromTable(L, index, error);
    if (buffer == nullptr) {
        lua_pushlstring(L, error.data(), error.size());
        return 0;
    }
    lua_pushlstring(L, reinterpret_cast<const char*>(buffer->getBeginPtr()), buffer->getLength());
    return 1;
}

int tableDeserialize(lua_State* L, int index)
{
    if (index == 0 || lua_type(L, index) != LUA_TSTRING) {
        lua_pushstring(L, "Expected a single string argument");
        return 0;
    }
    size_t length = 0;
    const char* bytes = lua_tolstring(L, index, &length);
    if (length == 0) {
        lua_newtable(L);
        return 1;
    }
    auto buffer = std::make_shared<Buffer>();
    std::string error;
    if (length > UINT32_MAX || !buffer->assign(bytes, static_cast<unsigned>(length))) {
        lua_pushstring(L, "Out of memory");
        return 0;
    }
    if (deserializeToTable(L, buffer, error) == 0) {
        lua_pushlstring(L, error.data(), error.size());
        return 0;
    }
    return 1;
}

int luaTableSerialize(lua_State* L)
{
    if (tableSerialize(L, lua_gettop(L)) == 0) {
        return lua_error(L);
    }
    return 1;
}

int luaTableDeserialize(lua_State* L)
{
    if (tableDeserialize(L, lua_gettop(L)) == 0) {
        return lua_error(L);
    }
    return 1;
}

} // namespace Lua
} // namespace Kapi
