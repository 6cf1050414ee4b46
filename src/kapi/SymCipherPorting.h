#ifndef KAPI_SYMCIPHERPORTING_H
#define KAPI_SYMCIPHERPORTING_H
// PortingSymCipher: the hardware symmetric cipher. It owns one cipher object of the crypto
// driver (none while its hardware context is released), translates the algorithm, direction
// and wrap mode into the driver's enumerations (values it does not know become the driver's
// INVALID ones) and forwards. It also keeps the last selection and the last key load, so a
// released context can be taken again with the same state. A driver status other than 0 is
// reported as false.
#include "core/CryptoDriver.h"
#include "kapi/SymCipher.h"

#include <vector>

namespace Kapi {

class PortingSymCipher : public SymCipher
{
public:
    // `cipher` came from driver->CreateSymCipher(); both non-null.
    PortingSymCipher(KELO::CryptoDriver* driver, KELO::SymCipher* cipher,
                     HardwareCipherContext context);
    ~PortingSymCipher() override;

    bool selectAlgorithm(Algorithm algorithm, Direction direction) override;
    bool loadClearKey(unsigned int keyLen, const unsigned char* keyData, unsigned int ivLen,
                      const unsigned char* ivData) override;
    bool loadWrappedKey(WrapMode mode, unsigned int keyLen, const unsigned char* key3Data,
                        const unsigned char* key2Data, const unsigned char* key1Data,
                        unsigned int ivLen, const unsigned char* ivData) override;
    bool loadWrappedKeyClearIv(WrapMode mode, unsigned int keyLen, const unsigned char* key2Data,
                               const unsigned char* key1Data, unsigned int ivLen,
                               const unsigned char* ivData) override;
    // False while the hardware context is released.
    bool run(unsigned int length, const unsigned char* source, unsigned char* destination) override;

    HardwareCipherContext context() const { return mContext; }
    bool releaseContext();   // true; hands the driver cipher back (if held)
    bool reacquireContext(); // true when a driver cipher is held and the kept state reloaded

private:
    enum LoadKind
    {
        LOAD_NONE,
        LOAD_CLEAR,
        LOAD_WRAPPED,
        LOAD_WRAPPED_CLEAR_IV
    };
    struct KeyLoad
    {
        LoadKind kind = LOAD_NONE;
        WrapMode mode = WRAP_COMMON;
        unsigned int keyLen = 0;
        std::vector<unsigned char> key3, key2, key1; // key1 holds the clear key
        unsigned int ivLen = 0;
        std::vector<unsigned char> iv;
    };

    bool applySelection_i();
    bool applyLoad_i();

    KELO::CryptoDriver* mDriver;
    KELO::SymCipher* mCipher; // owned through mDriver; null while released
    HardwareCipherContext mContext;
    bool mSelected = false;
    Algorithm mAlgorithm = ALGORITHM_NONE;
    Direction mDirection = DIRECTION_ENCRYPT;
    KeyLoad mLoad;
};

} // namespace Kapi

#endif
