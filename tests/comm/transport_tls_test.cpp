// TLS under the framing on the real network thread: against frame_peer.py (echo) and against
// `openssl s_server -rev` requiring a client certificate. A valid chain works and reports the
// link as encrypted; an expired server certificate is refused when strict and accepted when
// tolerant; a foreign CA is refused; a TLS 1.0-only peer works.
#include "comm/CommTestLoop.h"

#include "kapi/net/SslParams.h"

#include <gtest/gtest.h>

using namespace Kapi::Comm;
using CommTest::makeMessage;
using CommTest::Recorder;
using Kapi::Net::SslParams;
using KeloTest::pkiFile;

namespace {

// A byte-level listener over the TLS connection: writes `out` as soon as TLS takes it and
// collects what comes back.
struct RawRecorder : IConnection::Listener
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
        recorder.change([&](Recorder::State& s) { s.messages = {in}; });
        pump();
    }
    void disconnected() override
    {
        recorder.change([](Recorder::State& s) { ++s.disconnected; });
    }
    void pump()
    {
        if (!out.empty() && tls != nullptr)
            out.erase(0, tls->write(out.data(), static_cast<unsigned int>(out.size()), 0));
    }

    SslConnection* tls = nullptr;
    std::string out = "hello\n";
    std::string in;    // on the loop thread
    Recorder recorder; // what arrived so far is its one message
};

// A loop thread with TCP, TLS and (without a raw listener) framing to a peer.
struct TlsStack
{
    // A client context trusting the test CA; `strict` as the device's clock policy.
    TlsStack(bool strict, bool withClientCert)
    {
        SslParams params;
        params.mStrict = strict;
        EXPECT_GT(params.addTrustedCertsFromFile(pkiFile("ca.pem")), 0);
        if (withClientCert) {
            EXPECT_TRUE(
                params.loadCertAndKeyFromFiles(pkiFile("client-chain.pem"), pkiFile("client.key")));
        }
        context = SslParams::makeClientContext();
        EXPECT_NE(nullptr, context);
        EXPECT_TRUE(params.apply(context));
    }
    ~TlsStack()
    {
        loop.onLoop([&] {
            if (raw != nullptr) { // ends a raw-listener scenario before its listener goes away
                raw->tls = nullptr;
                tls->setListener(nullptr);
                tls->close();
            }
            if (cxn)
                cxn->close();
            cxn.reset();
            tls.reset();
        });
        SSL_CTX_free(context);
    }

    void connect(int port, RawRecorder* rawListener = nullptr)
    {
        raw = rawListener;
        loop.onLoop([&] {
            auto tcp = std::make_shared<TcpConnection>(nullptr);
            tls = std::make_shared<SslConnection>(context, tcp, false, raw);
            if (raw == nullptr)
                cxn = MessageConnection::create(tls, &recorder);
            else
                raw->tls = tls.get();
            EXPECT_TRUE(tcp->connect(loop.system(), CommTest::kLoopback,
                                     static_cast<unsigned short>(port), 0, 0));
        });
    }

    // True when an echo came back; false when the stack ended first.
    bool echoWorks()
    {
        if (!recorder.waitForConnect())
            return false;
        loop.onLoop([&] { cxn->send(makeMessage("over tls")); });
        EXPECT_TRUE(recorder.waitFor(
            [](const Recorder::State& s) { return !s.messages.empty() || s.disconnected > 0; }));
        return recorder.messages() == std::vector<std::string>{"over tls"};
    }

    CommTest::LoopThread loop;
    Recorder recorder;
    SSL_CTX* context = nullptr;
    std::shared_ptr<SslConnection> tls;
    std::shared_ptr<IMessageConnection> cxn;
    RawRecorder* raw = nullptr;
};

struct TlsTransport : ::testing::Test
{
    void SetUp() override { ASSERT_FALSE(KeloTest::testPkiDir().empty()); }
};

} // namespace

TEST_F(TlsTransport, TheServerChainIsJudgedByTheCaAndTheStrictFlag)
{
    struct Case
    {
        const char* cert;
        bool tls10Only;
        bool strict;
        bool works;
    };
    const Case cases[] = {{"server", false, true, true},
                          {"expired", false, true, false},
                          {"expired", false, false, true},
                          {"foreign-server", false, false, false}, // even when tolerant
                          {"server", true, true, true}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.cert) + (c.tls10Only ? " tls1.0" : "") +
                     (c.strict ? " strict" : " tolerant"));
        KeloTest::PortServer peer;
        std::vector<std::string> options = KeloTest::tlsOptions(c.cert);
        if (c.tls10Only)
            options.insert(options.end(), {"--tls-max", "1.0"});
        ASSERT_TRUE(CommTest::startFramePeer(peer, options)) << peer.lastError();
        TlsStack stack(c.strict, false);
        ASSERT_TRUE(stack.loop.started());
        stack.connect(peer.port());
        ASSERT_EQ(stack.echoWorks(), c.works);
        if (!c.works) {
            EXPECT_TRUE(stack.recorder.waitForDisconnect());
            continue;
        }
        stack.loop.onLoop([&] {
            EXPECT_EQ(CommTest::property(stack.cxn, LINK_IS_ENCRYPTED), 1u);
            EXPECT_EQ(CommTest::property(stack.cxn, LINK_REMOTE_PORT),
                      static_cast<unsigned>(peer.port()));
            EXPECT_EQ("127.0.0.1", stack.tls->getClientCertificateCommonName());
        });
    }
}

TEST_F(TlsTransport, AServerRequiringAClientCertificateGetsOursAndJudgesItsOwnByTheStrictFlag)
{
    struct Case
    {
        const char* cert;
        bool strict;
        bool withClientCert;
        const char* answer; // "" when the connection ends instead
    };
    const Case cases[] = {{"server", true, true, "olleh\n"},
                          {"server", true, false, ""},
                          {"expired", true, true, ""},
                          {"expired", false, true, "olleh\n"}};
    for (const Case& c : cases) {
        SCOPED_TRACE(std::string(c.cert) + (c.strict ? " strict" : " tolerant") +
                     (c.withClientCert ? " with client certificate" : ""));
        KeloTest::PortServer peer;
        ASSERT_TRUE(peer.start({"/usr/bin/python3",
                                KeloTest::fixturePath("tests/fixtures/s_server_peer.py"), "-cert",
                                pkiFile(std::string(c.cert) + "-chain.pem"), "-key",
                                pkiFile(std::string(c.cert) + ".key"), "-Verify", "2", "-CAfile",
                                pkiFile("ca-bundle.pem")}))
            << peer.lastError();
        RawRecorder raw; // outlives the stack, which detaches it
        TlsStack stack(c.strict, c.withClientCert);
        ASSERT_TRUE(stack.loop.started());
        stack.connect(peer.port(), &raw);
        // Waits for the answer or the end.
        raw.recorder.waitFor([](const Recorder::State& s) {
            return s.messages == std::vector<std::string>{"olleh\n"} || s.disconnected > 0;
        });
        const Recorder::State state = raw.recorder.state();
        EXPECT_EQ(c.answer, state.messages.empty() ? "" : state.messages[0]);
        if (*c.answer == '\0') {
            EXPECT_GT(state.disconnected, 0);
        }
    }
}
