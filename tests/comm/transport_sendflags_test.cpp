// The more-follows hint as the kernel sees it: a probe queues three frames and strace records
// its sends. All but the last carry MSG_MORE.
#include "comm/CommTestLoop.h"

#include "support/RunProcess.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <regex>
#include <sstream>
#include <unistd.h>

TEST(TransportSendFlags, StraceSeesMsgMoreOnAllButTheLastOfSeveralQueuedFrames)
{
    if (access("/usr/bin/strace", X_OK) != 0)
        GTEST_SKIP() << "strace is not installed";
    KeloTest::PortServer peer;
    ASSERT_TRUE(CommTest::startFramePeer(peer, {})) << peer.lastError();
    char dir[] = "/tmp/comm_strace_XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string traceFile = std::string(dir) + "/trace";
    KeloTest::ProcessResult run = KeloTest::runProcess(
        "/usr/bin/strace",
        {"-f", "-e", "trace=sendto,sendmsg", "-o", traceFile, KeloTest::binPath("comm_more_probe"),
         std::to_string(peer.port())},
        "", {"ASAN_OPTIONS=detect_leaks=0"}); // the leak checker cannot run under ptrace
    if (run.exitStatus != 0 && run.err.find("ptrace") != std::string::npos)
        GTEST_SKIP() << "strace cannot trace here: " << run.err;
    ASSERT_EQ(0, run.exitStatus) << run.err;
    EXPECT_EQ("done\n", run.out);

    // Successful sends only: payload text, length and flags.
    std::vector<std::string> sends;
    std::istringstream lines(KeloTest::readFile(traceFile));
    std::string line;
    const std::regex shape(
        R"re(^(?:\d+\s+)?sendto\(\d+, "(.*)", (\d+), ([A-Z_|0-9]+), NULL, 0\) = (\d+)$)re");
    std::smatch match;
    while (std::getline(lines, line)) {
        if (std::regex_match(line, match, shape))
            sends.push_back(
                std::regex_replace(match[1].str(), std::regex(R"re(^.*?([a-z]+)$)re"), "$1") + " " +
                match[2].str() + " " +
                (match[3].str().find("MSG_MORE") != std::string::npos ? "more" : "last") + " = " +
                match[4].str());
        else if (line.find("sendto(") != std::string::npos ||
                 line.find("sendmsg(") != std::string::npos)
            sends.push_back("unexpected: " + line);
    }
    EXPECT_EQ(
        (std::vector<std::string>{"first 7 more = 7", "second 8 more = 8", "third 7 last = 7"}),
        sends);
    unlink(traceFile.c_str());
    rmdir(dir);
}
