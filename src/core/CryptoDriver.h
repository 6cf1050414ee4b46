#ifndef CORE_CRYPTODRIVER_H
#define CORE_CRYPTODRIVER_H
// The crypto driver interface a device registers with the core (KELO::Services). It makes the
// objects behind the platform library's hardware crypto engines: RSA and SHA-1 objects are the
// platform library's own Kapi::Rsa / Kapi::Sha1 interfaces, the symmetric cipher is
// KELO::SymCipher below. Objects made by Create... belong to the caller until it hands them
// back with the matching Destroy... call of the same driver. Operations returning int32 give a
// KELO::Status (0 for success).
#include "core/KeloStatus.h"
#include "kapi/KapiTypes.h"
#include "kapi/Rsa.h"
#include "kapi/Sha1.h"

namespace KELO {

typedef Kapi::Rsa Rsa;
typedef Kapi::Sha1 Sha1;

// A block cipher of the device, used by one thread at a time. Lengths are whole blocks;
// source and destination are different buffers.
class SymCipher
{
public:
    enum Algorithm : int32
    {
        ALG_INVALID = 0,
        ALG_NONE = 1,
        ALG_3DES_ABA_ECB = 2,
        ALG_3DES_ABA_CBC = 3,
        ALG_AES_128_CBC = 4,
        ALG_AES_128_ECB = 5,
        ALG_MAX = 6
    };
    enum Direction : int32
    {
        DIR_INVALID = 0,
        ENCRYPT = 1,
        DECRYPT = 2,
        PASSTHRU = 3,
        DIR_MAX = 4
    };
    enum WrapMode : int32
    {
        WRAP_INVALID = 0,
        WRAP_COMMON = 1,
        WRAP_UNIQUE = 2,
        WRAP_MAX = 3
    };

    SymCipher() = default;
    SymCipher(const SymCipher&) = delete;
    SymCipher& operator=(const SymCipher&) = delete;

    // Slot order is fixed.
    virtual ~SymCipher() = default;
    virtual int32 selectAlgorithm(Algorithm algorithm, Direction direction) = 0;
    virtual int32 loadClearKey(unsigned keyLength, const uint8* key, unsigned ivLength,
                               const uint8* iv) = 0;
    virtual int32 loadWrappedKey(WrapMode mode, unsigned keyLength, const uint8* key3,
                                 const uint8* key2, const uint8* key1, unsigned ivLength,
                                 const uint8* iv) = 0;
    virtual int32 loadWrappedKeyClearIv(WrapMode mode, unsigned keyLength, const uint8* key2,
                                        const uint8* key1, unsigned ivLength, const uint8* iv) = 0;
    virtual int32 run(unsigned length, const uint8* in, uint8* out) = 0;
};

class CryptoDriver
{
public:
    CryptoDriver() = default;
    CryptoDriver(const CryptoDriver&) = delete;
    CryptoDriver& operator=(const CryptoDriver&) = delete;

    // Slot order is fixed. Create... returns null when the device has no such object.
    virtual ~CryptoDriver() = default;
    virtual Rsa* CreateRsa() = 0;
    virtual int32 DestroyRsa(Rsa* rsa) = 0;
    virtual Sha1* CreateSha1() = 0;
    virtual int32 DestroySha1(Sha1* sha1) = 0;
    virtual SymCipher* CreateSymCipher() = 0;
    virtual int32 DestroySymCipher(SymCipher* cipher) = 0;
};

} // namespace KELO

#endif
