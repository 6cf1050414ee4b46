// Variant: construction, copying, conversions and comparison.
//
// Conversion table (rows: held type; n = element or entry count of a container):
//
//   held          asBoolean     asInteger32/64         asDouble       asString
//   Undefined     false         0                      0              ""
//   Array         n != 0        n                      n              element texts joined ","
//   Boolean       value         0 / 1                  0 / 1          "true" / "false"
//   Double        != 0.0        truncated, saturated   value          "%g"
//   Integer32     != 0          value                  value          decimal
//   Integer64     != 0          low 32 bits / value    value          decimal
//   Map           n != 0        n                      n              compact map text
//   String        StringUtil    StringUtil (0 if not   StringUtil     the string
//                 ::asBoolean   a number)              ::asDouble
//   StringVector  n != 0        n                      n              strings joined ","
//
// A double outside the target integer range saturates to its minimum or maximum and NaN
// gives 0, so the conversion is always defined.
#include "kapi/Variant.h"

#include "kapi/StringUtil.h"

#include <cmath>
#include <limits>
#include <utility>

namespace Kapi {

static_assert(sizeof(Variant) <= 16, "a Variant is one value slot and its tag");

namespace {

template <typename Int> Int saturatingTruncate(double value)
{
    if (std::isnan(value))
        return 0;
    // -2^31 and -2^63 are exact doubles; the open interval (min, -min) truncates safely.
    constexpr double low = static_cast<double>(std::numeric_limits<Int>::min());
    if (value <= low)
        return std::numeric_limits<Int>::min();
    if (value >= -low)
        return std::numeric_limits<Int>::max();
    return static_cast<Int>(value);
}

int compareDoubles(double a, double b)
{
    const bool aNan = std::isnan(a);
    const bool bNan = std::isnan(b);
    if (aNan || bNan)
        return aNan == bNan ? 0 : (aNan ? -1 : 1);
    return a < b ? -1 : (a > b ? 1 : 0);
}

template <typename T> int compareValues(const T& a, const T& b)
{
    return a < b ? -1 : (b < a ? 1 : 0);
}

} // namespace

Variant::Variant() = default;
Variant::~Variant() = default;

Variant::Variant(const Variant& other)
{
    copyFrom_i(other);
}

Variant::Variant(Variant&& other) noexcept : mValue(std::move(other.mValue))
{
    other.mValue.emplace<0>();
}

Variant& Variant::operator=(const Variant& other)
{
    if (this != &other) {
        // Copy first so that assigning an element of our own container stays valid.
        Variant copy(other);
        swap(copy);
    }
    return *this;
}

Variant& Variant::operator=(Variant&& other) noexcept
{
    if (this != &other) {
        // Keep the old value alive until the move is done: `other` may live inside it.
        Storage old(std::move(mValue));
        mValue = std::move(other.mValue);
        other.mValue.emplace<0>();
    }
    return *this;
}

Variant::Variant(bool value) : mValue(std::in_place_index<Boolean - 1>, value) {}
Variant::Variant(int value) : mValue(std::in_place_index<Integer32 - 1>, value) {}
Variant::Variant(unsigned value) : Variant(static_cast<unsigned long long>(value)) {}
Variant::Variant(long value) : mValue(std::in_place_index<Integer64 - 1>, value) {}
Variant::Variant(unsigned long value) : Variant(static_cast<unsigned long long>(value)) {}
Variant::Variant(long long value)
    : mValue(std::in_place_index<Integer64 - 1>, static_cast<int64>(value))
{
}
Variant::Variant(unsigned long long value)
{
    // By value, so that size_t and uint32 give the same type on 32- and 64-bit targets.
    if (value <= static_cast<unsigned long long>(std::numeric_limits<int32>::max()))
        mValue.emplace<Integer32 - 1>(static_cast<int32>(value));
    else
        mValue.emplace<Integer64 - 1>(static_cast<int64>(value));
}
Variant::Variant(double value) : mValue(std::in_place_index<Double - 1>, value) {}
Variant::Variant(const char* value)
    : mValue(std::in_place_index<String - 1>,
             std::make_unique<std::string>(value != nullptr ? value : ""))
{
}
Variant::Variant(char* value) : Variant(static_cast<const char*>(value)) {}
Variant::Variant(const std::string& value)
    : mValue(std::in_place_index<String - 1>, std::make_unique<std::string>(value))
{
}
Variant::Variant(std::string&& value)
    : mValue(std::in_place_index<String - 1>, std::make_unique<std::string>(std::move(value)))
{
}
Variant::Variant(const Kapi::StringVector& value)
    : mValue(std::in_place_index<StringVector - 1>, std::make_unique<Kapi::StringVector>(value))
{
}
Variant::Variant(Kapi::StringVector&& value)
    : mValue(std::in_place_index<StringVector - 1>,
             std::make_unique<Kapi::StringVector>(std::move(value)))
{
}
Variant::Variant(const VariantVector& value)
    : mValue(std::in_place_index<Array - 1>, std::make_unique<VariantVector>(value))
{
}
Variant::Variant(VariantVector&& value)
    : mValue(std::in_place_index<Array - 1>, std::make_unique<VariantVector>(std::move(value)))
{
}
Variant::Variant(const KeyValueMap& value)
    : mValue(std::in_place_index<Map - 1>, std::make_unique<KeyValueMap>(value))
{
}
Variant::Variant(KeyValueMap&& value)
    : mValue(std::in_place_index<Map - 1>, std::make_unique<KeyValueMap>(std::move(value)))
{
}

void Variant::copyFrom_i(const Variant& other)
{
    switch (other.getType()) {
    case Array:
        mValue.emplace<Array - 1>(
            std::make_unique<VariantVector>(*std::get<Array - 1>(other.mValue)));
        break;
    case Boolean:
        mValue.emplace<Boolean - 1>(std::get<Boolean - 1>(other.mValue));
        break;
    case Double:
        mValue.emplace<Double - 1>(std::get<Double - 1>(other.mValue));
        break;
    case Integer32:
        mValue.emplace<Integer32 - 1>(std::get<Integer32 - 1>(other.mValue));
        break;
    case Integer64:
        mValue.emplace<Integer64 - 1>(std::get<Integer64 - 1>(other.mValue));
        break;
    case Map:
        mValue.emplace<Map - 1>(std::make_unique<KeyValueMap>(*std::get<Map - 1>(other.mValue)));
        break;
    case String:
        mValue.emplace<String - 1>(
            std::make_unique<std::string>(*std::get<String - 1>(other.mValue)));
        break;
    case StringVector:
        mValue.emplace<StringVector - 1>(
            std::make_unique<Kapi::StringVector>(*std::get<StringVector - 1>(other.mValue)));
        break;
    default:
        mValue.emplace<0>();
        break;
    }
}

void Variant::swap(Variant& other) noexcept
{
    mValue.swap(other.mValue);
}

std::string Variant::typeToString(Type type)
{
    switch (type) {
    case Undefined:
        return "";
    case Array:
        return "a";
    case Boolean:
        return "b";
    case Double:
        return "d";
    case Integer32:
        return "i32";
    case Integer64:
        return "i64";
    case Map:
        return "m";
    case String:
        return "s";
    case StringVector:
        return "v";
    }
    return "";
}

void Variant::setArrayBySwapping(VariantVector& value)
{
    getArrayReference().swap(value);
}

void Variant::setMapBySwapping(KeyValueMap& value)
{
    getMapReference().swap(value);
}

VariantVector& Variant::getArrayReference()
{
    if (getType() != Array)
        becomeOfType(Array);
    return *std::get<Array - 1>(mValue);
}

const VariantVector& Variant::getArrayReference() const
{
    static const VariantVector s_empty;
    return getType() == Array ? *std::get<Array - 1>(mValue) : s_empty;
}

KeyValueMap& Variant::getMapReference()
{
    if (getType() != Map)
        becomeOfType(Map);
    return *std::get<Map - 1>(mValue);
}

const KeyValueMap& Variant::getMapReference() const
{
    static const KeyValueMap s_empty;
    return getType() == Map ? *std::get<Map - 1>(mValue) : s_empty;
}

void Variant::becomeOfType(Type type)
{
    switch (type) {
    case Array:
        mValue.emplace<Array - 1>(std::make_unique<VariantVector>());
        break;
    case Boolean:
        mValue.emplace<Boolean - 1>(false);
        break;
    case Double:
        mValue.emplace<Double - 1>(0.0);
        break;
    case Integer32:
        mValue.emplace<Integer32 - 1>(0);
        break;
    case Integer64:
        mValue.emplace<Integer64 - 1>(0);
        break;
    case Map:
        mValue.emplace<Map - 1>(std::make_unique<KeyValueMap>());
        break;
    case String:
        mValue.emplace<String - 1>(std::make_unique<std::string>());
        break;
    case StringVector:
        mValue.emplace<StringVector - 1>(std::make_unique<Kapi::StringVector>());
        break;
    default:
        mValue.emplace<0>();
        break;
    }
}

void Variant::clear()
{
    mValue.emplace<0>();
}

bool Variant::asBoolean() const
{
    switch (getType()) {
    case Array:
        return !std::get<Array - 1>(mValue)->empty();
    case Boolean:
        return std::get<Boolean - 1>(mValue);
    case Double:
        return std::get<Double - 1>(mValue) != 0.0;
    case Integer32:
        return std::get<Integer32 - 1>(mValue) != 0;
    case Integer64:
        return std::get<Integer64 - 1>(mValue) != 0;
    case Map:
        return !std::get<Map - 1>(mValue)->empty();
    case String: {
        bool result = false;
        StringUtil::asBoolean(*std::get<String - 1>(mValue), result);
        return result;
    }
    case StringVector:
        return !std::get<StringVector - 1>(mValue)->empty();
    default:
        return false;
    }
}

int64 Variant::asInteger64() const
{
    switch (getType()) {
    case Array:
        return static_cast<int64>(std::get<Array - 1>(mValue)->size());
    case Boolean:
        return std::get<Boolean - 1>(mValue) ? 1 : 0;
    case Double:
        return saturatingTruncate<int64>(std::get<Double - 1>(mValue));
    case Integer32:
        return std::get<Integer32 - 1>(mValue);
    case Integer64:
        return std::get<Integer64 - 1>(mValue);
    case Map:
        return static_cast<int64>(std::get<Map - 1>(mValue)->size());
    case String: {
        int64 result = 0;
        if (!StringUtil::asInteger64(*std::get<String - 1>(mValue), result))
            result = 0;
        return result;
    }
    case StringVector:
        return static_cast<int64>(std::get<StringVector - 1>(mValue)->size());
    default:
        return 0;
    }
}

int32 Variant::asInteger32() const
{
    switch (getType()) {
    case Double:
        return saturatingTruncate<int32>(std::get<Double - 1>(mValue));
    case Integer64:
        // The low 32 bits, two's complement (well defined since C++20).
        return static_cast<int32>(static_cast<uint32>(std::get<Integer64 - 1>(mValue)));
    case String: {
        int32 result = 0;
        if (!StringUtil::asInteger32(*std::get<String - 1>(mValue), result))
            result = 0;
        return result;
    }
    default:
        // Counts, 0/1 and Integer32 values all fit; counts beyond INT32_MAX cannot occur
        // on any target this runs on.
        return static_cast<int32>(asInteger64());
    }
}

double Variant::asDouble() const
{
    switch (getType()) {
    case Double:
        return std::get<Double - 1>(mValue);
    case Integer64:
        return static_cast<double>(std::get<Integer64 - 1>(mValue));
    case String: {
        double result = 0.0;
        if (!StringUtil::asDouble(*std::get<String - 1>(mValue), result))
            result = 0.0;
        return result;
    }
    default:
        return static_cast<double>(asInteger64());
    }
}

std::string Variant::asString() const
{
    switch (getType()) {
    case Array:
        return std::get<Array - 1>(mValue)->toString(false);
    case Boolean:
        return StringUtil::toString(std::get<Boolean - 1>(mValue));
    case Double:
        return StringUtil::toString(std::get<Double - 1>(mValue));
    case Integer32:
        return StringUtil::toString(static_cast<int>(std::get<Integer32 - 1>(mValue)));
    case Integer64:
        return StringUtil::toString(static_cast<long long>(std::get<Integer64 - 1>(mValue)));
    case Map:
        return std::get<Map - 1>(mValue)->toString(false);
    case String:
        return *std::get<String - 1>(mValue);
    case StringVector:
        return std::get<StringVector - 1>(mValue)->join(",");
    default:
        return "";
    }
}

// Beyond the text conversion: a String splits at "," (the inverse of asString() of a
// StringVector), an Array converts element by element, Undefined is empty, and any other
// value becomes a one-element vector holding its text.
Kapi::StringVector Variant::asStringVector() const
{
    switch (getType()) {
    case Undefined:
        return {};
    case StringVector:
        return *std::get<StringVector - 1>(mValue);
    case Array:
        return std::get<Array - 1>(mValue)->toStringVector();
    case String:
        return Kapi::StringVector::split(*std::get<String - 1>(mValue), ',');
    default:
        return Kapi::StringVector{asString()};
    }
}

// An Array is copied, a StringVector becomes String elements, Undefined is empty, and any
// other value becomes a one-element array holding a copy of it.
VariantVector Variant::asArray() const
{
    switch (getType()) {
    case Undefined:
        return {};
    case Array:
        return *std::get<Array - 1>(mValue);
    case StringVector:
        return VariantVector::fromStringVector(*std::get<StringVector - 1>(mValue));
    default: {
        VariantVector result;
        result.push_back(*this);
        return result;
    }
    }
}

// A Map is copied; a String is read as compact map text (the inverse of asString() of a
// Map); anything else gives an empty map.
KeyValueMap Variant::asMap() const
{
    KeyValueMap result;
    if (getType() == Map)
        result = *std::get<Map - 1>(mValue);
    else if (getType() == String)
        KeyValueMap::parse(*std::get<String - 1>(mValue), result);
    return result;
}

std::string Variant::valueToString() const
{
    return asString();
}

std::string Variant::toString(bool withType) const
{
    if (!withType)
        return valueToString();
    std::string text = typeToString() + ":";
    switch (getType()) {
    case Array:
        text += std::get<Array - 1>(mValue)->toString(true);
        break;
    case Map:
        text += std::get<Map - 1>(mValue)->toString(true);
        break;
    default:
        text += valueToString();
        break;
    }
    return text;
}

std::string Variant::toJsonString() const
{
    std::string text;
    appendJsonString(text);
    return text;
}

void Variant::appendJsonString(std::string& out) const
{
    switch (getType()) {
    case Undefined:
        out += "null";
        break;
    case Boolean:
    case Double:
    case Integer32:
    case Integer64:
        out += valueToString();
        break;
    case String:
        out += StringUtil::makeJsonString(*std::get<String - 1>(mValue));
        break;
    case Array:
        std::get<Array - 1>(mValue)->appendJsonString(out);
        break;
    case Map:
        std::get<Map - 1>(mValue)->appendJsonString(out);
        break;
    case StringVector:
        out += std::get<StringVector - 1>(mValue)->toJsonString();
        break;
    }
}

int Variant::compareTo(const Variant& other) const
{
    const Type type = getType();
    const Type otherType = other.getType();
    if (type != otherType)
        return type < otherType ? -1 : 1;
    switch (type) {
    case Array:
        return std::get<Array - 1>(mValue)->compareTo(*std::get<Array - 1>(other.mValue));
    case Boolean:
        return compareValues(std::get<Boolean - 1>(mValue), std::get<Boolean - 1>(other.mValue));
    case Double:
        return compareDoubles(std::get<Double - 1>(mValue), std::get<Double - 1>(other.mValue));
    case Integer32:
        return compareValues(std::get<Integer32 - 1>(mValue),
                             std::get<Integer32 - 1>(other.mValue));
    case Integer64:
        return compareValues(std::get<Integer64 - 1>(mValue),
                             std::get<Integer64 - 1>(other.mValue));
    case Map:
        return std::get<Map - 1>(mValue)->compareTo(*std::get<Map - 1>(other.mValue));
    case String: {
        const int c = std::get<String - 1>(mValue)->compare(*std::get<String - 1>(other.mValue));
        return c < 0 ? -1 : (c > 0 ? 1 : 0);
    }
    case StringVector:
        return std::get<StringVector - 1>(mValue)->compareTo(
            *std::get<StringVector - 1>(other.mValue));
    default:
        return 0;
    }
}

Variant Variant::fromStringImpliedType(const std::string& text)
{
    if (text == "true")
        return Variant(true);
    if (text == "false")
        return Variant(false);
    double number = 0.0;
    if (StringUtil::asDouble(text, number))
        return Variant(number);
    int32 integer = 0;
    if (StringUtil::asInteger32(text, integer))
        return Variant(integer);
    return Variant(text);
}

} // namespace Kapi
