#ifndef KAPI_BASE64OPENSSL_H
#define KAPI_BASE64OPENSSL_H
// Base64OpenSSL: the software base64 engine, OpenSSL's base64 filter over a memory buffer,
// with or without line breaks (fixed at creation).
#include "kapi/Base64.h"

namespace Kapi {

class Base64OpenSSL : public Base64
{
public:
    explicit Base64OpenSSL(bool noNewLines) : mNoNewLines(noNewLines) {}

    bool encode(const unsigned char* data, unsigned int length, std::string& out) override;
    bool decode(const std::string& text, unsigned char* out, unsigned int* outLength) override;

private:
    const bool mNoNewLines;
};

} // namespace Kapi

#endif
