// Outside text reaching the crypto engines: base64 (both line modes) and PEM RSA keys (private
// and public). Decoding must stay inside the caller's buffer and never crash; a PEM that loads
// must give a usable key length.
#include "kapi/Base64.h"
#include "kapi/Rsa.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (bool noNewLines : {false, true}) {
        std::vector<unsigned char> out(text.size() + 1);
        unsigned int length = 0;
        if (Kapi::Base64::NewSoftwareEngine(noNewLines)->decode(text, out.data(), &length) &&
            length > text.size())
            __builtin_trap();
    }
    std::unique_ptr<Kapi::Rsa> rsa = Kapi::Rsa::NewSoftwareEngine();
    if ((rsa->loadKey(text.c_str()) || rsa->loadPublicKey(text.c_str())) && rsa->keyLen() == 0)
        __builtin_trap();
    return 0;
}
