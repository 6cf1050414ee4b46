#ifndef KAPI_VARIANT_H
#define KAPI_VARIANT_H
// Variant: a loosely typed value, a type tag plus a value. Scalars (bool, double, int32,
// int64) are held inline; strings, string vectors, arrays and maps are held in an owned
// heap container so a Variant stays small (an 8-byte value slot and the tag: 16 bytes).
//
// Invariants: a Variant of a container type always holds a container (never null); copies
// are deep; a moved-from Variant is Undefined. Conversions (`as...`) never fail: a value
// that cannot be converted gives 0, false, "" or an empty container.
//
// Including this header also makes VariantVector and KeyValueMap complete (they are
// included at the end), so callers of asArray()/asMap() need nothing else.
#include "kapi/KapiTypes.h"
#include "kapi/StringVector.h"

#include <memory>
#include <string>
#include <variant>

namespace Kapi {

class VariantVector;
class KeyValueMap;

class Variant
{
public:
    // The codes are part of the value's contract (compareTo orders different types by them).
    enum Type : int32
    {
        Undefined = 1,
        Array = 2,
        Boolean = 3,
        Double = 4,
        Integer32 = 5,
        Integer64 = 6,
        Map = 7,
        String = 8,
        StringVector = 9
    };

    Variant();
    ~Variant();
    Variant(const Variant& other);
    Variant(Variant&& other) noexcept;
    Variant& operator=(const Variant& other);
    Variant& operator=(Variant&& other) noexcept;

    // Construction (and, through these, assignment) from the listed value types. Integers
    // pick by C++ type: int -> Integer32; long and long long -> Integer64 on every target (so
    // int64 is always Integer64); every unsigned type by value: Integer32 when it fits in 32
    // signed bits, else Integer64 (values above INT64_MAX wrap), so size_t and uint32 give
    // the same type on 32- and 64-bit targets. char, short and their unsigned forms promote
    // to int. A null `const char*` gives an empty String.
    Variant(bool value);
    Variant(int value);
    Variant(unsigned value);
    Variant(long value);
    Variant(unsigned long value);
    Variant(long long value);
    Variant(unsigned long long value);
    Variant(double value);
    Variant(const char* value);
    Variant(char* value);
    Variant(const std::string& value);
    Variant(std::string&& value);
    Variant(const Kapi::StringVector& value);
    Variant(Kapi::StringVector&& value);
    Variant(const VariantVector& value);
    Variant(VariantVector&& value);
    Variant(const KeyValueMap& value);
    Variant(KeyValueMap&& value);
    // Any other pointer would silently become a Boolean; refuse it at compile time.
    template <typename T> Variant(T*) = delete;

    void swap(Variant& other) noexcept;

    Type getType() const { return static_cast<Type>(mValue.index() + 1); }
    bool isUndefined() const { return getType() == Undefined; }
    bool isArray() const { return getType() == Array; }
    bool isBoolean() const { return getType() == Boolean; }
    bool isDouble() const { return getType() == Double; }
    bool isInteger32() const { return getType() == Integer32; }
    bool isInteger64() const { return getType() == Integer64; }
    bool isMap() const { return getType() == Map; }
    bool isString() const { return getType() == String; }
    bool isStringVector() const { return getType() == StringVector; }

    // The short type name: "" "a" "b" "d" "i32" "i64" "m" "s" "v"; "" for unknown codes.
    std::string typeToString() const { return typeToString(getType()); }
    static std::string typeToString(Type type);

    // Take the contents of `value` without copying; `value` receives the old contents of the
    // held container (empty when this Variant was of another type).
    void setArrayBySwapping(VariantVector& value);
    void setMapBySwapping(KeyValueMap& value);
    // The held container. The non-const forms first turn a Variant of another type into an
    // empty container of the asked type; the const forms return a shared empty container.
    VariantVector& getArrayReference();
    const VariantVector& getArrayReference() const;
    KeyValueMap& getMapReference();
    const KeyValueMap& getMapReference() const;

    // Replace the value by the empty value of `type` (false, 0, "", empty container);
    // an unknown code gives Undefined. allocate() is the same operation.
    void becomeOfType(Type type);
    void allocate(Type type) { becomeOfType(type); }
    // Make the value Undefined, releasing any container. free() is the same operation.
    void clear();
    void free() { clear(); }

    // Conversions; see Variant.cpp for the table. Out-of-range doubles saturate when
    // converted to integers (NaN gives 0).
    bool asBoolean() const;
    int32 asInteger32() const;
    int64 asInteger64() const;
    double asDouble() const;
    std::string asString() const;
    Kapi::StringVector asStringVector() const;
    VariantVector asArray() const;
    KeyValueMap asMap() const;

    // The value as text (same as asString()).
    std::string valueToString() const;
    // withType false: valueToString(). withType true: the short type name, ':' and the
    // text, containers written element by element with their own type names
    // ("i32:5", "a:i32:1,s:x", "m:k=s%3ax") - for logs and diagnostics.
    std::string toString(bool withType = false) const;
    // Undefined -> null; numbers and booleans -> their text; String -> the quoted string;
    // containers -> their JSON.
    std::string toJsonString() const;
    // Appends toJsonString() to `out`.
    void appendJsonString(std::string& out) const;

    // Negative, zero or positive. Different types order by type code; equal types by value
    // (numbers numerically with NaN equal to NaN and before every other number, false before
    // true, strings byte-wise, containers element by element and then by length).
    int compareTo(const Variant& other) const;
    bool operator==(const Variant& other) const { return compareTo(other) == 0; }
    bool operator!=(const Variant& other) const { return compareTo(other) != 0; }

    // "true"/"false" -> Boolean; text that converts as a double -> Double; as an int32 ->
    // Integer32; anything else -> String.
    static Variant fromStringImpliedType(const std::string& text);

private:
    // Alternative index + 1 == type code; container alternatives are never null.
    using Storage = std::variant<std::monostate, std::unique_ptr<VariantVector>, bool, double,
                                 int32, int64, std::unique_ptr<KeyValueMap>,
                                 std::unique_ptr<std::string>, std::unique_ptr<Kapi::StringVector>>;

    void copyFrom_i(const Variant& other);

    Storage mValue;
};

} // namespace Kapi

#include "kapi/KeyValueMap.h"
#include "kapi/VariantVector.h"

#endif
