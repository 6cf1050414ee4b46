// JsonParser: a recursive-descent reader over a NUL-terminated text. mPos always points
// into the text (at most at its terminating NUL); every read of mPos[k] with k > 0 happens
// only after mPos[0..k-1] were seen to be non-NUL, so no read passes the terminator.
#include "kapi/JsonParser.h"

#include "kapi/StringUtil.h"
#include "kapi/vLog.h"

#include <cctype>
#include <cstdlib>
#include <cstring>

namespace Kapi {

namespace {

bool isSpace(char c)
{
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool isHexDigit(int code)
{
    return code >= 0 && code <= 255 && std::isxdigit(code) != 0;
}

std::string describeCharacter(char c)
{
    const unsigned char code = static_cast<unsigned char>(c);
    if (code >= 0x20 && code < 0x7f)
        return StringUtil::newPrintf("character '%c'", c);
    return StringUtil::newPrintf("byte 0x%02x", code);
}

} // namespace

JsonParser::JsonParser(const char* text) : mText(text != nullptr ? text : "") {}

JsonParser::~JsonParser() = default;

void JsonParser::gotBoolean(bool) {}
void JsonParser::gotNull() {}
void JsonParser::gotNumber(double, bool) {}
void JsonParser::gotString(const char*) {}
void JsonParser::arrayBegin() {}
void JsonParser::arrayEnd() {}
void JsonParser::arrayNewItem(int) {}
void JsonParser::objectBegin() {}
void JsonParser::objectEnd() {}
void JsonParser::objectNewField() {}

bool JsonParser::parse()
{
    mErrorText.clear();
    mErrorOffset = 0;
    mDepth = 0;
    mPos = mText;
    const std::unique_ptr<char[]> buffer(new char[MAX_STRING_LENGTH + 1]);
    mBuffer = buffer.get();
    const bool ok = read_i();
    mBuffer = nullptr;
    return ok;
}

bool JsonParser::fail_i(const std::string& what)
{
    mErrorOffset = static_cast<size_t>(mPos - mText);
    mErrorText =
        what + " at offset " + StringUtil::toString(static_cast<unsigned long long>(mErrorOffset));
    return false;
}

bool JsonParser::unexpectedEnd_i(int place)
{
    if (vLogLevelEnabled(VLOGSRC_MISC_SYSTEM, VLOG_ERROR))
        vLogMessage(VLOGSRC_MISC_SYSTEM, VLOG_ERROR, "Unexpected end of json (%d)", place);
    return fail_i("unexpected end of text");
}

bool JsonParser::unexpectedCharacter_i()
{
    return fail_i("unexpected " + describeCharacter(*mPos));
}

bool JsonParser::skipWhiteSpace_i(int place)
{
    for (;;) {
        const char c = *mPos;
        if (c == '\0')
            return unexpectedEnd_i(place);
        if (isSpace(c)) {
            ++mPos;
        } else if (c == '/' && mPos[1] == '/') {
            mPos += 2;
            while (*mPos != '\0' && *mPos != '\n' && *mPos != '\r')
                ++mPos;
        } else if (c == '/' && mPos[1] == '*') {
            mPos += 2;
            while (*mPos != '\0' && !(mPos[0] == '*' && mPos[1] == '/'))
                ++mPos;
            if (*mPos == '\0')
                return unexpectedEnd_i(place);
            mPos += 2;
        } else {
            return true;
        }
    }
}

bool JsonParser::read_i()
{
    mStringValue = false;
    if (!skipWhiteSpace_i(1))
        return false;
    switch (*mPos) {
    case '"':
        return readString_i();
    case '[':
        return readArray_i();
    case '{':
        return readObject_i();
    case 't':
        return readLiteral_i("true");
    case 'f':
        return readLiteral_i("false");
    case 'n':
        return readLiteral_i("null");
    default:
        return readNumber_i();
    }
}

bool JsonParser::readLiteral_i(const char* word)
{
    for (size_t i = 0; word[i] != '\0'; ++i) {
        if (mPos[i] != word[i]) {
            mPos += i;
            if (*mPos == '\0')
                return unexpectedEnd_i(8);
            return unexpectedCharacter_i();
        }
    }
    mPos += std::strlen(word);
    if (word[0] == 'n')
        gotNull();
    else
        gotBoolean(word[0] == 't');
    return true;
}

bool JsonParser::readNumber_i()
{
    char* end = nullptr;
    const double value = std::strtod(mPos, &end);
    if (end == mPos)
        return unexpectedCharacter_i();
    const bool isFloat = std::memchr(mPos, '.', static_cast<size_t>(end - mPos)) != nullptr;
    mPos = end;
    gotNumber(value, isFloat);
    return true;
}

bool JsonParser::readString_i()
{
    ++mPos; // the opening quote
    size_t length = 0;
    for (;;) {
        char c = *mPos;
        if (c == '\0')
            return unexpectedEnd_i(6);
        if (c == '"') {
            ++mPos;
            break;
        }
        if (c != '\\') {
            ++mPos;
        } else {
            const char escaped = mPos[1];
            if (escaped == '\0') {
                ++mPos;
                return unexpectedEnd_i(7);
            }
            mPos += 2;
            switch (escaped) {
            case 'b':
                c = '\b';
                break;
            case 'f':
                c = '\f';
                break;
            case 'n':
                c = '\n';
                break;
            case 'r':
                c = '\r';
                break;
            case 't':
                c = '\t';
                break;
            case 'u': {
                // The compatibility quirk (see the header). The fourth character is read
                // only after the first three were seen to be digits, so it is at worst the
                // terminating NUL. Nothing is consumed: the characters follow as ordinary.
                const unsigned char* p = reinterpret_cast<const unsigned char*>(mPos);
                if (isHexDigit(p[0]) && isHexDigit(p[1]) && isHexDigit(p[2]) &&
                    isHexDigit(p[0] + 3)) {
                    const char digits[3] = {static_cast<char>(p[2]), static_cast<char>(p[3]), '\0'};
                    c = static_cast<char>(
                        static_cast<unsigned char>(std::strtol(digits, nullptr, 0)));
                } else {
                    c = 'u';
                }
                break;
            }
            default:
                c = escaped;
                break;
            }
        }
        if (length < static_cast<size_t>(MAX_STRING_LENGTH))
            mBuffer[length++] = c;
    }
    mBuffer[length] = '\0';
    gotString(mBuffer);
    mStringValue = true;
    return true;
}

bool JsonParser::readArray_i()
{
    if (mDepth >= MAX_DEPTH)
        return fail_i("nesting deeper than " + StringUtil::toString(MAX_DEPTH));
    ++mDepth;
    ++mPos;
    arrayBegin();
    if (!skipWhiteSpace_i(2))
        return false;
    if (*mPos == ']') {
        ++mPos;
    } else {
        for (int index = 0;; ++index) {
            if (!read_i())
                return false;
            arrayNewItem(index);
            if (!skipWhiteSpace_i(3))
                return false;
            if (*mPos == ']') {
                ++mPos;
                break;
            }
            if (*mPos != ',')
                return unexpectedCharacter_i();
            ++mPos;
        }
    }
    arrayEnd();
    --mDepth;
    mStringValue = false;
    return true;
}

bool JsonParser::readObject_i()
{
    if (mDepth >= MAX_DEPTH)
        return fail_i("nesting deeper than " + StringUtil::toString(MAX_DEPTH));
    ++mDepth;
    ++mPos;
    objectBegin();
    // Only a brace right after the opening one makes an empty object; "{ }" fails below
    // when the key is read, as the existing documents' reader always did.
    if (*mPos == '}') {
        ++mPos;
    } else {
        for (;;) {
            // Skipped here as well so that a non-string key is reported where it starts.
            if (!skipWhiteSpace_i(1))
                return false;
            const char* keyStart = mPos;
            if (!read_i())
                return false;
            if (!mStringValue) {
                mPos = keyStart;
                return fail_i("object key is not a string");
            }
            if (!skipWhiteSpace_i(4))
                return false;
            if (*mPos != ':')
                return unexpectedCharacter_i();
            ++mPos;
            if (!read_i())
                return false;
            objectNewField();
            if (!skipWhiteSpace_i(5))
                return false;
            if (*mPos == '}') {
                ++mPos;
                break;
            }
            if (*mPos != ',')
                return unexpectedCharacter_i();
            ++mPos;
        }
    }
    objectEnd();
    --mDepth;
    mStringValue = false;
    return true;
}

} // namespace Kapi
