// VariantVector: typed element access, element-wise conversions and the text forms.
#include "kapi/VariantVector.h"

namespace Kapi {

namespace {

// Shared by the typed getters: an index past the end reads as Undefined.
const Variant& elementOrUndefined(const VariantVector& vector, size_t index)
{
    static const Variant s_undefined;
    return index < vector.size() ? vector[index] : s_undefined;
}

} // namespace

std::string VariantVector::getValueAsString(size_t index) const
{
    return elementOrUndefined(*this, index).asString();
}

StringVector VariantVector::getValueAsStringVector(size_t index) const
{
    return elementOrUndefined(*this, index).asStringVector();
}

int32 VariantVector::getValueAsInteger32(size_t index) const
{
    return elementOrUndefined(*this, index).asInteger32();
}

int64 VariantVector::getValueAsInteger64(size_t index) const
{
    return elementOrUndefined(*this, index).asInteger64();
}

bool VariantVector::getValueAsBoolean(size_t index) const
{
    return elementOrUndefined(*this, index).asBoolean();
}

VariantVector VariantVector::fromInt32Vector(const std::vector<int32>& values)
{
    VariantVector result;
    result.reserve(values.size());
    for (const int32 value : values)
        result.emplace_back(static_cast<int>(value));
    return result;
}

VariantVector VariantVector::fromUInt32Vector(const std::vector<uint32>& values)
{
    VariantVector result;
    result.reserve(values.size());
    for (const uint32 value : values)
        result.emplace_back(static_cast<unsigned>(value));
    return result;
}

VariantVector VariantVector::fromStringVector(const StringVector& values)
{
    VariantVector result;
    result.reserve(values.size());
    for (const std::string& value : values)
        result.emplace_back(value);
    return result;
}

std::vector<int32> VariantVector::toInt32Vector() const
{
    std::vector<int32> result;
    result.reserve(size());
    for (const Variant& value : *this)
        result.push_back(value.asInteger32());
    return result;
}

std::vector<uint32> VariantVector::toUInt32Vector() const
{
    std::vector<uint32> result;
    result.reserve(size());
    for (const Variant& value : *this)
        result.push_back(static_cast<uint32>(value.asInteger64()));
    return result;
}

StringVector VariantVector::toStringVector() const
{
    StringVector result;
    result.reserve(size());
    for (const Variant& value : *this)
        result.push_back(value.asString());
    return result;
}

void VariantVector::append(const VariantVector& other)
{
    if (&other == this) {
        const VariantVector copy(other);
        insert(end(), copy.begin(), copy.end());
        return;
    }
    insert(end(), other.begin(), other.end());
}

bool VariantVector::parse(const std::string& text, VariantVector& out)
{
    out = fromStringVector(StringVector::split(text, ','));
    return true;
}

std::string VariantVector::toString(bool withTypes) const
{
    std::string text;
    for (size_t i = 0; i < size(); ++i) {
        if (i != 0)
            text += ',';
        text += (*this)[i].toString(withTypes);
    }
    return text;
}

std::string VariantVector::toJsonString() const
{
    std::string text;
    appendJsonString(text);
    return text;
}

void VariantVector::appendJsonString(std::string& out) const
{
    out += "[ ";
    for (size_t i = 0; i < size(); ++i) {
        if (i != 0)
            out += ", ";
        (*this)[i].appendJsonString(out);
    }
    out += " ]";
}

int VariantVector::compareTo(const VariantVector& other) const
{
    const size_t common = size() < other.size() ? size() : other.size();
    for (size_t i = 0; i < common; ++i) {
        const int order = (*this)[i].compareTo(other[i]);
        if (order != 0)
            return order;
    }
    if (size() == other.size())
        return 0;
    return size() < other.size() ? -1 : 1;
}

} // namespace Kapi
