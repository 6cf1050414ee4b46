// The link-status monitor and the MAC lookup against real interfaces: a probe program makes
// its own network namespace with a veth pair and reports what the monitor tells it.
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <sys/stat.h>

namespace {

const int kSkip = 77;

KeloTest::ProcessResult probe(const std::vector<std::string>& args)
{
    return KeloTest::runProcess(KeloTest::binPath("linkstatus_netns_probe"), args);
}

} // namespace

TEST(LinkStatusNetns, LinkAndServiceChangesGiveExactlyOneNotificationEach)
{
    char dir[] = "/tmp/kelo-netns.XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    ASSERT_EQ(mkdir((std::string(dir) + "/tmp").c_str(), 0755), 0);
    const KeloTest::ProcessResult run = probe({"link", dir});
    std::system(("rm -rf '" + std::string(dir) + "'").c_str());
    if (run.exitStatus == kSkip)
        GTEST_SKIP() << "network namespaces are not permitted here: " << run.err;
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    // 1 link down, 2 link up, 3 service link down, 4 service link up.
    EXPECT_EQ(run.out, "initial: 2 4\n"
                       "link down: 1\n"
                       "link up: 2\n"
                       "service down: 3\n"
                       "service up: 4\n");
}

TEST(LinkStatusNetns, TheUniqueIdUsesTheWiredInterfaceThenTheConnection)
{
    const KeloTest::ProcessResult run = probe({"uid"});
    if (run.exitStatus == kSkip)
        GTEST_SKIP() << "network namespaces are not permitted here: " << run.err;
    ASSERT_EQ(run.exitStatus, 0) << run.err;
    EXPECT_EQ(run.out, "wired: 1 TOVA-M130-02112233445A\n"
                       "connection: 1 TOVA-M130-02112233445A\n"
                       "none: 1 TOVA-M130-NoMacAddress\n");
}
