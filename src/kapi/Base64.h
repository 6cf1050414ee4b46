#ifndef KAPI_BASE64_H
#define KAPI_BASE64_H
// Kapi::Base64: standard base64 (RFC 4648 alphabet, "=" padding) through OpenSSL's base64
// filter. Made with noNewLines false, the encoder ends every 64 characters and the text with
// "\n" and the decoder reads such lines; with noNewLines true the encoder writes one line
// without any "\n" and the decoder expects text without breaks.
//
// encode() appends nothing and returns false when nothing could be produced (an empty input
// among others). decode() writes the decoded bytes to `out`, which must hold at least
// text.size() bytes, and their count to *outLength; it returns false, with a count of 0, when
// nothing decodes.
#include <memory>
#include <string>

namespace Kapi {

class Base64
{
public:
    Base64() = default;
    Base64(const Base64&) = delete;
    Base64& operator=(const Base64&) = delete;

    // Slot order is fixed: destructor, encode, decode.
    virtual ~Base64() = default;
    virtual bool encode(const unsigned char* data, unsigned int length, std::string& out) = 0;
    virtual bool decode(const std::string& text, unsigned char* out, unsigned int* outLength) = 0;

    static std::unique_ptr<Base64> NewSoftwareEngine(bool noNewLines);
};

} // namespace Kapi

#endif
