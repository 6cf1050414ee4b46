#ifndef KAPI_NET_CURLHANDLE_H
#define KAPI_NET_CURLHANDLE_H
// The owner's handle on one request run by the task scheduler. Usage, in this order:
// construct, set the request's fields, setListener, schedule; the handle must not be changed
// after schedule. The listener hears queryFinished() once, on the thread the CallMe factory
// stands for. Destroying the handle releases its query: one that has reported is freed at
// once; one still pending cancels itself if it has not run yet and frees itself when it
// reports; one never scheduled is freed with its task.
//
// Threads: the handle belongs to the factory's thread.
#include "kapi/KapiTypes.h"
#include "kapi/StreamCallMe.h"
#include "kapi/net/CurlEasy.h"
#include "kapi/net/CurlListener.h"

#include <string>

namespace Kapi {

class TaskProcessor;

namespace Net {

class CurlQuery;
class SslParams;

class CurlHandle : public CurlListener
{
public:
    CurlHandle(const Stream::CallMeFactory* factory, unsigned maxSize, bool useAsync);
    CurlHandle(const Stream::CallMeFactory* factory, CurlEasy::PacketListener* listener,
               bool useAsync);
    ~CurlHandle() override;
    CurlHandle(const CurlHandle&) = delete;
    CurlHandle& operator=(const CurlHandle&) = delete;

    void setUrl(const std::string& url);
    void setData(const std::string& body, const std::string& contentType,
                 const std::string& accept);
    void setCertFiles(const std::string& ca, const std::string& cert, const std::string& key,
                      bool strictValidity);
    void setSslParams(SslParams* params);
    // Also records now as the time the query was scheduled, when non-zero.
    void setTimeout(unsigned seconds);
    void setLowSpeedLimit(unsigned bytesPerSecond, unsigned seconds);
    void setResumeFrom(long long offset);
    void addHeader(const std::string& name, const std::string& value);
    void setListener(CurlListener* listener) { m_listener = listener; }
    // Hands the request to `processor`, due now.
    void schedule(TaskProcessor* processor);

    void queryFinished(int code, const std::string& body) override;

    CurlQuery* getQuery() const { return m_query; }
    bool isScheduled() const { return m_scheduled; }

private:
    CurlQuery* m_query;
    CurlListener* m_listener;
    bool m_scheduled;
};

} // namespace Net
} // namespace Kapi

#endif
