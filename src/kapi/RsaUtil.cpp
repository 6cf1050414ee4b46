// vUtil::RsaUtil: a locked map from key number to the PEM texts of its two halves.
#include "kapi/RsaUtil.h"

#include "kapi/Mutex.h"
#include "kapi/vLog.h"

#include <map>

namespace vUtil {

namespace {

struct KeyPair
{
    std::string privatePem;
    std::string publicPem;
};

struct KeyTable
{
    Kapi::ScopedMutex lock;
    std::map<int, KeyPair> keys; // guarded by lock; no entry holds two empty texts
};

// Made on first use and never destroyed, so keys can be used from static destructors too.
KeyTable& table_i()
{
    static KeyTable* s_table = new KeyTable;
    return *s_table;
}

std::string find_i(int keyNumber, bool privateHalf)
{
    KeyTable& table = table_i();
    Kapi::MutexLocker locker(table.lock);
    auto it = table.keys.find(keyNumber);
    if (it == table.keys.end())
        return std::string();
    return privateHalf ? it->second.privatePem : it->second.publicPem;
}

void store_i(int keyNumber, bool privateHalf, const std::string& pem)
{
    KeyTable& table = table_i();
    Kapi::MutexLocker locker(table.lock);
    KeyPair& pair = table.keys[keyNumber];
    (privateHalf ? pair.privatePem : pair.publicPem) = pem;
    if (pair.privatePem.empty() && pair.publicPem.empty())
        table.keys.erase(keyNumber);
}

} // namespace

bool RsaUtil::loadKey(int keyNumber, Kapi::Rsa* rsa)
{
    const std::string pem = find_i(keyNumber, true);
    if (pem.empty() || rsa == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_INFO, "RsaUtil: no private key number %d",
                        keyNumber);
        return false;
    }
    return rsa->loadKey(pem.c_str());
}

bool RsaUtil::loadPublicKey(int keyNumber, Kapi::Rsa* rsa)
{
    const std::string pem = find_i(keyNumber, false);
    if (pem.empty() || rsa == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_CRYPTO, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_CRYPTO, VLOG_INFO, "RsaUtil: no public key number %d",
                        keyNumber);
        return false;
    }
    return rsa->loadPublicKey(pem.c_str());
}

void RsaUtil::setPrivateKey(int keyNumber, const std::string& pem)
{
    store_i(keyNumber, true, pem);
}

void RsaUtil::setPublicKey(int keyNumber, const std::string& pem)
{
    store_i(keyNumber, false, pem);
}

void RsaUtil::removeKey(int keyNumber)
{
    KeyTable& table = table_i();
    Kapi::MutexLocker locker(table.lock);
    table.keys.erase(keyNumber);
}

} // namespace vUtil
