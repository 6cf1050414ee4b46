#ifndef KAPI_NET_CURLEASY_H
#define KAPI_NET_CURLEASY_H
// One HTTP(S) request on one libcurl easy handle, with this system's request defaults.
//
// Representation: the easy handle (from a CurlPool, or curl_easy_init when the pool is null)
// carries PRIVATE = this object, so libcurl callbacks and CurlMulti find their way back. The
// body goes to exactly one place during a transfer: the output file when a file name is set,
// else the packet listener when one is set, else mBody (at most mMaxBodySize bytes: one more
// byte fails the transfer with 23). Response headers collect in mResponseHeaders (a repeated
// name keeps the later value, as KeyValueMap does). The output FILE is open only between
// setupTransfer() and finalizeTransfer().
//
// Defaults applied at construction (and so after every pool reset): no proxy, follow up to 5
// redirects keeping POST across a 301, GET, ciphers "DEFAULT:!CAMELLIA" with TLS 1.0 allowed,
// no signals, DNS cache 600 s, connect timeout 60 s, no total timeout, 64 KiB receive buffer.
//
// Threads: one thread at a time uses an object; libcurl calls the callbacks on the thread
// that runs the transfer.
#include "kapi/KeyValueMap.h"
#include "kapi/net/CurlCode.h"

#include <cstdio>
#include <string>

namespace Kapi {
namespace Net {

class CurlPool;
class SslParams;

class CurlEasy
{
public:
    // Receives the body as it arrives, on the transfer's thread.
    class PacketListener
    {
    public:
        virtual ~PacketListener() {}
        // One received block. Returning false stops the transfer at once (result 23): a
        // consumer that no longer wants the data ends a running transfer this way.
        virtual bool gotBytes(void* data, unsigned int size) = 0;
        // The response's Content-Length, when the server sent one.
        virtual void gotContentLength(unsigned long long) {}
    };

    class TransferListener
    {
    public:
        virtual ~TransferListener() {}
        virtual void transferComplete(Curl::Code code) = 0;
    };

    struct Stats
    {
        double totalTime = 0;
        double nameLookupTime = 0;
        double connectTime = 0;
        double preTransferTime = 0;
        double downloadSpeed = 0;
        double startTransferTime = 0;
        double redirectTime = 0;
        int32 redirectCount = 0;
        int32 numConnects = 0;

        // "total=%f; dns=%f; connect=%f; pre=%f; speed=%f; start=%f; redir=%f:%d, ncons=%d"
        std::string toString() const;
    };

    explicit CurlEasy(CurlPool* pool);
    virtual ~CurlEasy();
    CurlEasy(const CurlEasy&) = delete;
    CurlEasy& operator=(const CurlEasy&) = delete;

    // Blocking transfer on the calling thread; logs an error on every use (a blocked caller
    // cannot be released at shutdown).
    virtual Curl::Code perform();

    void setUrl(const std::string& url);
    void setVerbose(bool on);
    void setVerboseMode(bool on);
    void setUserAgent(const std::string& agent);
    void setTimeout(unsigned int seconds);
    unsigned int getTimeout() const { return mTimeout; }
    void setConnectTimeout(unsigned int seconds);
    void setLowSpeedLimit(unsigned int bytesPerSecond, unsigned int seconds);
    // Range "offset-".
    void setResumeFrom(long long offset);
    // Range "first-(end-1)": `end` is exclusive.
    void setRange(long long first, long long end);
    void setMaxSendSpeed(long long bitsPerSecond);
    void setMaxReceiveSpeed(long long bitsPerSecond);
    void setIgnoreBody(bool ignore);
    void setSslVerifyPeer(bool verify);
    // Appends "name: value"; an empty value ("name: ") makes libcurl leave that header out.
    void addHttpHeader(const std::string& name, const std::string& value);
    void addHttpHeaders(const KeyValueMap& headers);
    // A POST of `body`, which must outlive the transfer.
    void setData(const std::string& body, const std::string& contentType,
                 const std::string& accept);
    // CA file (peer verified, host name not), client certificate and key files; with
    // strictValidity false an expired or not-yet-valid server certificate is accepted.
    void setCertFiles(const std::string& caCert, const std::string& cert, const std::string& key,
                      bool strictValidity);
    // TLS material from `params` (not owned; must outlive the transfer).
    void setSslParams(SslParams* params);
    // The body goes to this file instead of memory (empty: memory).
    void setOutputFile(const std::string& path) { mOutputFileName = path; }
    void setPacketListener(PacketListener* listener);
    void setTransferListener(TransferListener* listener) { mTransferListener = listener; }
    void setPrivateData(void* data) { mPrivateData = data; }
    void* getPrivateData() const { return mPrivateData; }
    // The private data of the CurlEasy owning `easyHandle`, which is cleared; null if none.
    static void* getAndClearPrivateData(void* easyHandle);

    // The HTTP response code of the last transfer, 0 if none.
    long getStatusCode() const;
    void getStats(Stats* stats) const;
    std::string getPrimaryIp() const;
    // Body bytes received by the last transfer, wherever they went.
    long long getDownloadSize() const;

    // Transfer plumbing shared with CurlMulti.
    Curl::Code setupTransfer();
    void finalizeTransfer();
    void setErrorMessage(Curl::Code code);
    static void callTransferListener(void* easyHandle, Curl::Code code);
    void* getEasyHandle() const { return mHandle; }

    // Read and written directly by users.
    std::string mBody;
    uint32 mMaxBodySize = 4096;
    KeyValueMap mResponseHeaders;
    std::string mErrorMessage;

    // libcurl callbacks.
    static size_t bufferWrite_i(char* data, size_t size, size_t count, void* self);
    static size_t packetWrite_i(char* data, size_t size, size_t count, void* self);
    static size_t headerParse_i(char* data, size_t size, size_t count, void* self);

private:
    void applyDefaults_i();
    void handleHeaderLine_i(const char* data, size_t length);

    CurlPool* mPool;
    void* mHandle;     // CURL*
    void* mHeaderList; // struct curl_slist*
    std::string mOutputFileName;
    FILE* mOutputFile;
    PacketListener* mPacketListener;
    TransferListener* mTransferListener;
    uint32 mTimeout;
    void* mPrivateData;
};

} // namespace Net
} // namespace Kapi

#endif
