#ifndef KAPI_NET_CURLTASK_H
#define KAPI_NET_CURLTASK_H
// A request run as a task of the task scheduler (I/O category, type 1): work() builds a
// CurlAsync (or CurlEasy), performs it on the worker thread, stores the result through the
// owner's pointers and triggers the owner's CallMe.
//
// Representation: the request description (URL, POST body and types, certificate files or
// SslParams, timeout and the time it was set, low-speed limit, resume offset, extra headers)
// plus the owner's destinations: result code, body (null when a packet listener takes the
// body) and the alive flag. The CallMe is triggered exactly once: by work(), or by the
// destructor when the task is dropped unrun (the owner then sees its result untouched, 206).
//
// Threads: filled by the owner before it is scheduled; afterwards only the worker running
// work() touches it. The owner's destinations are written before the trigger, so the owner
// reads them safely once its CallMe fires.
#include "kapi/KapiTypes.h"
#include "kapi/StreamCallMe.h"
#include "kapi/Task.h"
#include "kapi/net/CurlEasy.h"

#include <atomic>
#include <map>
#include <string>

namespace Kapi {
namespace Net {

class SslParams;

class CurlTask : public IOTask
{
public:
    static constexpr TypeID kTypeId = 1;

    // `body` null: the body goes to `packetListener` (when both are null nothing is fetched).
    CurlTask(Stream::CallMe* callMe, const std::atomic<bool>* alive, int* result, std::string* body,
             uint32 maxBodySize, CurlEasy::PacketListener* packetListener, bool useAsync);
    ~CurlTask() override;

    void work() override;

    void setUrl(const std::string& url) { m_url = url; }
    void setData(const std::string& body, const std::string& contentType,
                 const std::string& accept);
    void setCertFiles(const std::string& ca, const std::string& cert, const std::string& key,
                      bool strictValidity);
    void setSslParams(SslParams* params) { m_sslParams = params; }
    // `setAt` is when the timeout was given (Kapi::Timer::now() microseconds): time spent
    // queued counts against it.
    void setTimeout(unsigned seconds, int64 setAt);
    void setLowSpeedLimit(unsigned bytesPerSecond, unsigned seconds);
    void setResumeFrom(long long offset) { m_resumeFrom = offset; }
    void addHeader(const std::string& name, const std::string& value);
    // Forgets the CallMe: a task dropped by an owner that is going away triggers nothing.
    void detachCallMe() { m_callMe = nullptr; }

    const std::string& getUrl() const { return m_url; }

private:
    void trigger_i();

    Stream::CallMe* m_callMe;
    std::string m_url;
    std::string m_postData;
    std::string m_postContentType;
    std::string m_acceptType;
    std::string m_caCert;
    std::string m_clientCert;
    std::string m_keyFile;
    bool m_strictValidity = true;
    SslParams* m_sslParams = nullptr;
    unsigned m_timeout = 0;
    int64 m_timeoutSetAt = 0;
    unsigned m_lowSpeedLimit = 0;
    unsigned m_lowSpeedTime = 0;
    long long m_resumeFrom = 0;
    std::multimap<std::string, std::string> m_headers;
    int* m_result;
    std::string* m_body;
    uint32 m_maxBodySize;
    CurlEasy::PacketListener* m_packetListener;
    const std::atomic<bool>* m_alive;
    bool m_useAsync;
};

} // namespace Net
} // namespace Kapi

#endif
