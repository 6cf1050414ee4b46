// TLS under the framing on the real network thread: against frame_peer.py (echo) and against
// `openssl s_server -rev` requiring a client certificate. A valid chain works and reports the
// link as encrypted; an expired server certificate is refused when strict and accepted when
// tolerant; a foreign CA is refused; a TLS 1.0-only peer works.
#include "comm/CommTestLoop.h"

#include "kapi/net/SslParams.h"

#include <gtest/gtest.h>

using namespace Kapi::Comm;
using CommTest::LoopThread;
using CommTest::makeMessage;
using CommTest::Recorder;
using Kapi::Net::SslParams;
using KeloTest::pkiFile;

namespace {

struct RawRecorderBase : IConnection::Listener
{
    void detach() { tls = nullptr; }
    SslConnection* tls = nullptr;
};

struct TlsTransport : ::testing::Test
{
    void SetUp() override
    {
        ASSERT_TRUE(loop.started());
        ASSERT_FALSE(KeloTest::testPkiDir().empty());
    }
    void TearDown() override
    {
        loop.onLoop([&] {
            if (cxn)
                cxn->close();
            cxn.reset();
            tls.reset();
        });
        if (context != nullptr)
            SSL_CTX_free(context);
    }

    // A client context trusting the test CA; `strict` as the device's clock policy.
    void makeContext(bool strict, bool withClientCert)
    {
        SslParams params;
        params.mStrict = strict;
        ASSERT_GT(params.addTrustedCertsFromFile(pkiFile("ca.pem")), 0);
        if (withClientCert) {
            ASSERT_TRUE(
                params.loadCertAndKeyFromFiles(pkiFile("client-chain.pem"), pkiFile("client.key")));
        }
        context = SslParams::makeClientContext();
        ASSERT_NE(nullptr, context);
        ASSERT_TRUE(params.apply(context));
    }

    // TCP, TLS and framing to the peer, on the loop thread.
    void connect(int port, RawRecorderBase* rawListener = nullptr)
    {
        loop.onLoop([&] {
            auto tcp = std::make_shared<TcpConnection>(nullptr);
            tls = std::make_shared<SslConnection>(context, tcp, false, rawListener);
            if (rawListener == nullptr)
                cxn = MessageConnection::create(tls, &recorder);
            else
                rawListener->tls = tls.get();
            ASSERT_TRUE(tcp->connect(loop.system(), CommTest::kLoopback,
                                     static_cast<unsigned short>(port), 0, 0));
        });
    }

    // Ends a raw-listener scenario before its listener goes away.
    void dropTls(RawRecorderBase* raw)
    {
        loop.onLoop([&] {
            raw->detach();
            if (tls) {
                tls->setListener(nullptr);
                tls->close();
            }
            tls.reset();
        });
    }

    // True when an echo came back; false when the stack ended first.
    bool echoWorks()
    {
        if (!recorder.waitForConnect())
            return false;
        loop.onLoop([&] { cxn->send(makeMessage("over tls")); });
        EXPECT_TRUE(recorder.waitFor([](const Recorder& r) {
            return !r.messagesUnlocked().empty() || r.disconnectedUnlocked() > 0;
        }));
        return recorder.messages() == std::vector<std::string>{"over tls"};
    }

    LoopThread loop;
    Recorder recorder;
    SSL_CTX* context = nullptr;
    std::shared_ptr<SslConnection> tls;
    std::shared_ptr<IMessageConnection> cxn;
};

// A byte-level listener over the TLS connection: writes `out` as soon as TLS takes it and
// collects what comes back.
struct RawRecorder : RawRecorderBase
{
    void connected() override { pump(); }
    void writeReady() override { pump(); }
    void readReady() override
    {
        if (tls == nullptr)
            return;
        char buffer[256];
        unsigned int got;
        while ((got = tls->read(buffer, sizeof buffer)) > 0)
            in.append(buffer, got);
        changed();
        pump();
    }
    void disconnected() override
    {
        ended = true;
        changed();
    }
    void pump()
    {
        if (!out.empty() && tls != nullptr)
            out.erase(0, tls->write(out.data(), static_cast<unsigned int>(out.size()), 0));
    }
    void changed()
    {
        std::lock_guard<std::mutex> lock(mutex);
        seen = in;
        seenEnd = ended;
        cv.notify_all();
    }
    // Waits for `expected` or the end; returns what arrived.
    std::string waitFor(const std::string& expected)
    {
        std::unique_lock<std::mutex> lock(mutex);
        cv.wait_for(lock, CommTest::kHangGuard, [&] { return seen == expected || seenEnd; });
        return seen;
    }

    std::string out;
    std::string in;
    bool ended = false;
    std::mutex mutex;
    std::condition_variable cv;
    std::string seen;
    bool seenEnd = false;
};

std::vector<std::string> sServerOptions(const std::string& certName)
{
    return {"/usr/bin/python3",
            KeloTest::fixturePath("tests/fixtures/s_server_peer.py"),
            "-cert",
            pkiFile(certName + "-chain.pem"),
            "-key",
            pkiFile(certName + ".key"),
            "-Verify",
            "2",
            "-CAfile",
            pkiFile("ca-bundle.pem")};
}

} // namespace

TEST_F(TlsTransport, AValidChainCarriesMessagesAndTheLinkReportsEncryption)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, KeloTest::tlsOptions("server"))) << peer.lastError();
    makeContext(true, false);
    connect(peer.port());
    ASSERT_TRUE(echoWorks());
    loop.onLoop([&] {
        unsigned int value = 0;
        EXPECT_TRUE(cxn->getUInt32Property(LINK_IS_ENCRYPTED, &value));
        EXPECT_EQ(1u, value);
        EXPECT_TRUE(cxn->getUInt32Property(LINK_REMOTE_PORT, &value));
        EXPECT_EQ(static_cast<unsigned>(peer.port()), value);
        EXPECT_EQ("127.0.0.1", tls->getClientCertificateCommonName());
    });
}

TEST_F(TlsTransport, AnExpiredServerCertificateIsRefusedWhenStrict)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, KeloTest::tlsOptions("expired")));
    makeContext(true, false);
    connect(peer.port());
    EXPECT_FALSE(echoWorks());
    EXPECT_TRUE(recorder.waitForDisconnect());
}

TEST_F(TlsTransport, AnExpiredServerCertificateIsAcceptedWhenTolerant)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, KeloTest::tlsOptions("expired")));
    makeContext(false, false);
    connect(peer.port());
    EXPECT_TRUE(echoWorks());
}

TEST_F(TlsTransport, AServerFromAForeignCaIsRefusedEvenWhenTolerant)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, KeloTest::tlsOptions("foreign-server")));
    makeContext(false, false);
    connect(peer.port());
    EXPECT_FALSE(echoWorks());
    EXPECT_TRUE(recorder.waitForDisconnect());
}

TEST_F(TlsTransport, ATls10OnlyPeerWorks)
{
    KeloTest::PortServer peer;
    std::vector<std::string> options = KeloTest::tlsOptions("server");
    options.insert(options.end(), {"--tls-max", "1.0"});
    ASSERT_TRUE(CommTest::startFramePeer(peer, options));
    makeContext(true, false);
    connect(peer.port());
    ASSERT_TRUE(echoWorks());
}

TEST_F(TlsTransport, AServerRequiringAClientCertificateAcceptsOurs)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(peer.start(sServerOptions("server"))) << peer.lastError();
    makeContext(true, true);
    RawRecorder raw;
    raw.out = "hello\n";
    connect(peer.port(), &raw);
    EXPECT_EQ("olleh\n", raw.waitFor("olleh\n"));
    dropTls(&raw);
}

TEST_F(TlsTransport, AServerRequiringAClientCertificateEndsAConnectionWithoutOne)
{
    KeloTest::PortServer peer;
    ASSERT_TRUE(peer.start(sServerOptions("server"))) << peer.lastError();
    makeContext(true, false);
    RawRecorder raw;
    raw.out = "hello\n";
    connect(peer.port(), &raw);
    EXPECT_EQ("", raw.waitFor("olleh\n"));
    dropTls(&raw);
    std::lock_guard<std::mutex> lock(raw.mutex);
    EXPECT_TRUE(raw.seenEnd);
}

TEST_F(TlsTransport, AnExpiredClientFacingServerIsJudgedByTheStrictFlagWithAClientCertificate)
{
    for (bool strict : {true, false}) {
        KeloTest::PortServer peer;
        ASSERT_TRUE(peer.start(sServerOptions("expired"))) << peer.lastError();
        if (context != nullptr)
            SSL_CTX_free(context);
        context = nullptr;
        makeContext(strict, true);
        RawRecorder raw;
        raw.out = "hello\n";
        connect(peer.port(), &raw);
        EXPECT_EQ(strict ? "" : "olleh\n", raw.waitFor("olleh\n")) << "strict " << strict;
        dropTls(&raw);
    }
}
