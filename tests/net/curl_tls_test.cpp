// TLS through the curl layer against the loopback server and the test PKI: chain checks with
// CA files and with SslParams, the tolerant expiry check, foreign CAs, client certificates,
// TLS 1.0-only peers, and SslParams' loading and context helpers.
#include "kapi/FileUtil.h"
#include "kapi/net/CurlAsync.h"
#include "kapi/net/SslParams.h"
#include "net/CurlTestLayer.h"
#include "net/CurlTestServers.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/ssl.h>
#include <sys/socket.h>
#include <thread>

using Kapi::Net::CurlAsync;
using Kapi::Net::SslParams;
using KeloTest::pkiFile;
using KeloTest::tlsOptions;
using Lines = std::vector<std::string>;

namespace {

constexpr int kAnyFailure = -1;

// A server certificate with extra http_server.py options, how strictly it is checked, and the
// transfer's result (kAnyFailure: some nonzero code).
struct ChainCase
{
    const char* cert;
    Lines extra;
    bool strict;
    int code;
};

class CurlTlsTest : public KeloTest::CurlLayerTest
{
protected:
    static void SetUpTestSuite() { ASSERT_FALSE(KeloTest::testPkiDir().empty()); }

    // One GET of /fixed from a TLS server started with `options`; `setUp` configures TLS.
    int fetch(const Lines& options, const std::function<void(CurlAsync&)>& setUp)
    {
        KeloTest::PortServer server;
        if (!KeloTest::startHttpServer(server, options)) {
            ADD_FAILURE() << server.lastError();
            return -2;
        }
        CurlAsync request(pool());
        request.setUrl(server.url("/fixed"));
        request.setTimeout(20);
        setUp(request);
        const int code = request.perform();
        if (code == 0) {
            EXPECT_EQ(request.mBody, "Hello from the loopback server\n");
        }
        return code;
    }
    void check(const ChainCase& c, const std::function<void(CurlAsync&)>& setUp)
    {
        SCOPED_TRACE(std::string(c.cert) + (c.strict ? " strict" : " tolerant") +
                     (c.extra.empty() ? "" : " " + c.extra[0] + " " + c.extra[1]));
        Lines options = tlsOptions(c.cert);
        options.insert(options.end(), c.extra.begin(), c.extra.end());
        const int code = fetch(options, setUp);
        if (c.code == kAnyFailure) {
            EXPECT_NE(code, 0);
        } else {
            EXPECT_EQ(code, c.code);
        }
    }
};

} // namespace

TEST_F(CurlTlsTest, ChainsCheckedWithACaFileFollowTheStrictFlagForTimesOnly)
{
    const Lines clientCa = {"--client-ca", pkiFile("ca-bundle.pem")};
    const ChainCase cases[] = {
        {"server", {}, true, 0},
        {"server", {}, false, 0},
        {"expired", {}, true, 60},
        {"expired", {}, false, 0},
        {"notyet", {}, true, 60},
        {"notyet", {}, false, 0},
        {"foreign-server", {}, true, kAnyFailure},
        {"foreign-server", {}, false, kAnyFailure}, // even the tolerant check
        {"server", {"--tls-max", "1.0"}, true, 0},
        {"server", {"--tls-min", "1.1", "--tls-max", "1.1"}, true, 0},
        {"server", {"--tls-min", "1.3"}, true, 0},
        {"server", clientCa, true, kAnyFailure}, // the server requires a client certificate
    };
    for (const ChainCase& c : cases)
        check(c, [&](CurlAsync& r) { r.setCertFiles(pkiFile("ca.pem"), "", "", c.strict); });
    check({"server", clientCa, true, 0}, [](CurlAsync& r) {
        r.setCertFiles(pkiFile("ca.pem"), pkiFile("client-chain.pem"), pkiFile("client.key"), true);
    });
}

TEST_F(CurlTlsTest, ChainsCheckedWithSslParamsFollowTheStrictFlagForTimesOnly)
{
    SslParams params;
    ASSERT_EQ(params.addTrustedCertsFromFile(pkiFile("ca-bundle.pem")), 2);
    const ChainCase cases[] = {
        {"server", {}, true, 0},
        {"expired", {}, true, kAnyFailure},
        {"foreign-server", {}, true, kAnyFailure},
        {"server", {"--tls-max", "1.0"}, true, 0},
        {"expired", {}, false, 0},
        {"notyet", {}, false, 0},
        {"foreign-server", {}, false, kAnyFailure},
    };
    for (const ChainCase& c : cases) {
        params.mStrict = c.strict;
        check(c, [&](CurlAsync& r) { r.setSslParams(&params); });
    }
}

TEST_F(CurlTlsTest, SslParamsClientCertificateIsPresented)
{
    SslParams params;
    ASSERT_EQ(params.addTrustedCertsFromFile(pkiFile("ca.pem")), 1);
    const auto withParams = [&](CurlAsync& r) { r.setSslParams(&params); };
    const Lines clientCa = {"--client-ca", pkiFile("ca-bundle.pem")};
    check({"server", clientCa, true, kAnyFailure}, withParams);
    // The leaf alone: the server knows the intermediate from its client CA file.
    ASSERT_TRUE(params.loadCertAndKeyFromFiles(pkiFile("client.pem"), pkiFile("client.key")));
    check({"server", clientCa, true, 0}, withParams);
}

TEST_F(CurlTlsTest, UnreadableFilesAreLoggedAndTheTransferFails)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_ERROR);
    EXPECT_NE(fetch(tlsOptions("server"),
                    [](CurlAsync& r) {
                        r.setCertFiles("/nonexistent/ca.pem", "/nonexistent/c.pem",
                                       "/nonexistent/k.pem", true);
                    }),
              0);
    const Lines lines = capture.summary();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(Lines(lines.begin(), lines.begin() + 3),
              (Lines{"kapi_net.error: caCert file \"/nonexistent/ca.pem\" not readable",
                     "kapi_net.error: cert file \"/nonexistent/c.pem\" not readable",
                     "kapi_net.error: key file \"/nonexistent/k.pem\" not readable"}));
}

TEST(SslParamsTest, BadPemTextIsLoggedAndLeavesHeldMaterialAlone)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
    ASSERT_FALSE(KeloTest::testPkiDir().empty());
    std::string certPem;
    std::string keyPem;
    ASSERT_TRUE(Kapi::FileUtil::toString(pkiFile("client.pem"), certPem));
    ASSERT_TRUE(Kapi::FileUtil::toString(pkiFile("client.key"), keyPem));

    EXPECT_EQ(SslParams::loadCertFromMemory("not a certificate"), nullptr);
    SslParams params;
    ASSERT_TRUE(params.loadCertAndKeyFromMemory(certPem, keyPem));
    X509* heldCert = params.getCert();
    EXPECT_FALSE(params.loadCertAndKeyFromMemory(certPem, "not a key"));
    EXPECT_FALSE(params.loadCertAndKeyFromMemory("not a cert", keyPem));
    EXPECT_EQ(params.getCert(), heldCert);
    EXPECT_FALSE(params.loadCertAndKeyFromFiles("/nonexistent/c.pem", pkiFile("client.key")));
    EXPECT_FALSE(params.loadCertAndKeyFromFiles(pkiFile("client.pem"), "/nonexistent/k.pem"));
    EXPECT_EQ(params.addTrustedCertsFromMemory(""), 0);
    EXPECT_EQ(params.addTrustedCertsFromFile("/nonexistent/ca.pem"), 0);
    EXPECT_EQ(params.addTrustedCertsFromMemory(certPem + certPem), 2);
    params.clearTrustedCerts();
    EXPECT_TRUE(params.getTrustedCerts().empty());
    params.clearCertAndKey();
    EXPECT_EQ(params.getCert(), nullptr);
    EXPECT_EQ(params.getKey(), nullptr);
    EXPECT_EQ(ERR_peek_error(), 0u); // no OpenSSL errors left behind for the next user

    EXPECT_EQ(capture.summary(),
              (Lines{
                  "kapi_net.error: SslParams::loadCertFromMemory: Cannot parse certificate",
                  "kapi_net.error: SslParams::loadCertAndKeyFromMemory: Cannot parse key",
                  "kapi_net.error: SslParams::loadCertFromMemory: Cannot parse certificate",
                  "kapi_net.error: SslParams::loadCertAndKeyFromFiles: Cannot load cert "
                  "/nonexistent/c.pem",
                  "kapi_net.error: SslParams::loadCertAndKeyFromFiles: Cannot load cert "
                  "/nonexistent/k.pem",
                  "kapi_net.error: SslParams::addTrustedCertsFromMemory: Cannot parse certificate",
                  "kapi_net.error: SslParams::addTrustedCertsFromFile: Cannot load file "
                  "/nonexistent/ca.pem",
              }));
}

TEST(SslParamsTest, ServerContextRefusesMissingFilesWithTheirNames)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_ERROR);
    ASSERT_FALSE(KeloTest::testPkiDir().empty());
    const std::string cert = pkiFile("server.pem");
    const std::string key = pkiFile("server.key");
    EXPECT_EQ(SslParams::makeServerContext("/nonexistent/s.pem", key, "", 2, ""), nullptr);
    EXPECT_EQ(SslParams::makeServerContext(cert, "/nonexistent/s.key", "", 2, ""), nullptr);
    EXPECT_EQ(SslParams::makeServerContext(cert, key, "/nonexistent/ca.pem", 2, ""), nullptr);
    const std::string prefix = "kapi_net.error: SslParams::makeServerContext: ";
    EXPECT_EQ(capture.summary(),
              (Lines{prefix + "SSL_CTX_use_certificate_file(/nonexistent/s.pem) failed",
                     prefix + "SSL_CTX_use_PrivateKey_file(/nonexistent/s.key) failed",
                     prefix + "SSL_CTX_load_verify_locations(/nonexistent/ca.pem) failed"}));
}

// Both helpers' contexts over a socket pair: the client verifies the server through
// SslParams, and a server limited to TLS 1.0 still completes the handshake.
TEST(SslParamsTest, ClientAndServerContextsHandshakeDownToTlsOneZero)
{
    ASSERT_FALSE(KeloTest::testPkiDir().empty());
    for (int maxVersion : {0, TLS1_VERSION}) {
        SSL_CTX* serverCtx = SslParams::makeServerContext(
            pkiFile("server-chain.pem"), pkiFile("server.key"), pkiFile("ca-bundle.pem"), 3, "");
        ASSERT_NE(serverCtx, nullptr);
        if (maxVersion != 0)
            SSL_CTX_set_max_proto_version(serverCtx, maxVersion);
        SSL_CTX* clientCtx = SslParams::makeClientContext();
        ASSERT_NE(clientCtx, nullptr);
        SslParams params;
        ASSERT_EQ(params.addTrustedCertsFromFile(pkiFile("ca.pem")), 1);
        ASSERT_TRUE(params.loadCertAndKeyFromFiles(pkiFile("client.pem"), pkiFile("client.key")));
        ASSERT_TRUE(params.apply(clientCtx));

        int fds[2];
        ASSERT_EQ(socketpair(AF_UNIX, SOCK_STREAM, 0, fds), 0);
        SSL* server = SSL_new(serverCtx);
        SSL* client = SSL_new(clientCtx);
        SSL_set_fd(server, fds[0]);
        SSL_set_fd(client, fds[1]);
        int serverResult = 0;
        std::thread serverThread([&] { serverResult = SSL_accept(server); });
        EXPECT_EQ(SSL_connect(client), 1);
        serverThread.join();
        EXPECT_EQ(serverResult, 1);
        EXPECT_EQ(SSL_get_verify_result(client), X509_V_OK);
        EXPECT_EQ(SSL_version(client), maxVersion != 0 ? maxVersion : TLS1_3_VERSION);
        SSL_free(client);
        SSL_free(server);
        close(fds[0]);
        close(fds[1]);
        SSL_CTX_free(clientCtx);
        SSL_CTX_free(serverCtx);
        ERR_clear_error();
    }
}
