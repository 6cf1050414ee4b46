// KeyValueMap: entry access, the compact text form and the JSON form. The map holds each
// key once; std::map's std::string order is byte-wise (unsigned, memcmp-like).
#include "kapi/KeyValueMap.h"

#include "kapi/JsonToKeyValue.h"
#include "kapi/StringUtil.h"

namespace Kapi {

KeyValueMap::KeyValueMap(const char* name1, const Variant& value1, const char* name2,
                         const Variant& value2, const char* name3, const Variant& value3,
                         const char* name4, const Variant& value4)
{
    const char* names[] = {name1, name2, name3, name4};
    const Variant* values[] = {&value1, &value2, &value3, &value4};
    for (int i = 0; i < 4; ++i) {
        if (names[i] != nullptr)
            addValue(names[i], *values[i]);
    }
}

void KeyValueMap::addValue(const std::string& key, const Variant& value)
{
    mValues.insert_or_assign(key, value);
}

void KeyValueMap::addValue(const std::string& key, Variant&& value)
{
    mValues.insert_or_assign(key, std::move(value));
}

void KeyValueMap::addValues(const KeyValueMap& other)
{
    if (&other == this)
        return;
    for (const auto& entry : other.mValues)
        mValues.insert_or_assign(entry.first, entry.second);
}

bool KeyValueMap::hasValue(const std::string& key) const
{
    return mValues.find(key) != mValues.end();
}

bool KeyValueMap::hasValue(const std::string& key, Variant::Type type) const
{
    const Variant* value = findValue(key);
    return value != nullptr && value->getType() == type;
}

Variant KeyValueMap::getValue(const std::string& key) const
{
    const Variant* value = findValue(key);
    return value != nullptr ? *value : Variant();
}

const Variant* KeyValueMap::findValue(const std::string& key) const
{
    const auto it = mValues.find(key);
    return it != mValues.end() ? &it->second : nullptr;
}

Variant* KeyValueMap::findValue(const std::string& key)
{
    const auto it = mValues.find(key);
    return it != mValues.end() ? &it->second : nullptr;
}

std::string KeyValueMap::getValueAsString(const std::string& key) const
{
    const Variant* value = findValue(key);
    return value != nullptr ? value->asString() : std::string();
}

int32 KeyValueMap::getValueAsInteger32(const std::string& key) const
{
    const Variant* value = findValue(key);
    return value != nullptr ? value->asInteger32() : 0;
}

int64 KeyValueMap::getValueAsInteger64(const std::string& key) const
{
    const Variant* value = findValue(key);
    return value != nullptr ? value->asInteger64() : 0;
}

bool KeyValueMap::getValueAsBoolean(const std::string& key) const
{
    const Variant* value = findValue(key);
    return value != nullptr && value->asBoolean();
}

StringVector KeyValueMap::getValueAsStringVector(const std::string& key) const
{
    const Variant* value = findValue(key);
    return value != nullptr ? value->asStringVector() : StringVector();
}

VariantVector KeyValueMap::getValueAsArray(const std::string& key) const
{
    const Variant* value = findValue(key);
    return value != nullptr ? value->asArray() : VariantVector();
}

bool KeyValueMap::removeValue(const std::string& key)
{
    return mValues.erase(key) != 0;
}

std::string KeyValueMap::escape(const std::string& text)
{
    std::string result;
    result.reserve(text.size());
    for (const char c : text) {
        switch (c) {
        case '%':
            result += "%25";
            break;
        case ';':
            result += "%3b";
            break;
        case '=':
            result += "%3d";
            break;
        default:
            result += c;
            break;
        }
    }
    return result;
}

std::string KeyValueMap::unescape(const std::string& text)
{
    std::string result;
    result.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size()) {
            const char a = text[i + 1];
            const char b = text[i + 2];
            if (a == '2' && b == '5') {
                result += '%';
                i += 2;
                continue;
            }
            if (a == '3' && b == 'b') {
                result += ';';
                i += 2;
                continue;
            }
            if (a == '3' && b == 'd') {
                result += '=';
                i += 2;
                continue;
            }
        }
        result += text[i];
    }
    return result;
}

std::string KeyValueMap::toString(bool withTypes) const
{
    std::string text;
    bool first = true;
    for (const auto& entry : mValues) {
        if (!first)
            text += ';';
        first = false;
        text += escape(entry.first);
        text += '=';
        text += escape(entry.second.toString(withTypes));
    }
    return text;
}

bool KeyValueMap::parse(const std::string& text, KeyValueMap& out)
{
    out.clear();
    for (const std::string& piece : StringVector::split(text, ';')) {
        const StringVector parts = StringVector::split(piece, '=');
        if (parts.size() == 2)
            out.addValue(unescape(parts[0]), Variant(unescape(parts[1])));
    }
    return true;
}

std::string KeyValueMap::toJsonString() const
{
    std::string text;
    appendJsonString(text);
    return text;
}

void KeyValueMap::appendJsonString(std::string& out) const
{
    out += "{ ";
    bool first = true;
    for (const auto& entry : mValues) {
        if (!first)
            out += ", ";
        first = false;
        out += StringUtil::makeJsonString(entry.first);
        out += " : ";
        entry.second.appendJsonString(out);
    }
    out += " }";
}

bool KeyValueMap::parseJsonString(const std::string& text, KeyValueMap& out)
{
    return parseJsonString(text, out, nullptr);
}

bool KeyValueMap::parseJsonString(const std::string& text, KeyValueMap& out, std::string* errorText)
{
    out.clear();
    JsonToKeyValue parser(text.c_str());
    if (!parser.parse()) {
        if (errorText != nullptr)
            *errorText = parser.getErrorText();
        return false;
    }
    if (!parser.finish(out)) {
        if (errorText != nullptr)
            *errorText = "top-level value is not an object";
        return false;
    }
    return true;
}

int KeyValueMap::compareTo(const KeyValueMap& other) const
{
    auto a = mValues.begin();
    auto b = other.mValues.begin();
    for (; a != mValues.end() && b != other.mValues.end(); ++a, ++b) {
        const int keyOrder = a->first.compare(b->first);
        if (keyOrder != 0)
            return keyOrder < 0 ? -1 : 1;
        const int valueOrder = a->second.compareTo(b->second);
        if (valueOrder != 0)
            return valueOrder;
    }
    if (mValues.size() == other.mValues.size())
        return 0;
    return mValues.size() < other.mValues.size() ? -1 : 1;
}

} // namespace Kapi
