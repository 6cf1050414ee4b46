// The hardware symmetric cipher and its factory. There is no software fallback: a device that
// should decrypt in hardware but cannot is broken, so the factory ends the process.
#include "kapi/SymCipherPorting.h"

#include "core/Services.h"
#include "kapi/PanicAssert.h"

namespace Kapi {

namespace {

const char* const kFile = "SymCipherPorting";

KELO::SymCipher::Algorithm toDriver(SymCipher::Algorithm algorithm)
{
    switch (algorithm) {
    case SymCipher::ALGORITHM_NONE:
        return KELO::SymCipher::ALG_NONE;
    case SymCipher::ALGORITHM_3DES_ABA_ECB:
        return KELO::SymCipher::ALG_3DES_ABA_ECB;
    case SymCipher::ALGORITHM_3DES_ABA_CBC:
        return KELO::SymCipher::ALG_3DES_ABA_CBC;
    case SymCipher::ALGORITHM_AES_CBC:
        return KELO::SymCipher::ALG_AES_128_CBC;
    case SymCipher::ALGORITHM_AES_ECB:
        return KELO::SymCipher::ALG_AES_128_ECB;
    }
    return KELO::SymCipher::ALG_INVALID;
}

KELO::SymCipher::Direction toDriver(SymCipher::Direction direction)
{
    switch (direction) {
    case SymCipher::DIRECTION_ENCRYPT:
        return KELO::SymCipher::ENCRYPT;
    case SymCipher::DIRECTION_DECRYPT:
        return KELO::SymCipher::DECRYPT;
    case SymCipher::DIRECTION_PASSTHRU:
        return KELO::SymCipher::PASSTHRU;
    }
    return KELO::SymCipher::DIR_INVALID;
}

KELO::SymCipher::WrapMode toDriver(SymCipher::WrapMode mode)
{
    switch (mode) {
    case SymCipher::WRAP_COMMON:
        return KELO::SymCipher::WRAP_COMMON;
    case SymCipher::WRAP_UNIQUE:
        return KELO::SymCipher::WRAP_UNIQUE;
    }
    return KELO::SymCipher::WRAP_INVALID;
}

std::vector<unsigned char> copyOf(const unsigned char* data, unsigned int length)
{
    if (data == nullptr || length == 0)
        return {};
    return std::vector<unsigned char>(data, data + length);
}

const unsigned char* dataOf(const std::vector<unsigned char>& bytes)
{
    return bytes.empty() ? nullptr : bytes.data();
}

} // namespace

std::unique_ptr<SymCipher> SymCipher::NewHardwareEngine(HardwareCipherContext context)
{
    KELO::CryptoDriver* driver = nullptr;
    if (KELO::Services::getInstance().getCryptoService().getDriver(&driver) != KELO::SUCCESS)
        PanicAssertFail("false && \"Failed to get handle to KELO crypto driver\"", kFile, __LINE__);
    KELO::SymCipher* cipher = driver->CreateSymCipher();
    if (cipher == nullptr)
        PanicAssertFail("false && \"No symmetric cipher porting driver found\"", kFile, __LINE__);
    return std::make_unique<PortingSymCipher>(driver, cipher, context);
}

unsigned int SymCipher::getMaxHardwareContexts()
{
    return 1;
}

bool SymCipher::releaseHardwareContext(SymCipher* engine)
{
    PortingSymCipher* porting = dynamic_cast<PortingSymCipher*>(engine);
    return porting == nullptr || porting->releaseContext();
}

bool SymCipher::reacquireHardwareContext(SymCipher* engine)
{
    PortingSymCipher* porting = dynamic_cast<PortingSymCipher*>(engine);
    return porting == nullptr || porting->reacquireContext();
}

PortingSymCipher::PortingSymCipher(KELO::CryptoDriver* driver, KELO::SymCipher* cipher,
                                   HardwareCipherContext context)
    : mDriver(driver), mCipher(cipher), mContext(context)
{
}

PortingSymCipher::~PortingSymCipher()
{
    releaseContext();
}

bool PortingSymCipher::selectAlgorithm(Algorithm algorithm, Direction direction)
{
    mSelected = true;
    mAlgorithm = algorithm;
    mDirection = direction;
    return mCipher == nullptr || applySelection_i();
}

bool PortingSymCipher::loadClearKey(unsigned int keyLen, const unsigned char* keyData,
                                    unsigned int ivLen, const unsigned char* ivData)
{
    mLoad = KeyLoad();
    mLoad.kind = LOAD_CLEAR;
    mLoad.keyLen = keyLen;
    mLoad.key1 = copyOf(keyData, keyLen);
    mLoad.ivLen = ivLen;
    mLoad.iv = copyOf(ivData, ivLen);
    return mCipher == nullptr || applyLoad_i();
}

bool PortingSymCipher::loadWrappedKey(WrapMode mode, unsigned int keyLen,
                                      const unsigned char* key3Data, const unsigned char* key2Data,
                                      const unsigned char* key1Data, unsigned int ivLen,
                                      const unsigned char* ivData)
{
    mLoad = KeyLoad();
    mLoad.kind = LOAD_WRAPPED;
    mLoad.mode = mode;
    mLoad.keyLen = keyLen;
    mLoad.key3 = copyOf(key3Data, keyLen);
    mLoad.key2 = copyOf(key2Data, keyLen);
    mLoad.key1 = copyOf(key1Data, keyLen);
    mLoad.ivLen = ivLen;
    mLoad.iv = copyOf(ivData, ivLen);
    return mCipher == nullptr || applyLoad_i();
}

bool PortingSymCipher::loadWrappedKeyClearIv(WrapMode mode, unsigned int keyLen,
                                             const unsigned char* key2Data,
                                             const unsigned char* key1Data, unsigned int ivLen,
                                             const unsigned char* ivData)
{
    mLoad = KeyLoad();
    mLoad.kind = LOAD_WRAPPED_CLEAR_IV;
    mLoad.mode = mode;
    mLoad.keyLen = keyLen;
    mLoad.key2 = copyOf(key2Data, keyLen);
    mLoad.key1 = copyOf(key1Data, keyLen);
    mLoad.ivLen = ivLen;
    mLoad.iv = copyOf(ivData, ivLen);
    return mCipher == nullptr || applyLoad_i();
}

bool PortingSymCipher::run(unsigned int length, const unsigned char* source,
                           unsigned char* destination)
{
    if (mCipher == nullptr)
        return false;
    return mCipher->run(length, source, destination) == KELO::SUCCESS;
}

bool PortingSymCipher::releaseContext()
{
    if (mCipher != nullptr)
        mDriver->DestroySymCipher(mCipher);
    mCipher = nullptr;
    return true;
}

bool PortingSymCipher::reacquireContext()
{
    if (mCipher == nullptr)
        mCipher = mDriver->CreateSymCipher();
    if (mCipher == nullptr)
        return false;
    return (!mSelected || applySelection_i()) && applyLoad_i();
}

bool PortingSymCipher::applySelection_i()
{
    return mCipher->selectAlgorithm(toDriver(mAlgorithm), toDriver(mDirection)) == KELO::SUCCESS;
}

bool PortingSymCipher::applyLoad_i()
{
    int32 status = KELO::SUCCESS;
    switch (mLoad.kind) {
    case LOAD_NONE:
        break;
    case LOAD_CLEAR:
        status =
            mCipher->loadClearKey(mLoad.keyLen, dataOf(mLoad.key1), mLoad.ivLen, dataOf(mLoad.iv));
        break;
    case LOAD_WRAPPED:
        status = mCipher->loadWrappedKey(toDriver(mLoad.mode), mLoad.keyLen, dataOf(mLoad.key3),
                                         dataOf(mLoad.key2), dataOf(mLoad.key1), mLoad.ivLen,
                                         dataOf(mLoad.iv));
        break;
    case LOAD_WRAPPED_CLEAR_IV:
        status =
            mCipher->loadWrappedKeyClearIv(toDriver(mLoad.mode), mLoad.keyLen, dataOf(mLoad.key2),
                                           dataOf(mLoad.key1), mLoad.ivLen, dataOf(mLoad.iv));
        break;
    }
    return status == KELO::SUCCESS;
}

} // namespace Kapi
