#ifndef KAPI_SYMCIPHER_H
#define KAPI_SYMCIPHER_H
// Kapi::SymCipher: a block cipher without padding. selectAlgorithm() picks the algorithm and
// direction, a load...Key() call the key and IV, and run() transforms `length` bytes from
// `source` into a different `destination`. CBC runs always start from the loaded IV (it is
// not chained from one run to the next). Structural misuse (null or shared buffers, a length
// that is not whole blocks, an unknown algorithm or direction, a key or IV too short for the
// algorithm) ends the process through Kapi::PanicAssertFail. An engine is used by one thread
// at a time.
//
//   ALGORITHM_NONE          run() does nothing
//   ALGORITHM_3DES_ABA_*    two-key triple DES, K1 = key[0..7], K2 = key[8..15], as K1 K2 K1;
//                           16-byte key, 8-byte IV for CBC, lengths in 8-byte blocks
//   ALGORITHM_AES_*         AES-128/192/256 by key length (16, 24 or 32 bytes), 16-byte IV
//                           for CBC, lengths in 16-byte blocks
//   DIRECTION_PASSTHRU      run() copies the source unchanged
//
// NewSoftwareEngine() computes in OpenSSL and cannot unwrap keys (the wrapped loads return
// false). NewHardwareEngine() forwards to a cipher object of the registered crypto driver and
// has no fallback: without a driver, or when the driver makes no cipher, the process ends.
// Hardware contexts: the device numbers one context, 0; releaseHardwareContext() hands an
// engine's driver cipher back (keeping the selected algorithm, key and IV) and
// reacquireHardwareContext() takes a new one and loads the kept state into it. Both succeed
// and do nothing for a software engine.
#include "kapi/KapiTypes.h"

#include <memory>

namespace Kapi {

class SymCipher
{
public:
    enum Algorithm : int
    {
        ALGORITHM_NONE = 1,
        ALGORITHM_3DES_ABA_ECB = 2,
        ALGORITHM_3DES_ABA_CBC = 3,
        ALGORITHM_AES_CBC = 4,
        ALGORITHM_AES_ECB = 5
    };
    enum Direction : int
    {
        DIRECTION_ENCRYPT = 1,
        DIRECTION_DECRYPT = 2,
        DIRECTION_PASSTHRU = 3
    };
    enum WrapMode : int
    {
        WRAP_COMMON = 1,
        WRAP_UNIQUE = 2
    };
    typedef uint32 HardwareCipherContext;

    SymCipher() = default;
    SymCipher(const SymCipher&) = delete;
    SymCipher& operator=(const SymCipher&) = delete;

    // Slot order is fixed. Each returns true on success.
    virtual ~SymCipher() = default;
    virtual bool selectAlgorithm(Algorithm algorithm, Direction direction) = 0;
    virtual bool loadClearKey(unsigned int keyLen, const unsigned char* keyData, unsigned int ivLen,
                              const unsigned char* ivData) = 0;
    virtual bool loadWrappedKey(WrapMode mode, unsigned int keyLen, const unsigned char* key3Data,
                                const unsigned char* key2Data, const unsigned char* key1Data,
                                unsigned int ivLen, const unsigned char* ivData) = 0;
    virtual bool loadWrappedKeyClearIv(WrapMode mode, unsigned int keyLen,
                                       const unsigned char* key2Data, const unsigned char* key1Data,
                                       unsigned int ivLen, const unsigned char* ivData) = 0;
    virtual bool run(unsigned int length, const unsigned char* source,
                     unsigned char* destination) = 0;

    static std::unique_ptr<SymCipher> NewSoftwareEngine();
    static std::unique_ptr<SymCipher> NewHardwareEngine(HardwareCipherContext context);

    static unsigned int getMaxHardwareContexts();
    static bool releaseHardwareContext(SymCipher* engine);
    static bool reacquireHardwareContext(SymCipher* engine);
};

} // namespace Kapi

#endif
