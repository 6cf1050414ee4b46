// kelotool fetch run as a user runs it, against the loopback test server and nginx: the one
// result line, the exit status, body limits, deadlines, ranges, output files, TLS checks and
// usage errors.
#include "net/CurlTestServers.h"
#include "support/RunProcess.h"

#include <fstream>
#include <gtest/gtest.h>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>
#include "support/TestFiles.h"

using KeloTest::binPath;
using KeloTest::pkiFile;
using KeloTest::ProcessResult;

using KeloTest::readFile;
namespace {

class FetchTest : public KeloTest::WithHttpServer<testing::Test>
{
protected:
    static ProcessResult fetch(const std::vector<std::string>& args)
    {
        std::vector<std::string> all = {"fetch"};
        all.insert(all.end(), args.begin(), args.end());
        return KeloTest::runProcess(binPath("kelotool"), all, "",
                                    {"VLOGLEVEL", "VLOGMULTIPLE", "VLOGTOCONSOLE"});
    }
    std::string tempPath(const std::string& name)
    {
        return testing::TempDir() + "kelotool_fetch_" + std::to_string(getpid()) + "_" + name;
    }
};

// The line's fields without the elapsed time, after checking the whole line's shape.
std::string fields(const std::string& out)
{
    static const std::regex line(
        "(result=-?[0-9]+ http=[0-9]+ bytes=[0-9]+) seconds=[0-9]+\\.[0-9]{3}\n");
    std::smatch match;
    if (!std::regex_match(out, match, line)) {
        return "malformed: " + out;
    }
    return match[1];
}


} // namespace

TEST_F(FetchTest, SuccessPrintsOneLineAndExitsZero)
{
    const ProcessResult result = fetch({url("/fixed")});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(fields(result.out), "result=0 http=200 bytes=31");
}

TEST_F(FetchTest, HttpErrorStatusIsStillATransferSuccess)
{
    const ProcessResult result = fetch({url("/status/404")});
    EXPECT_EQ(result.exitStatus, 0);
    EXPECT_EQ(fields(result.out), "result=0 http=404 bytes=11");
}

TEST_F(FetchTest, BodyOneByteOverTheLimitGives23)
{
    EXPECT_EQ(fields(fetch({"--limit", "1000", url("/bytes/1000")}).out),
              "result=0 http=200 bytes=1000");
    const ProcessResult over = fetch({"--limit", "1000", url("/bytes/1001")});
    EXPECT_EQ(over.exitStatus, 1);
    EXPECT_EQ(fields(over.out).substr(0, 18), "result=23 http=200");
}

TEST_F(FetchTest, StalledTransferWithTimeoutGives28)
{
    const ProcessResult result = fetch({"--timeout", "2", url("/stall/10?seconds=30")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(fields(result.out), "result=28 http=200 bytes=10");
}

TEST_F(FetchTest, RangeGoesToTheOutputFile)
{
    const std::string path = tempPath("range");
    const ProcessResult result =
        fetch({"--range", "1000-1999", "--output", path, url("/bytes/100000")});
    EXPECT_EQ(result.exitStatus, 0) << result.err;
    EXPECT_EQ(fields(result.out), "result=0 http=206 bytes=1000");
    EXPECT_EQ(readFile(path), KeloTest::patternBytes(1000, 1000));

    const ProcessResult tail = fetch({"--range", "99990-", "--output", path, url("/bytes/100000")});
    EXPECT_EQ(fields(tail.out), "result=0 http=206 bytes=10");
    EXPECT_EQ(readFile(path), KeloTest::patternBytes(99990, 10));
    unlink(path.c_str());
}

TEST_F(FetchTest, UnwritableOutputGives23)
{
    const ProcessResult result = fetch({"--output", "/nonexistent-dir/x", url("/fixed")});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(fields(result.out), "result=23 http=0 bytes=0");
}

TEST_F(FetchTest, RefusedConnectionGives7)
{
    KeloTest::PortServer gone;
    ASSERT_TRUE(KeloTest::startHttpServer(gone, {}));
    const std::string deadUrl = gone.url("/fixed");
    gone.stop();
    const ProcessResult result = fetch({deadUrl});
    EXPECT_EQ(result.exitStatus, 1);
    EXPECT_EQ(fields(result.out), "result=7 http=0 bytes=0");
}

TEST_F(FetchTest, TlsChecksFollowTheCaFileAndTheTolerantSwitch)
{
    ASSERT_FALSE(KeloTest::testPkiDir().empty());
    KeloTest::PortServer valid;
    ASSERT_TRUE(KeloTest::startHttpServer(valid, KeloTest::tlsOptions("server")));
    EXPECT_EQ(fields(fetch({"--ca", pkiFile("ca.pem"), valid.url("/fixed")}).out),
              "result=0 http=200 bytes=31");

    KeloTest::PortServer expired;
    ASSERT_TRUE(KeloTest::startHttpServer(expired, KeloTest::tlsOptions("expired")));
    const ProcessResult strict = fetch({"--ca", pkiFile("ca.pem"), expired.url("/fixed")});
    EXPECT_EQ(strict.exitStatus, 1);
    EXPECT_EQ(fields(strict.out), "result=60 http=0 bytes=0");
    EXPECT_EQ(fields(fetch({"--ca", pkiFile("ca.pem"), "--tolerant", expired.url("/fixed")}).out),
              "result=0 http=200 bytes=31");

    KeloTest::PortServer needsClient;
    std::vector<std::string> options = KeloTest::tlsOptions("server");
    options.insert(options.end(), {"--client-ca", pkiFile("ca-bundle.pem")});
    ASSERT_TRUE(KeloTest::startHttpServer(needsClient, options));
    EXPECT_EQ(fields(fetch({"--ca", pkiFile("ca.pem"), "--cert", pkiFile("client-chain.pem"),
                            "--key", pkiFile("client.key"), needsClient.url("/fixed")})
                         .out),
              "result=0 http=200 bytes=31");
}

TEST_F(FetchTest, NginxServesTheWholeFileAndByteRanges)
{
    const std::string root = tempPath("nginx-root");
    ASSERT_EQ(mkdir(root.c_str(), 0755), 0);
    const std::string data = KeloTest::patternBytes(7, 300000);
    std::ofstream(root + "/movie.ts", std::ios::binary) << data;
    KeloTest::PortServer nginx;
    ASSERT_TRUE(KeloTest::startNginx(nginx, root)) << nginx.lastError();
    const std::string path = tempPath("nginx-out");

    ProcessResult whole = fetch({"--output", path, nginx.url("/movie.ts")});
    EXPECT_EQ(fields(whole.out), "result=0 http=200 bytes=300000") << whole.err;
    EXPECT_EQ(readFile(path), data);

    ProcessResult range =
        fetch({"--range", "65528-131055", "--output", path, nginx.url("/movie.ts")});
    EXPECT_EQ(fields(range.out), "result=0 http=206 bytes=65528");
    EXPECT_EQ(readFile(path), data.substr(65528, 65528));

    EXPECT_EQ(fields(fetch({nginx.url("/missing.ts")}).out).substr(0, 17), "result=0 http=404");
    nginx.stop();
    unlink(path.c_str());
    unlink((root + "/movie.ts").c_str());
    rmdir(root.c_str());
}

TEST_F(FetchTest, UsageErrorsExit64)
{
    for (const std::vector<std::string>& args : std::vector<std::vector<std::string>>{
             {},
             {"--timeout", "x", url("/fixed")},
             {"--range", "20-10", url("/fixed")},
             {"--range", "-10", url("/fixed")},
             {"--cert", "c.pem", url("/fixed")},
             {"--bogus", url("/fixed")},
             {url("/fixed"), url("/fixed")},
         }) {
        const ProcessResult result = fetch(args);
        EXPECT_EQ(result.exitStatus, 64) << args.size();
        EXPECT_EQ(result.out, "");
        EXPECT_NE(result.err.find("usage: kelotool fetch"), std::string::npos);
    }
}
