// CurlEasy: request options. The transfer itself (callbacks, perform) is in
// CurlEasyTransfer.cpp. Option setters ignore libcurl's return value: an option libcurl
// refuses shows up as the transfer's result code.
#include "kapi/net/CurlEasy.h"

#include "kapi/FileUtil.h"
#include "kapi/StringUtil.h"
#include "kapi/net/CurlPool.h"
#include "kapi/net/SslParams.h"
#include "kapi/vLog.h"

#include <curl/curl.h>
#include <openssl/ssl.h>

namespace Kapi {
namespace Net {

namespace {

constexpr long kMaxRedirects = 5;
constexpr long kDnsCacheSeconds = 600;
constexpr long kConnectTimeoutSeconds = 60;
const char* const kCipherList = "DEFAULT:!CAMELLIA";
// libcurl's 16 KiB default costs a poll round and a callback per 16 KiB; 64 KiB brings a
// bulk download's CPU cost down to that of the curl command line tool.
constexpr long kReceiveBufferBytes = 65536;

CURL* easy(void* handle)
{
    return static_cast<CURL*>(handle);
}

// Every TLS context of every request: lets the handshake fall back as far as TLS 1.0.
CURLcode legacyTlsContext(CURL*, void* sslCtx, void*)
{
    SslParams::allowLegacyProtocols(static_cast<SSL_CTX*>(sslCtx));
    return CURLE_OK;
}

// The CA-file path with strictValidity false: expiry of the server's chain is tolerated.
CURLcode tolerantContext(CURL*, void* sslCtx, void*)
{
    SSL_CTX* ctx = static_cast<SSL_CTX*>(sslCtx);
    SslParams::allowLegacyProtocols(ctx);
    SSL_CTX_set_verify(ctx, SSL_VERIFY_PEER, SslParams::tolerantVerifyCallback);
    return CURLE_OK;
}

CURLcode paramsContext(CURL*, void* sslCtx, void* params)
{
    SSL_CTX* ctx = static_cast<SSL_CTX*>(sslCtx);
    SslParams::allowLegacyProtocols(ctx);
    return static_cast<SslParams*>(params)->apply(ctx) ? CURLE_OK : CURLE_SSL_CERTPROBLEM;
}

void warnUnreadable(const char* what, const std::string& path)
{
    if (FileUtil::isReadable(path)) {
        return;
    }
    if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_ERROR))
        vLogMessage(VLOGSRC_KAPI_NET, VLOG_ERROR, "%s file \"%s\" not readable", what,
                    path.c_str());
}

} // namespace

std::string CurlEasy::Stats::toString() const
{
    return StringUtil::newPrintf(
        "total=%f; dns=%f; connect=%f; pre=%f; speed=%f; start=%f; redir=%f:%d, ncons=%d",
        totalTime, nameLookupTime, connectTime, preTransferTime, downloadSpeed, startTransferTime,
        redirectTime, static_cast<int>(redirectCount), static_cast<int>(numConnects));
}

CurlEasy::CurlEasy(CurlPool* pool)
    : mPool(pool), mHandle(pool != nullptr ? pool->getHandle() : curl_easy_init()),
      mHeaderList(nullptr), mOutputFile(nullptr), mPacketListener(nullptr),
      mTransferListener(nullptr), mTimeout(0), mPrivateData(nullptr)
{
    applyDefaults_i();
}

CurlEasy::~CurlEasy()
{
    finalizeTransfer();
    if (mHandle != nullptr) {
        if (mPool != nullptr) {
            mPool->returnHandle(mHandle);
        } else {
            curl_easy_cleanup(easy(mHandle));
        }
    }
    curl_slist_free_all(static_cast<curl_slist*>(mHeaderList));
}

void CurlEasy::applyDefaults_i()
{
    CURL* h = easy(mHandle);
    if (h == nullptr) {
        return;
    }
    curl_easy_setopt(h, CURLOPT_PRIVATE, this);
    curl_easy_setopt(h, CURLOPT_PROXY, "");
    curl_easy_setopt(h, CURLOPT_FOLLOWLOCATION, 1L);
    curl_easy_setopt(h, CURLOPT_MAXREDIRS, kMaxRedirects);
    curl_easy_setopt(h, CURLOPT_POSTREDIR, static_cast<long>(CURL_REDIR_POST_301));
    curl_easy_setopt(h, CURLOPT_HTTPGET, 1L);
    curl_easy_setopt(h, CURLOPT_SSL_CIPHER_LIST, kCipherList);
    curl_easy_setopt(h, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(h, CURLOPT_DNS_CACHE_TIMEOUT, kDnsCacheSeconds);
    curl_easy_setopt(h, CURLOPT_CONNECTTIMEOUT, kConnectTimeoutSeconds);
    curl_easy_setopt(h, CURLOPT_SSL_CTX_FUNCTION, legacyTlsContext);
    curl_easy_setopt(h, CURLOPT_BUFFERSIZE, kReceiveBufferBytes);
}

void CurlEasy::setUrl(const std::string& url)
{
    curl_easy_setopt(easy(mHandle), CURLOPT_URL, url.c_str());
}

void CurlEasy::setVerbose(bool on)
{
    curl_easy_setopt(easy(mHandle), CURLOPT_VERBOSE, on ? 1L : 0L);
}

void CurlEasy::setVerboseMode(bool on)
{
    setVerbose(on);
}

void CurlEasy::setUserAgent(const std::string& agent)
{
    curl_easy_setopt(easy(mHandle), CURLOPT_USERAGENT, agent.c_str());
}

void CurlEasy::setTimeout(unsigned int seconds)
{
    mTimeout = seconds;
    curl_easy_setopt(easy(mHandle), CURLOPT_TIMEOUT, static_cast<long>(seconds));
}

void CurlEasy::setConnectTimeout(unsigned int seconds)
{
    curl_easy_setopt(easy(mHandle), CURLOPT_CONNECTTIMEOUT, static_cast<long>(seconds));
}

void CurlEasy::setLowSpeedLimit(unsigned int bytesPerSecond, unsigned int seconds)
{
    curl_easy_setopt(easy(mHandle), CURLOPT_LOW_SPEED_LIMIT, static_cast<long>(bytesPerSecond));
    curl_easy_setopt(easy(mHandle), CURLOPT_LOW_SPEED_TIME, static_cast<long>(seconds));
}

void CurlEasy::setResumeFrom(long long offset)
{
    const std::string range = StringUtil::newPrintf("%lld-", offset);
    curl_easy_setopt(easy(mHandle), CURLOPT_RANGE, range.c_str());
}

void CurlEasy::setRange(long long first, long long end)
{
    const std::string range = StringUtil::newPrintf("%lld-%lld", first, end - 1);
    curl_easy_setopt(easy(mHandle), CURLOPT_RANGE, range.c_str());
}

void CurlEasy::setMaxSendSpeed(long long bitsPerSecond)
{
    curl_easy_setopt(easy(mHandle), CURLOPT_MAX_SEND_SPEED_LARGE,
                     static_cast<curl_off_t>(bitsPerSecond / 8));
}

void CurlEasy::setMaxReceiveSpeed(long long bitsPerSecond)
{
    curl_easy_setopt(easy(mHandle), CURLOPT_MAX_RECV_SPEED_LARGE,
                     static_cast<curl_off_t>(bitsPerSecond / 8));
}

void CurlEasy::setIgnoreBody(bool ignore)
{
    curl_easy_setopt(easy(mHandle), CURLOPT_NOBODY, ignore ? 1L : 0L);
}

void CurlEasy::setSslVerifyPeer(bool verify)
{
    curl_easy_setopt(easy(mHandle), CURLOPT_SSL_VERIFYPEER, verify ? 1L : 0L);
}

void CurlEasy::addHttpHeader(const std::string& name, const std::string& value)
{
    const std::string line = name + ": " + value;
    curl_slist* list = curl_slist_append(static_cast<curl_slist*>(mHeaderList), line.c_str());
    if (list != nullptr) {
        mHeaderList = list;
    }
}

void CurlEasy::addHttpHeaders(const KeyValueMap& headers)
{
    for (const auto& entry : headers) {
        addHttpHeader(entry.first, entry.second.asString());
    }
}

void CurlEasy::setData(const std::string& body, const std::string& contentType,
                       const std::string& accept)
{
    CURL* h = easy(mHandle);
    curl_easy_setopt(h, CURLOPT_POST, 1L);
    curl_easy_setopt(h, CURLOPT_POSTFIELDS, body.c_str());
    curl_easy_setopt(h, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(body.size()));
    addHttpHeader("Expect", "");
    addHttpHeader("Content-Type", contentType);
    if (!accept.empty()) {
        addHttpHeader("Accept", accept);
    }
}

void CurlEasy::setCertFiles(const std::string& caCert, const std::string& cert,
                            const std::string& key, bool strictValidity)
{
    CURL* h = easy(mHandle);
    if (!caCert.empty()) {
        warnUnreadable("caCert", caCert);
        curl_easy_setopt(h, CURLOPT_SSL_VERIFYHOST, 0L);
        curl_easy_setopt(h, CURLOPT_CAINFO, caCert.c_str());
        curl_easy_setopt(h, CURLOPT_SSL_VERIFYPEER, 1L);
        if (!strictValidity) {
            curl_easy_setopt(h, CURLOPT_SSL_CTX_FUNCTION, tolerantContext);
        }
    }
    if (!cert.empty()) {
        warnUnreadable("cert", cert);
        curl_easy_setopt(h, CURLOPT_SSLCERT, cert.c_str());
    }
    if (!key.empty()) {
        warnUnreadable("key", key);
        curl_easy_setopt(h, CURLOPT_SSLKEY, key.c_str());
    }
    if (!caCert.empty() || !cert.empty() || !key.empty()) {
        curl_easy_setopt(h, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1));
    }
}

void CurlEasy::setSslParams(SslParams* params)
{
    CURL* h = easy(mHandle);
    curl_easy_setopt(h, CURLOPT_SSL_VERIFYHOST, 0L);
    curl_easy_setopt(h, CURLOPT_SSLVERSION, static_cast<long>(CURL_SSLVERSION_TLSv1));
    curl_easy_setopt(h, CURLOPT_SSL_CTX_FUNCTION, paramsContext);
    curl_easy_setopt(h, CURLOPT_SSL_CTX_DATA, params);
    curl_easy_setopt(h, CURLOPT_CAINFO, static_cast<char*>(nullptr));
    curl_easy_setopt(h, CURLOPT_CAPATH, static_cast<char*>(nullptr));
}

void CurlEasy::setPacketListener(PacketListener* listener)
{
    mPacketListener = listener;
    curl_easy_setopt(easy(mHandle), CURLOPT_WRITEFUNCTION, packetWrite_i);
    curl_easy_setopt(easy(mHandle), CURLOPT_WRITEDATA, this);
}

void* CurlEasy::getAndClearPrivateData(void* easyHandle)
{
    char* owner = nullptr;
    if (easyHandle == nullptr ||
        curl_easy_getinfo(easy(easyHandle), CURLINFO_PRIVATE, &owner) != CURLE_OK ||
        owner == nullptr) {
        return nullptr;
    }
    CurlEasy* self = reinterpret_cast<CurlEasy*>(owner);
    void* data = self->mPrivateData;
    self->mPrivateData = nullptr;
    return data;
}

long CurlEasy::getStatusCode() const
{
    long code = 0;
    if (curl_easy_getinfo(easy(mHandle), CURLINFO_RESPONSE_CODE, &code) != CURLE_OK) {
        return 0;
    }
    return code;
}

void CurlEasy::getStats(Stats* stats) const
{
    CURL* h = easy(mHandle);
    // The microsecond variants, converted to the seconds libcurl's double variants give.
    auto readSeconds = [h](CURLINFO info) {
        curl_off_t value = 0;
        return curl_easy_getinfo(h, info, &value) == CURLE_OK ? static_cast<double>(value) / 1e6
                                                              : 0.0;
    };
    auto readLong = [h](CURLINFO info) {
        long value = 0;
        return curl_easy_getinfo(h, info, &value) == CURLE_OK ? static_cast<int32>(value) : 0;
    };
    curl_off_t speed = 0;
    stats->totalTime = readSeconds(CURLINFO_TOTAL_TIME_T);
    stats->nameLookupTime = readSeconds(CURLINFO_NAMELOOKUP_TIME_T);
    stats->connectTime = readSeconds(CURLINFO_CONNECT_TIME_T);
    stats->preTransferTime = readSeconds(CURLINFO_PRETRANSFER_TIME_T);
    stats->downloadSpeed = curl_easy_getinfo(h, CURLINFO_SPEED_DOWNLOAD_T, &speed) == CURLE_OK
                               ? static_cast<double>(speed)
                               : 0.0;
    stats->startTransferTime = readSeconds(CURLINFO_STARTTRANSFER_TIME_T);
    stats->redirectTime = readSeconds(CURLINFO_REDIRECT_TIME_T);
    stats->redirectCount = readLong(CURLINFO_REDIRECT_COUNT);
    stats->numConnects = readLong(CURLINFO_NUM_CONNECTS);
}

long long CurlEasy::getDownloadSize() const
{
    curl_off_t size = 0;
    if (curl_easy_getinfo(easy(mHandle), CURLINFO_SIZE_DOWNLOAD_T, &size) != CURLE_OK) {
        return 0;
    }
    return static_cast<long long>(size);
}

std::string CurlEasy::getPrimaryIp() const
{
    char* ip = nullptr;
    if (curl_easy_getinfo(easy(mHandle), CURLINFO_PRIMARY_IP, &ip) != CURLE_OK || ip == nullptr) {
        return std::string();
    }
    return ip;
}

} // namespace Net
} // namespace Kapi
