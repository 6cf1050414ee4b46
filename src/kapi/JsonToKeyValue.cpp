// JsonToKeyValue: the parser's events folded into Variants. Scalars land in mValue; the
// innermost open container takes mValue when the parser reports a finished element or
// member. An object's first string after its opening (or after each member) is the member
// name, since the parser accepts only strings there.
#include "kapi/JsonToKeyValue.h"

#include <cmath>
#include <limits>
#include <utility>

namespace Kapi {

JsonToKeyValue::JsonToKeyValue(const char* text) : JsonParser(text) {}

JsonToKeyValue::~JsonToKeyValue() = default;

bool JsonToKeyValue::finish(KeyValueMap& out)
{
    if (!mStack.empty() || !mValue.isMap())
        return false;
    out.swap(mValue.getMapReference());
    mValue.clear();
    return true;
}

void JsonToKeyValue::gotBoolean(bool value)
{
    mValue = Variant(value);
}

void JsonToKeyValue::gotNull()
{
    mValue.clear();
}

void JsonToKeyValue::gotNumber(double value, bool isFloat)
{
    // -2^63 is exact; 2^63 is the first double above the int64 range. NaN fails both tests.
    constexpr double low = static_cast<double>(std::numeric_limits<int64>::min());
    if (isFloat || !(value >= low && value < -low)) {
        mValue = Variant(value);
        return;
    }
    const int64 integer = static_cast<int64>(value);
    if (integer >= std::numeric_limits<int32>::min() &&
        integer <= std::numeric_limits<int32>::max())
        mValue = Variant(static_cast<int>(integer));
    else
        mValue = Variant(static_cast<long long>(integer));
}

void JsonToKeyValue::gotString(const char* value)
{
    if (!mStack.empty() && mStack.back().container.isMap() && !mStack.back().haveName) {
        mStack.back().name = value;
        mStack.back().haveName = true;
        return;
    }
    mValue = Variant(value);
}

void JsonToKeyValue::arrayBegin()
{
    mStack.emplace_back();
    mStack.back().container.becomeOfType(Variant::Array);
}

void JsonToKeyValue::objectBegin()
{
    mStack.emplace_back();
    mStack.back().container.becomeOfType(Variant::Map);
}

void JsonToKeyValue::endContainer_i()
{
    if (mStack.empty())
        return;
    mValue = std::move(mStack.back().container);
    mStack.pop_back();
}

void JsonToKeyValue::arrayEnd()
{
    endContainer_i();
}

void JsonToKeyValue::objectEnd()
{
    endContainer_i();
}

void JsonToKeyValue::arrayNewItem(int)
{
    if (mStack.empty() || !mStack.back().container.isArray())
        return;
    mStack.back().container.getArrayReference().push_back(std::move(mValue));
    mValue.clear();
}

void JsonToKeyValue::objectNewField()
{
    if (mStack.empty() || !mStack.back().container.isMap())
        return;
    Frame& frame = mStack.back();
    frame.container.getMapReference().addValue(frame.name, std::move(mValue));
    frame.name.clear();
    frame.haveName = false;
    mValue.clear();
}

} // namespace Kapi
