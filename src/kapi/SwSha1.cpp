// The software SHA-1 engine over OpenSSL's EVP digest. Allocation failure of the context is the
// only way these calls can fail, and it ends the process like any out-of-memory.
#include "kapi/SwSha1.h"

#include "kapi/PanicAssert.h"

#include <openssl/evp.h>

namespace Kapi {

SwSha1::SwSha1() : mContext(EVP_MD_CTX_new())
{
    KAPI_ASSERT(mContext != nullptr);
    reset();
}

SwSha1::~SwSha1()
{
    EVP_MD_CTX_free(mContext);
}

void SwSha1::update(const unsigned char* data, unsigned int length)
{
    if (length == 0)
        return;
    KAPI_ASSERT(data != nullptr);
    EVP_DigestUpdate(mContext, data, length);
}

void SwSha1::hashCode(unsigned char* out)
{
    KAPI_ASSERT(out != nullptr);
    EVP_MD_CTX* copy = EVP_MD_CTX_new();
    KAPI_ASSERT(copy != nullptr);
    unsigned int written = 0;
    const bool done =
        EVP_MD_CTX_copy_ex(copy, mContext) == 1 && EVP_DigestFinal_ex(copy, out, &written) == 1;
    EVP_MD_CTX_free(copy);
    KAPI_ASSERT(done && written == kDigestLength);
}

void SwSha1::reset()
{
    const int ok = EVP_DigestInit_ex(mContext, EVP_sha1(), nullptr);
    KAPI_ASSERT(ok == 1);
}

} // namespace Kapi
