// SslConnection: OpenSSL never touches a descriptor here; every byte moves through the memory
// BIOs, so all blocking decisions stay with the lower connection and the network loop.
#include "kapi/comm/SslConnection.h"

#include "kapi/vLog.h"

#include <openssl/err.h>
#include <openssl/x509.h>

namespace Kapi {
namespace Comm {

namespace {

const char* lastSslError()
{
    static thread_local char s_text[256];
    ERR_error_string_n(ERR_get_error(), s_text, sizeof s_text);
    return s_text;
}

} // namespace

SslConnection::SslConnection(SSL_CTX* context, std::shared_ptr<IConnection> lower, bool isServer,
                             IConnection::Listener* listener)
    : m_lower(std::move(lower)), m_isServer(isServer), m_inBuf(new uint8[kReadChunk])
{
    m_listener = listener;
    m_ssl = context != nullptr ? SSL_new(context) : nullptr;
    if (m_ssl == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR, "Cannot create SSL");
        if (m_listener != nullptr)
            m_listener->disconnected();
        return;
    }
    m_netIn = BIO_new(BIO_s_mem());
    m_netOut = BIO_new(BIO_s_mem());
    SSL_set_bio(m_ssl, m_netIn, m_netOut);
    // A write refused while the handshake runs is retried by the framing layer with the same
    // bytes, but OpenSSL must not insist on the same buffer address.
    SSL_set_mode(m_ssl, SSL_MODE_ACCEPT_MOVING_WRITE_BUFFER);
    if (m_isServer)
        SSL_set_accept_state(m_ssl);
    else
        SSL_set_connect_state(m_ssl);
    if (m_lower)
        m_lower->setListener(this);
}

SslConnection::~SslConnection()
{
    if (m_lower)
        m_lower->setListener(nullptr);
    free_i();
}

void SslConnection::free_i()
{
    if (m_ssl != nullptr)
        SSL_free(m_ssl); // frees both BIOs
    m_ssl = nullptr;
    m_netIn = nullptr;
    m_netOut = nullptr;
    m_outBuf.reset();
    m_outLen = m_outSent = 0;
    m_inLen = m_inUsed = 0;
}

bool SslConnection::outPending_i() const
{
    return m_outSent < m_outLen || (m_netOut != nullptr && BIO_ctrl_pending(m_netOut) > 0);
}

void SslConnection::flushOut_i()
{
    while (m_lower && m_ssl != nullptr) {
        if (m_outSent < m_outLen) {
            std::shared_ptr<IConnection> lower = m_lower;
            m_outSent += lower->write(m_outBuf.get() + m_outSent, m_outLen - m_outSent, 0);
            if (m_ssl == nullptr || m_outSent < m_outLen)
                return;
        }
        const size_t pending = BIO_ctrl_pending(m_netOut);
        if (pending == 0)
            return;
        m_outBuf.reset(new uint8[pending]);
        const int taken = BIO_read(m_netOut, m_outBuf.get(), static_cast<int>(pending));
        m_outLen = taken > 0 ? static_cast<unsigned>(taken) : 0;
        m_outSent = 0;
    }
}

void SslConnection::pullIn_i()
{
    while (m_lower && m_ssl != nullptr) {
        if (m_inUsed == m_inLen) {
            std::shared_ptr<IConnection> lower = m_lower;
            m_inUsed = 0;
            m_inLen = lower->read(m_inBuf.get(), kReadChunk);
            if (m_inLen == 0 || m_ssl == nullptr)
                return;
        }
        const int fed =
            BIO_write(m_netIn, m_inBuf.get() + m_inUsed, static_cast<int>(m_inLen - m_inUsed));
        if (fed <= 0)
            return;
        m_inUsed += static_cast<unsigned>(fed);
    }
}

void SslConnection::closeLower_i()
{
    if (m_lower) {
        std::shared_ptr<IConnection> lower = m_lower;
        lower->close();
    }
}

void SslConnection::connected()
{
    if (m_ssl == nullptr)
        return;
    std::shared_ptr<IConnection> keep = weak_from_this().lock();
    const int result = m_isServer ? SSL_accept(m_ssl) : SSL_connect(m_ssl);
    if (result <= 0) {
        const int error = SSL_get_error(m_ssl, result);
        if (error == SSL_ERROR_SSL) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_WARNING))
                vLogMessage(VLOGSRC_KAPI_COMM, VLOG_WARNING,
                            "SslConnection(%p)::connected: SSL_ERROR_SSL: %s",
                            static_cast<void*>(this), lastSslError());
            return;
        }
        if (error != SSL_ERROR_WANT_READ && error != SSL_ERROR_WANT_WRITE) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR,
                            "SslConnection(%p)::connected: other error: %d",
                            static_cast<void*>(this), error);
            return;
        }
    }
    flushOut_i();
    if (m_listener != nullptr)
        m_listener->connected();
}

void SslConnection::readReady()
{
    std::shared_ptr<IConnection> keep = weak_from_this().lock();
    pullIn_i();
    flushOut_i();
    if (m_listener != nullptr)
        m_listener->readReady();
    if (m_listener != nullptr)
        m_listener->writeReady();
}

void SslConnection::writeReady()
{
    std::shared_ptr<IConnection> keep = weak_from_this().lock();
    flushOut_i();
    if (m_listener != nullptr)
        m_listener->writeReady();
}

void SslConnection::disconnected()
{
    std::shared_ptr<IConnection> keep = weak_from_this().lock();
    if (m_lower) {
        m_lower->setListener(nullptr);
        m_lower.reset();
    }
    if (outPending_i()) {
        const size_t waiting =
            (m_outLen - m_outSent) + (m_netOut != nullptr ? BIO_ctrl_pending(m_netOut) : 0);
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_WARNING,
                        "SslConnection: Closed with %u bytes remaining",
                        static_cast<unsigned>(waiting));
    }
    free_i();
    if (m_listener != nullptr)
        m_listener->disconnected();
}

unsigned int SslConnection::write(const void* buf, unsigned int len, int /*flags*/)
{
    if (m_ssl == nullptr || outPending_i())
        return 0;
    std::shared_ptr<IConnection> keep = weak_from_this().lock();
    const int result = SSL_write(m_ssl, buf, static_cast<int>(len));
    if (result > 0) {
        flushOut_i();
        return static_cast<unsigned int>(result);
    }
    const int error = SSL_get_error(m_ssl, result);
    if (error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE) {
        flushOut_i();
        return 0;
    }
    if (error == SSL_ERROR_SSL) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_WARNING))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_WARNING, "sWrite: SSL_ERROR_SSL: %s",
                        lastSslError());
    } else if (error == SSL_ERROR_ZERO_RETURN) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_INFO))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_INFO,
                        "SslConnection(%p)::sWrite: SSL_ERROR_ZERO_RETURN: %s",
                        static_cast<void*>(this), lastSslError());
    } else {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR, "SslConnection(%p)::sWrite: other error: %d",
                        static_cast<void*>(this), error);
    }
    closeLower_i();
    return 0;
}

unsigned int SslConnection::read(void* buf, unsigned int len)
{
    if (m_ssl == nullptr)
        return 0;
    std::shared_ptr<IConnection> keep = weak_from_this().lock();
    unsigned int gathered = 0;
    while (gathered < len) {
        const int result =
            SSL_read(m_ssl, static_cast<uint8*>(buf) + gathered, static_cast<int>(len - gathered));
        if (result > 0) {
            gathered += static_cast<unsigned int>(result);
            continue;
        }
        const int error = SSL_get_error(m_ssl, result);
        if (error == SSL_ERROR_WANT_READ || error == SSL_ERROR_WANT_WRITE) {
            flushOut_i();
            return gathered;
        }
        if (error == SSL_ERROR_SSL) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_WARNING))
                vLogMessage(VLOGSRC_KAPI_COMM, VLOG_WARNING,
                            "SslConnection(%p)::sRead: SSL_ERROR_SSL: %s", static_cast<void*>(this),
                            lastSslError());
        } else if (error == SSL_ERROR_ZERO_RETURN) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_INFO))
                vLogMessage(VLOGSRC_KAPI_COMM, VLOG_INFO,
                            "SslConnection(%p)::sRead: SSL_ERROR_ZERO_RETURN: %s",
                            static_cast<void*>(this), lastSslError());
        } else {
            if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR, "sRead: other error: %d", error);
        }
        closeLower_i();
        return 0;
    }
    return gathered;
}

void SslConnection::close()
{
    closeLower_i();
}

bool SslConnection::getUInt32Property(LinkProperty property, unsigned int* out) const
{
    if (property == LINK_IS_ENCRYPTED) {
        *out = 1;
        return true;
    }
    return m_lower ? m_lower->getUInt32Property(property, out) : false;
}

std::string SslConnection::getClientCertificateCommonName() const
{
    X509* peer = m_ssl != nullptr ? SSL_get1_peer_certificate(m_ssl) : nullptr;
    if (peer == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR,
                        "SslConnection: SSL_get_peer_certificate failed");
        return "";
    }
    std::string name;
    X509_NAME* subject = X509_get_subject_name(peer);
    if (subject == nullptr) {
        if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
            vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR,
                        "SslConnection: X509_get_subject_name failed");
    } else {
        char text[256];
        if (X509_NAME_get_text_by_NID(subject, NID_commonName, text, sizeof text) < 0) {
            if (vLogLevelEnabled(VLOGSRC_KAPI_COMM, VLOG_ERROR))
                vLogMessage(VLOGSRC_KAPI_COMM, VLOG_ERROR,
                            "SslConnection: X509_NAME_get_text_by_NID failed");
        } else {
            name = text;
        }
    }
    X509_free(peer);
    return name;
}

} // namespace Comm
} // namespace Kapi
