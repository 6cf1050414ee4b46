#ifndef KAPI_SWSHA1_H
#define KAPI_SWSHA1_H
// SwSha1: the software SHA-1 engine, one OpenSSL digest context that always holds the
// running state since the last reset; hashCode() finishes a copy of it.
#include "kapi/Sha1.h"

struct evp_md_ctx_st;

namespace Kapi {

class SwSha1 : public Sha1
{
public:
    SwSha1();
    ~SwSha1() override;
    void update(const unsigned char* data, unsigned int length) override;
    void hashCode(unsigned char* out) override;
    void reset() override;

private:
    evp_md_ctx_st* mContext; // owned; never null
};

} // namespace Kapi

#endif
