#ifndef KAPI_URLCODEC_H
#define KAPI_URLCODEC_H
// Kapi::UrlCodec: the percent escapes of URL query strings. Safe bytes (0-9 A-Z a-z - _ . *)
// stand for themselves, the blank is written "+", every other byte "%" and two upper-case hex
// digits. Decoding reads "+" as a blank and "%XY" (two hex digits, either case) as one byte and
// copies everything else; a NUL byte or a "%" without two hex digits after it is an error
// (logged at debug level under misc_system). Stateless and safe from any thread.
#include <string>

namespace Kapi {

class UrlCodec
{
public:
    UrlCodec() = delete;

    static bool isUrlSafe(char c);
    static std::string encode(const std::string& in);
    // On failure `*out` is left unchanged.
    static bool decode(const std::string& in, std::string* out);
};

namespace UrlCodecDetail {

// The shared escape machinery, parameterised by the escape character: used by UrlCodec ('%')
// and by the URL-path form of notes ('*'). `isSafe` tells which bytes stand for themselves.
std::string encode(const std::string& in, char escape, bool (*isSafe)(char));
// `who` names the caller in the two failure messages; `source` is the log source to use.
bool decode(const std::string& in, std::string* out, char escape, const char* who, int source);

} // namespace UrlCodecDetail

} // namespace Kapi

#endif
