#ifndef KAPI_OPENSSLSYMCIPHER_H
#define KAPI_OPENSSLSYMCIPHER_H
// OpensslSymCipher: the software symmetric cipher. It keeps the selected algorithm and
// direction and copies of the loaded key and IV; every run() starts a fresh OpenSSL cipher
// from them, so CBC always begins at the loaded IV.
#include "kapi/SymCipher.h"

#include <vector>

namespace Kapi {

class OpensslSymCipher : public SymCipher
{
public:
    OpensslSymCipher() = default;

    bool selectAlgorithm(Algorithm algorithm, Direction direction) override;
    bool loadClearKey(unsigned int keyLen, const unsigned char* keyData, unsigned int ivLen,
                      const unsigned char* ivData) override;
    bool loadWrappedKey(WrapMode mode, unsigned int keyLen, const unsigned char* key3Data,
                        const unsigned char* key2Data, const unsigned char* key1Data,
                        unsigned int ivLen, const unsigned char* ivData) override;
    bool loadWrappedKeyClearIv(WrapMode mode, unsigned int keyLen, const unsigned char* key2Data,
                               const unsigned char* key1Data, unsigned int ivLen,
                               const unsigned char* ivData) override;
    bool run(unsigned int length, const unsigned char* source, unsigned char* destination) override;

private:
    void transform_i(bool des, unsigned int length, const unsigned char* source,
                     unsigned char* destination);

    int mAlgorithm = 0; // an Algorithm once selected; anything else is refused by run()
    int mDirection = 0; // a Direction once selected
    std::vector<unsigned char> mKey;
    std::vector<unsigned char> mIv;
};

} // namespace Kapi

#endif
