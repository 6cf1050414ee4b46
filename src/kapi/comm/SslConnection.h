#ifndef KAPI_COMM_SSLCONNECTION_H
#define KAPI_COMM_SSLCONNECTION_H
// Kapi::Comm::SslConnection: TLS over another IConnection, with OpenSSL working on two memory
// BIOs: `m_netIn` holds cipher text read from below, `m_netOut` the cipher text OpenSSL
// produced. Cipher text going down is taken out of `m_netOut` into `m_outBuf`
// ([m_outSent, m_outLen) still unsent); cipher text coming up is read in 2048-byte pieces
// into `m_inBuf` ([m_inUsed, m_inLen) not yet fed to `m_netIn`). `m_ssl` is null before a
// successful construction and after the end; the lower connection is held until the end.
//
// connected() is passed upwards as soon as the handshake has started: the layers above may
// queue data while it runs. A handshake failure is only logged. Network thread only.
#include "kapi/comm/IConnection.h"

#include <openssl/ssl.h>

#include <memory>
#include <string>

namespace Kapi {
namespace Comm {

class SslConnection : public IConnection, public IConnection::Listener
{
public:
    static constexpr unsigned kReadChunk = 2048;

    SslConnection(SSL_CTX* context, std::shared_ptr<IConnection> lower, bool isServer,
                  IConnection::Listener* listener);
    ~SslConnection() override;
    SslConnection(const SslConnection&) = delete;
    SslConnection& operator=(const SslConnection&) = delete;

    // The peer certificate's subject common name, or "".
    std::string getClientCertificateCommonName() const;

    unsigned int read(void* buf, unsigned int len) override;
    unsigned int write(const void* buf, unsigned int len, int flags) override;
    void close() override;
    bool getUInt32Property(LinkProperty property, unsigned int* out) const override;

    // From the lower connection.
    void connected() override;
    void readReady() override;
    void writeReady() override;
    void disconnected() override;

private:
    void flushOut_i();
    void pullIn_i();
    bool outPending_i() const;
    void free_i();
    void closeLower_i();

    std::shared_ptr<IConnection> m_lower;
    SSL* m_ssl = nullptr;
    bool m_isServer;
    BIO* m_netIn = nullptr;  // owned by m_ssl
    BIO* m_netOut = nullptr; // owned by m_ssl
    std::unique_ptr<uint8[]> m_outBuf;
    unsigned m_outLen = 0;
    unsigned m_outSent = 0;
    std::unique_ptr<uint8[]> m_inBuf;
    unsigned m_inLen = 0;
    unsigned m_inUsed = 0;
};

} // namespace Comm
} // namespace Kapi

#endif
