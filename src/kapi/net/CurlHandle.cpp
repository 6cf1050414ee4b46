// CurlHandle: forwards the query's completion to the user's listener. The handle itself is
// the query's listener from construction on, so a query never outlives the handle's view of
// it without the handle knowing.
#include "kapi/net/CurlHandle.h"

#include "kapi/TaskProcessor.h"
#include "kapi/Timer.h"
#include "kapi/net/CurlQuery.h"
#include "kapi/net/CurlTask.h"

namespace Kapi {
namespace Net {

CurlHandle::CurlHandle(const Stream::CallMeFactory* factory, unsigned maxSize, bool useAsync)
    : m_query(new CurlQuery(factory, maxSize, useAsync)), m_listener(nullptr), m_scheduled(false)
{
    m_query->setListener(this);
}

CurlHandle::CurlHandle(const Stream::CallMeFactory* factory, CurlEasy::PacketListener* listener,
                       bool useAsync)
    : m_query(new CurlQuery(factory, listener, useAsync)), m_listener(nullptr), m_scheduled(false)
{
    m_query->setListener(this);
}

CurlHandle::~CurlHandle()
{
    if (m_query->getTask() != nullptr) {
        m_query->discardUnscheduled();
    } else {
        m_query->setListener(nullptr);
    }
}

void CurlHandle::setUrl(const std::string& url)
{
    if (CurlTask* task = m_query->getTask()) {
        task->setUrl(url);
    }
}

void CurlHandle::setData(const std::string& body, const std::string& contentType,
                         const std::string& accept)
{
    if (CurlTask* task = m_query->getTask()) {
        task->setData(body, contentType, accept);
    }
}

void CurlHandle::setCertFiles(const std::string& ca, const std::string& cert,
                              const std::string& key, bool strictValidity)
{
    if (CurlTask* task = m_query->getTask()) {
        task->setCertFiles(ca, cert, key, strictValidity);
    }
}

void CurlHandle::setSslParams(SslParams* params)
{
    if (CurlTask* task = m_query->getTask()) {
        task->setSslParams(params);
    }
}

void CurlHandle::setTimeout(unsigned seconds)
{
    if (CurlTask* task = m_query->getTask()) {
        task->setTimeout(seconds, seconds != 0 ? Timer::now() : 0);
    }
}

void CurlHandle::setLowSpeedLimit(unsigned bytesPerSecond, unsigned seconds)
{
    if (CurlTask* task = m_query->getTask()) {
        task->setLowSpeedLimit(bytesPerSecond, seconds);
    }
}

void CurlHandle::setResumeFrom(long long offset)
{
    if (CurlTask* task = m_query->getTask()) {
        task->setResumeFrom(offset);
    }
}

void CurlHandle::addHeader(const std::string& name, const std::string& value)
{
    if (CurlTask* task = m_query->getTask()) {
        task->addHeader(name, value);
    }
}

void CurlHandle::schedule(TaskProcessor* processor)
{
    if (m_scheduled) {
        return;
    }
    m_scheduled = true;
    CurlTask* task = m_query->releaseTask();
    if (task != nullptr) {
        processor->schedule(task, Timer::now());
    }
}

void CurlHandle::queryFinished(int code, const std::string& body)
{
    if (m_listener != nullptr) {
        m_listener->queryFinished(code, body);
    }
}

} // namespace Net
} // namespace Kapi
