// The base64 engine: a chain of OpenSSL's base64 filter BIO over a memory BIO. Encoding writes
// through the filter and collects the memory BIO's contents; decoding reads the text back
// through the filter. The filter's line handling is OpenSSL's own, kept as it is.
#include "kapi/Base64OpenSSL.h"

#include "kapi/OpensslSupport.h"
#include "kapi/PanicAssert.h"

#include <climits>
#include <openssl/bio.h>
#include <openssl/evp.h>

namespace Kapi {

namespace {

// A base64 filter pushed onto `sink`; freeing the returned chain frees both.
BIO* base64Chain(BIO* sink, bool noNewLines)
{
    BIO* filter = BIO_new(BIO_f_base64());
    if (filter == nullptr || sink == nullptr) {
        BIO_free(filter);
        BIO_free(sink);
        return nullptr;
    }
    if (noNewLines)
        BIO_set_flags(filter, BIO_FLAGS_BASE64_NO_NL);
    return BIO_push(filter, sink);
}

} // namespace

std::unique_ptr<Base64> Base64::NewSoftwareEngine(bool noNewLines)
{
    return std::make_unique<Base64OpenSSL>(noNewLines);
}

bool Base64OpenSSL::encode(const unsigned char* data, unsigned int length, std::string& out)
{
    if (length == 0 || data == nullptr || length > INT_MAX)
        return false;
    BIO* chain = base64Chain(BIO_new(BIO_s_mem()), mNoNewLines);
    if (chain == nullptr)
        return false;
    bool done = BIO_write(chain, data, static_cast<int>(length)) == static_cast<int>(length) &&
                BIO_flush(chain) == 1;
    char* text = nullptr;
    const long textLength = done ? BIO_get_mem_data(BIO_next(chain), &text) : 0;
    done = done && textLength > 0;
    if (done)
        out.assign(text, static_cast<size_t>(textLength));
    BIO_free_all(chain);
    if (!done)
        CryptoSsl::clearErrors();
    return done;
}

bool Base64OpenSSL::decode(const std::string& text, unsigned char* out, unsigned int* outLength)
{
    KAPI_ASSERT(outLength != nullptr);
    *outLength = 0;
    if (text.empty() || text.size() > INT_MAX)
        return false;
    KAPI_ASSERT(out != nullptr);
    BIO* chain =
        base64Chain(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())), mNoNewLines);
    if (chain == nullptr)
        return false;
    // Decoded data is never longer than the text, so `out` (text.size() bytes) cannot overflow.
    unsigned int total = 0;
    for (;;) {
        const int got = BIO_read(chain, out + total, static_cast<int>(text.size() - total));
        if (got <= 0)
            break;
        total += static_cast<unsigned int>(got);
        if (total == text.size())
            break;
    }
    BIO_free_all(chain);
    CryptoSsl::clearErrors();
    *outLength = total;
    return total > 0;
}

} // namespace Kapi
