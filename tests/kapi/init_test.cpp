// The start-up graph runner over small hand-made graphs (order, sharing, loops, failures,
// repeated starts, exact log lines), the SRandom node's seeding and its fallback, device paths
// under KELO_ROOT, and the component version registry with its node.
#include "kapi/ComponentVersionRegistry.h"
#include "kapi/FileUtil.h"
#include "kapi/Init.h"
#include "kapi/SRandomInitNode.h"
#include "kapi/SystemUtil.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <string>
#include <unistd.h>
#include <vector>

using Kapi::Init::Init;
using Kapi::Init::InitNode;

namespace {

// Records "start X" / "stop X" in a shared journal; start or stop can be made to fail.
class TestNode : public InitNode
{
public:
    TestNode(const char* name, std::vector<std::string>& journal)
        : InitNode(name), mJournal(journal)
    {
    }
    void dependOn(std::vector<InitNode*> nodes)
    {
        mDeps = std::move(nodes);
        numDeps = static_cast<unsigned>(mDeps.size());
        deps = mDeps.empty() ? nullptr : mDeps.data();
    }
    bool start(const Kapi::vConfig&) override
    {
        mJournal.push_back(std::string("start ") + name);
        return startResult;
    }
    bool stop() override
    {
        mJournal.push_back(std::string("stop ") + name);
        return stopResult;
    }

    bool startResult = true;
    bool stopResult = true;

private:
    std::vector<std::string>& mJournal;
    std::vector<InitNode*> mDeps;
};

std::vector<std::string> names(const std::vector<InitNode*>& nodes)
{
    std::vector<std::string> result;
    for (const InitNode* node : nodes)
        result.push_back(node->name);
    return result;
}

std::string info(const std::string& text)
{
    return "misc_system.info: " + text;
}

class InitTest : public ::testing::Test
{
protected:
    std::vector<std::string> journal;
    TestNode a{"A", journal}, b{"B", journal}, c{"C", journal}, d{"D", journal};
    Kapi::vConfig config;
    LogCapture capture{VLOGSRC_MISC_SYSTEM, VLOG_INFO};
};

} // namespace

TEST_F(InitTest, RootWithoutDependenciesStartsAlone)
{
    Init init("runner", &a);
    EXPECT_FALSE(init.isStarted());
    EXPECT_TRUE(init.start(config));
    EXPECT_TRUE(init.isStarted());
    EXPECT_EQ(names(init.getStartedNodes()), (std::vector<std::string>{"A"}));
    init.stop();
    EXPECT_FALSE(init.isStarted());
    EXPECT_TRUE(init.getStartedNodes().empty());
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{info("Init: A->start()"), info("Init: A->stop()")}));

    Init empty("empty", nullptr);
    EXPECT_TRUE(empty.start(config));
    EXPECT_TRUE(empty.getStartedNodes().empty());
}

TEST_F(InitTest, DiamondStartsSharedDependencyOnceAndStopsInReverse)
{
    a.dependOn({&b, &c});
    b.dependOn({&d});
    c.dependOn({&d});
    Init init("diamond", &a);
    ASSERT_TRUE(init.start(config));
    EXPECT_EQ(names(init.getStartedNodes()), (std::vector<std::string>{"D", "B", "C", "A"}));
    init.stop();
    EXPECT_EQ(journal, (std::vector<std::string>{"start D", "start B", "start C", "start A",
                                                 "stop A", "stop C", "stop B", "stop D"}));
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{info("Init: D->start()"), info("Init: B->start()"),
                                        info("Init: C->start()"), info("Init: A->start()"),
                                        info("Init: A->stop()"), info("Init: C->stop()"),
                                        info("Init: B->stop()"), info("Init: D->stop()")}));
}

TEST_F(InitTest, LoopIsReportedWithItsPathAndStartsNothing)
{
    a.dependOn({&b});
    b.dependOn({&a});
    Init init("loop", &a);
    EXPECT_FALSE(init.start(config));
    EXPECT_TRUE(journal.empty());
    EXPECT_TRUE(init.getStartedNodes().empty());
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{"misc_system.error: noticed dependency loop trying to "
                                        "start: A (A --> B --> A)"}));

    // The text names the whole descent, not only the loop; the node before it still started.
    c.dependOn({&d, &a});
    Init deeper("deeper", &c);
    EXPECT_FALSE(deeper.start(config));
    EXPECT_EQ(names(deeper.getStartedNodes()), (std::vector<std::string>{"D"}));
    EXPECT_EQ(capture.summary().back(), "misc_system.error: noticed dependency loop trying to "
                                        "start: A (C --> A --> B --> A)");
}

TEST_F(InitTest, FailedNodeStopsTheStartAndOnlyStartedNodesStop)
{
    a.dependOn({&d, &b, &c});
    b.startResult = false;
    Init init("failing", &a);
    EXPECT_FALSE(init.start(config));
    EXPECT_EQ(names(init.getStartedNodes()), (std::vector<std::string>{"D"}));
    init.stop();
    EXPECT_EQ(journal, (std::vector<std::string>{"start D", "start B", "stop D"}));
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{info("Init: D->start()"), info("Init: B->start()"),
                                        info("Init: D->stop()")}));
}

TEST_F(InitTest, FailedStopIsReportedAndTheRestStillStop)
{
    a.dependOn({&b, &c});
    c.stopResult = false;
    Init init("stopping", &a);
    ASSERT_TRUE(init.start(config));
    init.stop();
    EXPECT_EQ(journal, (std::vector<std::string>{"start B", "start C", "start A", "stop A",
                                                 "stop C", "stop B"}));
    const std::vector<std::string> lines = capture.summary();
    ASSERT_EQ(lines.size(), 7u);
    EXPECT_EQ(lines[4], info("Init: C->stop()"));
    EXPECT_EQ(lines[5], info("Init::stop: C->stop() returned false\n"));
    EXPECT_EQ(lines[6], info("Init: B->stop()"));
}

TEST_F(InitTest, SecondStartWithoutStopAppendsTheNodesAgain)
{
    a.dependOn({&b});
    Init init("twice", &a);
    ASSERT_TRUE(init.start(config));
    ASSERT_TRUE(init.start(config));
    EXPECT_EQ(names(init.getStartedNodes()), (std::vector<std::string>{"B", "A", "B", "A"}));
    init.stop();
    EXPECT_EQ(journal, (std::vector<std::string>{"start B", "start A", "start B", "start A",
                                                 "stop A", "stop B", "stop A", "stop B"}));
    // A stopped runner starts again from scratch.
    journal.clear();
    ASSERT_TRUE(init.start(config));
    EXPECT_EQ(journal, (std::vector<std::string>{"start B", "start A"}));
    init.stop();
}

namespace {

// A device root in a fresh temporary directory, named by KELO_ROOT for the test's duration.
class DeviceRootTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::string pattern = Kapi::FileUtil::getTempDir() + "/kapi_init_XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        mRoot = pattern;
        setenv("KELO_ROOT", mRoot.c_str(), 1);
    }
    void TearDown() override
    {
        unsetenv("KELO_ROOT");
        Kapi::FileUtil::removeDir(mRoot);
    }
    void writeUrandom(const std::string& bytes)
    {
        ASSERT_TRUE(Kapi::FileUtil::makeDirectory(mRoot + "/dev"));
        ASSERT_TRUE(Kapi::FileUtil::write(mRoot + "/dev/urandom", bytes));
    }
    // Starts the SRandom node and checks that random() was seeded from the time in seconds
    // times 127 plus the process id times 79.
    void expectFallbackSeed()
    {
        const time_t before = time(nullptr);
        ASSERT_TRUE(Kapi::Init::getSRandomInitNode()->start(Kapi::vConfig()));
        const time_t after = time(nullptr);
        const long drawn = random();
        bool matched = false;
        for (time_t t = before; t <= after && !matched; ++t) {
            srandom(static_cast<unsigned>(t) * 127u + static_cast<unsigned>(getpid()) * 79u);
            matched = random() == drawn;
        }
        EXPECT_TRUE(matched);
        EXPECT_TRUE(Kapi::Init::getSRandomInitNode()->stop());
    }

    std::string mRoot;
    LogCapture capture{VLOGSRC_MISC_SYSTEM, VLOG_ERROR};
};

} // namespace

TEST_F(DeviceRootTest, DevicePathsArePrefixedWithTheRoot)
{
    EXPECT_EQ(Kapi::SystemUtil::devicePath("/dev/urandom"), mRoot + "/dev/urandom");
    setenv("KELO_ROOT", "", 1);
    EXPECT_EQ(Kapi::SystemUtil::devicePath("/etc/cert"), "/etc/cert");
    unsetenv("KELO_ROOT");
    EXPECT_EQ(Kapi::SystemUtil::devicePath("/misc"), "/misc");
}

TEST_F(DeviceRootTest, SRandomSeedsFromFourBytesOfTheRandomDevice)
{
    const uint32 seed = 0x9e3779b9u;
    writeUrandom(std::string(reinterpret_cast<const char*>(&seed), sizeof(seed)));
    Kapi::Init::SRandomInitNode* node = Kapi::Init::getSRandomInitNode();
    EXPECT_STREQ(node->name, "SRandom");
    EXPECT_EQ(node->numDeps, 0u);
    ASSERT_TRUE(node->start(Kapi::vConfig()));
    const long drawn = random();
    srandom(seed);
    EXPECT_EQ(drawn, random());
    EXPECT_TRUE(capture.summary().empty());
}

TEST_F(DeviceRootTest, SRandomFallsBackWhenTheDeviceIsMissingOrShort)
{
    expectFallbackSeed();
    writeUrandom("abc");
    expectFallbackSeed();
    EXPECT_EQ(capture.summary(),
              (std::vector<std::string>{
                  "misc_system.error: SRandomInitNode::start: Cannot open /dev/urandom No such "
                  "file or directory",
                  "misc_system.error: SRandomInitNode::start: Cannot read /dev/urandom Success"}));
}

TEST(ComponentVersionRegistry, ExistsOnlyWhileItsNodeRuns)
{
    KELO::ComponentVersionRegistryInitNode* node =
        KELO::ComponentVersionRegistryInitNode::getInstance();
    EXPECT_STREQ(node->name, "ComponentVersionRegistry");
    EXPECT_EQ(node->numDeps, 0u);
    EXPECT_EQ(KELO::ComponentVersionRegistry::getInstance(), nullptr);

    ASSERT_TRUE(node->start(Kapi::vConfig()));
    KELO::ComponentVersionRegistry* registry = KELO::ComponentVersionRegistry::getInstance();
    ASSERT_NE(registry, nullptr);
    EXPECT_EQ(registry->getVersion("luaAppLoader"), 0);
    registry->setVersion("luaAppLoader", 3);
    registry->setVersion("cdn", -7);
    registry->setVersion("luaAppLoader", 4);
    EXPECT_EQ(registry->getVersion("luaAppLoader"), 4);
    EXPECT_EQ(registry->getVersion("cdn"), -7);
    EXPECT_EQ(registry->getVersion("CDN"), 0);
    EXPECT_TRUE(node->stop());
    EXPECT_EQ(KELO::ComponentVersionRegistry::getInstance(), nullptr);

    // A restart begins with an empty table.
    ASSERT_TRUE(node->start(Kapi::vConfig()));
    EXPECT_EQ(KELO::ComponentVersionRegistry::getInstance()->getVersion("cdn"), 0);
    EXPECT_TRUE(node->stop());
}
