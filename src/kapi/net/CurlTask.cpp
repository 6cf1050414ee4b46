// CurlTask: one request on a scheduler worker.
#include "kapi/net/CurlTask.h"

#include "kapi/Timer.h"
#include "kapi/net/CurlAsync.h"
#include "kapi/net/CurlInitNode.h"
#include "kapi/vLog.h"

#include <memory>

namespace Kapi {
namespace Net {

CurlTask::CurlTask(Stream::CallMe* callMe, const std::atomic<bool>* alive, int* result,
                   std::string* body, uint32 maxBodySize, CurlEasy::PacketListener* packetListener,
                   bool useAsync)
    : IOTask(kTypeId), m_callMe(callMe), m_result(result), m_body(body), m_maxBodySize(maxBodySize),
      m_packetListener(packetListener), m_alive(alive), m_useAsync(useAsync)
{
}

CurlTask::~CurlTask()
{
    trigger_i();
}

void CurlTask::trigger_i()
{
    if (m_callMe != nullptr) {
        Stream::CallMe* callMe = m_callMe;
        m_callMe = nullptr;
        callMe->trigger();
    }
}

void CurlTask::setData(const std::string& body, const std::string& contentType,
                       const std::string& accept)
{
    m_postData = body;
    m_postContentType = contentType;
    m_acceptType = accept;
}

void CurlTask::setCertFiles(const std::string& ca, const std::string& cert, const std::string& key,
                            bool strictValidity)
{
    m_caCert = ca;
    m_clientCert = cert;
    m_keyFile = key;
    m_strictValidity = strictValidity;
}

void CurlTask::setTimeout(unsigned seconds, int64 setAt)
{
    m_timeout = seconds;
    m_timeoutSetAt = setAt;
}

void CurlTask::setLowSpeedLimit(unsigned bytesPerSecond, unsigned seconds)
{
    m_lowSpeedLimit = bytesPerSecond;
    m_lowSpeedTime = seconds;
}

void CurlTask::addHeader(const std::string& name, const std::string& value)
{
    m_headers.emplace(name, value);
}

void CurlTask::work()
{
    if (m_alive != nullptr && !m_alive->load(std::memory_order_relaxed)) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO, "Cancelling stale CURL query to %s",
                        m_url.c_str());
        trigger_i();
        return;
    }
    unsigned timeout = m_timeout;
    if (timeout > 0) {
        const unsigned elapsed = static_cast<unsigned>((Timer::now() - m_timeoutSetAt) / 1000000);
        if (elapsed > timeout / 2) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_INFO))
                vLogMessage(VLOGSRC_KAPI_NET, VLOG_INFO,
                            "Query delayed by %us (more than %us), cancelling %s", elapsed,
                            timeout / 2, m_url.c_str());
            trigger_i();
            return;
        }
        if (elapsed > 0) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_NET, VLOG_DEBUG))
                vLogMessage(VLOGSRC_KAPI_NET, VLOG_DEBUG,
                            "Query was scheduled with %us timeout %us ago, using %us as curl "
                            "timeout",
                            timeout, elapsed, timeout - elapsed);
            timeout -= elapsed;
        }
    }
    CurlInitNode* node = CurlInitNode::s_instance;
    std::unique_ptr<CurlEasy> request(m_useAsync ? new CurlAsync(node->getCurlPool())
                                                 : new CurlEasy(node->getCurlPool()));
    request->setUrl(m_url);
    if (node->isVerbose()) {
        request->setVerboseMode(true);
    }
    if (!m_postData.empty()) {
        request->setData(m_postData, m_postContentType, m_acceptType);
    }
    if (m_body == nullptr) {
        if (m_packetListener == nullptr) {
            trigger_i();
            return;
        }
        request->setPacketListener(m_packetListener);
    } else {
        request->mMaxBodySize = m_maxBodySize;
    }
    if (timeout > 0) {
        request->setTimeout(timeout);
    }
    if (m_lowSpeedLimit != 0 && m_lowSpeedTime != 0) {
        request->setLowSpeedLimit(m_lowSpeedLimit, m_lowSpeedTime);
    }
    if (m_resumeFrom != 0) {
        request->setResumeFrom(m_resumeFrom);
    }
    for (const auto& header : m_headers) {
        request->addHttpHeader(header.first, header.second);
    }
    if (m_sslParams == nullptr) {
        request->setCertFiles(m_caCert, m_clientCert, m_keyFile, m_strictValidity);
    } else {
        request->setSslParams(m_sslParams);
    }
    const Curl::Code code = request->perform();
    if (m_result != nullptr) {
        *m_result = code;
    }
    if (m_body != nullptr) {
        if (code == Curl::kOk) {
            *m_body = request->mBody;
        } else {
            m_body->clear();
        }
    }
    request.reset();
    trigger_i();
}

} // namespace Net
} // namespace Kapi
