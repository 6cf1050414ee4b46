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

namespace {

class CurlTlsTest : public KeloTest::CurlLayerTest
{
protected:
    static void SetUpTestSuite() { ASSERT_FALSE(KeloTest::testPkiDir().empty()); }

    // One GET of /fixed from a TLS server started with `options`; `setUp` configures TLS.
    int fetch(const std::vector<std::string>& options, const std::function<void(CurlAsync&)>& setUp)
    {
        KeloTest::PortServer server;
        if (!KeloTest::startHttpServer(server, options)) {
            ADD_FAILURE() << server.lastError();
            return -1;
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
    int fetchWithCaFile(const std::vector<std::string>& options, bool strict,
                        const std::string& ca = pkiFile("ca.pem"))
    {
        return fetch(options, [&](CurlAsync& r) { r.setCertFiles(ca, "", "", strict); });
    }
    int fetchWithParams(const std::vector<std::string>& options, SslParams& params)
    {
        return fetch(options, [&](CurlAsync& r) { r.setSslParams(&params); });
    }
};

std::vector<std::string> withOptions(std::vector<std::string> base,
                                     const std::vector<std::string>& more)
{
    base.insert(base.end(), more.begin(), more.end());
    return base;
}

} // namespace

TEST_F(CurlTlsTest, ValidChainIsAcceptedStrictAndTolerant)
{
    EXPECT_EQ(fetchWithCaFile(tlsOptions("server"), true), 0);
    EXPECT_EQ(fetchWithCaFile(tlsOptions("server"), false), 0);
}

TEST_F(CurlTlsTest, ExpiredOrNotYetValidCertificateIsRefusedWhenStrictOnly)
{
    EXPECT_EQ(fetchWithCaFile(tlsOptions("expired"), true), 60);
    EXPECT_EQ(fetchWithCaFile(tlsOptions("expired"), false), 0);
    EXPECT_EQ(fetchWithCaFile(tlsOptions("notyet"), true), 60);
    EXPECT_EQ(fetchWithCaFile(tlsOptions("notyet"), false), 0);
}

TEST_F(CurlTlsTest, CertificateFromAForeignCaIsRefusedEvenByTheTolerantCheck)
{
    EXPECT_NE(fetchWithCaFile(tlsOptions("foreign-server"), true), 0);
    EXPECT_NE(fetchWithCaFile(tlsOptions("foreign-server"), false), 0);
}

TEST_F(CurlTlsTest, TlsOneZeroOnlyServerIsReached)
{
    const auto options = withOptions(tlsOptions("server"), {"--tls-max", "1.0"});
    EXPECT_EQ(fetchWithCaFile(options, true), 0);
    SslParams params;
    ASSERT_EQ(params.addTrustedCertsFromFile(pkiFile("ca.pem")), 1);
    EXPECT_EQ(fetchWithParams(options, params), 0);
}

TEST_F(CurlTlsTest, TlsOneOneOnlyAndTlsOneThreeOnlyServersAreReached)
{
    EXPECT_EQ(
        fetchWithCaFile(withOptions(tlsOptions("server"), {"--tls-min", "1.1", "--tls-max", "1.1"}),
                        true),
        0);
    EXPECT_EQ(fetchWithCaFile(withOptions(tlsOptions("server"), {"--tls-min", "1.3"}), true), 0);
}

TEST_F(CurlTlsTest, ClientCertificateFilesSatisfyAServerThatRequiresOne)
{
    const auto options =
        withOptions(tlsOptions("server"), {"--client-ca", pkiFile("ca-bundle.pem")});
    EXPECT_EQ(fetch(options,
                    [](CurlAsync& r) {
                        r.setCertFiles(pkiFile("ca.pem"), pkiFile("client-chain.pem"),
                                       pkiFile("client.key"), true);
                    }),
              0);
    EXPECT_NE(fetchWithCaFile(options, true), 0);
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
    const auto lines = capture.summary();
    const std::vector<std::string> expected = {
        "kapi_net.error: caCert file \"/nonexistent/ca.pem\" not readable",
        "kapi_net.error: cert file \"/nonexistent/c.pem\" not readable",
        "kapi_net.error: key file \"/nonexistent/k.pem\" not readable"};
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(std::vector<std::string>(lines.begin(), lines.begin() + 3), expected);
}

TEST_F(CurlTlsTest, SslParamsTrustChecksFollowTheStrictFlag)
{
    SslParams params;
    ASSERT_EQ(params.addTrustedCertsFromFile(pkiFile("ca-bundle.pem")), 2);
    EXPECT_EQ(fetchWithParams(tlsOptions("server"), params), 0);
    EXPECT_NE(fetchWithParams(tlsOptions("expired"), params), 0);
    EXPECT_NE(fetchWithParams(tlsOptions("foreign-server"), params), 0);
    params.mStrict = false;
    EXPECT_EQ(fetchWithParams(tlsOptions("expired"), params), 0);
    EXPECT_EQ(fetchWithParams(tlsOptions("notyet"), params), 0);
    EXPECT_NE(fetchWithParams(tlsOptions("foreign-server"), params), 0);
}

TEST_F(CurlTlsTest, SslParamsClientCertificateIsPresented)
{
    const auto options =
        withOptions(tlsOptions("server"), {"--client-ca", pkiFile("ca-bundle.pem")});
    SslParams params;
    ASSERT_EQ(params.addTrustedCertsFromFile(pkiFile("ca.pem")), 1);
    EXPECT_NE(fetchWithParams(options, params), 0);
    // The leaf alone: the server knows the intermediate from its client CA file.
    ASSERT_TRUE(params.loadCertAndKeyFromFiles(pkiFile("client.pem"), pkiFile("client.key")));
    EXPECT_EQ(fetchWithParams(options, params), 0);
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

    const std::vector<std::string> expected = {
        "kapi_net.error: SslParams::loadCertFromMemory: Cannot parse certificate",
        "kapi_net.error: SslParams::loadCertAndKeyFromMemory: Cannot parse key",
        "kapi_net.error: SslParams::loadCertFromMemory: Cannot parse certificate",
        "kapi_net.error: SslParams::loadCertAndKeyFromFiles: Cannot load cert /nonexistent/c.pem",
        "kapi_net.error: SslParams::loadCertAndKeyFromFiles: Cannot load cert /nonexistent/k.pem",
        "kapi_net.error: SslParams::addTrustedCertsFromMemory: Cannot parse certificate",
        "kapi_net.error: SslParams::addTrustedCertsFromFile: Cannot load file /nonexistent/ca.pem",
    };
    EXPECT_EQ(capture.summary(), expected);
}

TEST(SslParamsTest, ServerContextRefusesMissingFilesWithTheirNames)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_ERROR);
    ASSERT_FALSE(KeloTest::testPkiDir().empty());
    EXPECT_EQ(SslParams::makeServerContext("/nonexistent/s.pem", pkiFile("server.key"), "", 2, ""),
              nullptr);
    EXPECT_EQ(SslParams::makeServerContext(pkiFile("server.pem"), "/nonexistent/s.key", "", 2, ""),
              nullptr);
    EXPECT_EQ(SslParams::makeServerContext(pkiFile("server.pem"), pkiFile("server.key"),
                                           "/nonexistent/ca.pem", 2, ""),
              nullptr);
    const std::vector<std::string> expected = {
        "kapi_net.error: SslParams::makeServerContext: SSL_CTX_use_certificate_file"
        "(/nonexistent/s.pem) failed",
        "kapi_net.error: SslParams::makeServerContext: SSL_CTX_use_PrivateKey_file"
        "(/nonexistent/s.key) failed",
        "kapi_net.error: SslParams::makeServerContext: SSL_CTX_load_verify_locations"
        "(/nonexistent/ca.pem) failed",
    };
    EXPECT_EQ(capture.summary(), expected);
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
        if (maxVersion != 0) {
            SSL_CTX_set_max_proto_version(serverCtx, maxVersion);
        }
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
        const int clientResult = SSL_connect(client);
        serverThread.join();
        EXPECT_EQ(clientResult, 1);
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
