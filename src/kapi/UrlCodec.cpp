// Kapi::UrlCodec and the escape machinery it shares with the URL-path codec of notes.
#include "kapi/UrlCodec.h"

#include "kapi/vLog.h"

#include <cctype>
#include <utility>

namespace Kapi {

namespace UrlCodecDetail {

static const char kHex[] = "0123456789ABCDEF";

static int hexValue_i(char c)
{
    if (c >= '0' && c <= '9')
        return c - '0';
    if (c >= 'a' && c <= 'f')
        return c - 'a' + 10;
    return c - 'A' + 10; // only called after isxdigit
}

std::string encode(const std::string& in, char escape, bool (*isSafe)(char))
{
    std::string out;
    out.reserve(in.size() + in.size() / 2);
    for (char c : in) {
        if (isSafe(c)) {
            out.push_back(c);
        } else if (c == ' ') {
            out.push_back('+');
        } else {
            const unsigned char byte = static_cast<unsigned char>(c);
            out.push_back(escape);
            out.push_back(kHex[byte >> 4]);
            out.push_back(kHex[byte & 0x0F]);
        }
    }
    return out;
}

bool decode(const std::string& in, std::string* out, char escape, const char* who, int source)
{
    std::string result;
    result.reserve(in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        const char c = in[i];
        if (c == '\0') {
            if (vLogLevelEnabled(source, VLOG_DEBUG))
                vLogMessage(source, VLOG_DEBUG,
                            "%s(): Error: The string to be decoded contains a null character at "
                            "position %zu",
                            who, i + 1);
            return false;
        }
        if (c == '+') {
            result.push_back(' ');
        } else if (c == escape) {
            // Two hex digits must follow inside the string.
            if (i + 2 >= in.size() || !isxdigit(static_cast<unsigned char>(in[i + 1])) ||
                !isxdigit(static_cast<unsigned char>(in[i + 2]))) {
                if (vLogLevelEnabled(source, VLOG_DEBUG))
                    vLogMessage(source, VLOG_DEBUG,
                                "%s(): can't decode url '%s'.Bad format at or around character "
                                "number %zu",
                                who, in.c_str(), i + 1);
                return false;
            }
            result.push_back(static_cast<char>(hexValue_i(in[i + 1]) * 16 + hexValue_i(in[i + 2])));
            i += 2;
        } else {
            result.push_back(c);
        }
    }
    *out = std::move(result);
    return true;
}

} // namespace UrlCodecDetail

bool UrlCodec::isUrlSafe(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-' ||
           c == '_' || c == '.' || c == '*';
}

std::string UrlCodec::encode(const std::string& in)
{
    return UrlCodecDetail::encode(in, '%', &UrlCodec::isUrlSafe);
}

bool UrlCodec::decode(const std::string& in, std::string* out)
{
    return UrlCodecDetail::decode(in, out, '%', "UrlCodec::decode", VLOGSRC_MISC_SYSTEM);
}

} // namespace Kapi
