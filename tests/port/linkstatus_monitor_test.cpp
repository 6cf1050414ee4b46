// The polling link-status monitor: first report, one notification per change, one listener,
// the stop handshake, and the generic monitor's service-down file.
#include "LinkStatusDriverGeneric.h"
#include "LinkStatusMonitorGeneric.h"
#include "PollingLinkStatusMonitor.h"

#include "../PortDrivers.h"
#include "LinkEventRecorder.h"
#include "PortSysLogCapture.h"
#include "support/TestFiles.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

using KELO::LinkStatusListener;
using Events = std::vector<int>;
using Lines = std::vector<std::string>;

namespace {

// Link states the test sets; the polling thread reads them. check() asks for the service state
// first, which takes both states at once, so that changing both gives one check both changes.
class FakeMonitor : public KELO::PollingLinkStatusMonitor
{
public:
    void set(bool link, bool service)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_link = link;
        m_service = service;
    }
    bool getServiceLinkStatus() override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_linkTaken = m_link;
        m_taken = true;
        return m_service;
    }
    bool getLinkStatus() override
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        const bool link = m_taken ? m_linkTaken : m_link;
        m_taken = false;
        return link;
    }

private:
    std::mutex m_mutex;
    bool m_link = true;
    bool m_service = true;
    bool m_linkTaken = true; // the link state taken with the last service state
    bool m_taken = false;
};

// Enough for two polls after the last change: a second notification would have come by then.
void letTwoPollsPass()
{
    std::this_thread::sleep_for(std::chrono::milliseconds(2500));
}

} // namespace

TEST(PollingLinkStatusMonitor, ReportsBothStatesAtOnceThenEachChangeExactlyOnce)
{
    FakeMonitor monitor;
    monitor.set(false, true);
    LinkEventRecorder recorder;
    int context = 0;
    ASSERT_EQ(monitor.AddListener(&context, &recorder), KELO::SUCCESS);
    // Sent before AddListener returns: network first, then service.
    EXPECT_EQ(recorder.events(),
              (Events{LinkStatusListener::LinkDown, LinkStatusListener::ServiceLinkUp}));

    monitor.set(true, true);
    ASSERT_TRUE(recorder.waitFor(3));
    monitor.set(true, false);
    ASSERT_TRUE(recorder.waitFor(4));
    // Both at once: the service change is told first.
    monitor.set(false, true);
    ASSERT_TRUE(recorder.waitFor(6));
    letTwoPollsPass();
    EXPECT_EQ(recorder.events(),
              (Events{LinkStatusListener::LinkDown, LinkStatusListener::ServiceLinkUp,
                      LinkStatusListener::LinkUp, LinkStatusListener::ServiceLinkDown,
                      LinkStatusListener::ServiceLinkUp, LinkStatusListener::LinkDown}));
    for (void* seen : recorder.contexts())
        EXPECT_EQ(seen, &context);

    ASSERT_EQ(monitor.RemoveListener(&recorder), KELO::SUCCESS);
    // Nothing arrives once the listener is removed.
    monitor.set(true, true);
    letTwoPollsPass();
    EXPECT_EQ(recorder.events().size(), 6u);
}

TEST(PollingLinkStatusMonitor, OnlyOneListenerAndOnlyItCanBeRemoved)
{
    FakeMonitor monitor;
    LinkEventRecorder first;
    LinkEventRecorder second;
    ASSERT_EQ(monitor.AddListener(nullptr, &first), KELO::SUCCESS);
    EXPECT_EQ(monitor.AddListener(nullptr, &second), KELO::NOT_SUPPORTED);
    EXPECT_EQ(second.events(), Events{});
    EXPECT_EQ(monitor.RemoveListener(&second), KELO::INVALID_ARGUMENTS);

    monitor.set(true, false);
    ASSERT_TRUE(first.waitFor(3));
    EXPECT_EQ(first.events().back(), LinkStatusListener::ServiceLinkDown);

    PortSysLogCapture capture;
    ASSERT_EQ(monitor.RemoveListener(&first), KELO::SUCCESS);
    capture.stop();
    const Lines lines = capture.lines();
    ASSERT_GE(lines.size(), 3u);
    EXPECT_EQ(lines.front(),
              "<PollingLinkStatusMonitor.info>: RemoveListener: Stop polling thread");
    EXPECT_EQ(lines.back(), "<PollingLinkStatusMonitor.info>: RemoveListener: Polling thread gone");
    EXPECT_NE(std::find(lines.begin(), lines.end(),
                        "<PollingLinkStatusMonitor.info>: pollingThread: exitting"),
              lines.end());
    EXPECT_EQ(monitor.RemoveListener(&first), KELO::INVALID_ARGUMENTS);

    // Registering again starts a new polling thread from the current states.
    monitor.set(true, true);
    ASSERT_EQ(monitor.AddListener(nullptr, &second), KELO::SUCCESS);
    EXPECT_EQ(second.events(),
              (Events{LinkStatusListener::LinkUp, LinkStatusListener::ServiceLinkUp}));
    ASSERT_EQ(monitor.RemoveListener(&second), KELO::SUCCESS);
}

TEST(PollingLinkStatusMonitor, TheBaseQueriesAnswerUp)
{
    KELO::PollingLinkStatusMonitor monitor;
    PortSysLogCapture capture;
    EXPECT_TRUE(monitor.getLinkStatus());
    EXPECT_TRUE(monitor.getServiceLinkStatus());
    capture.stop();
    EXPECT_EQ(capture.lines(), Lines{"<PollingLinkStatusMonitor.info>: getLinkStatus: Baseclass "
                                     "getLinkStatus() -- no implementation?"});
}

TEST(PollingLinkStatusMonitorDeathTest, DestroyingAMonitorWithAListenerIsFatal)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            FakeMonitor* monitor = new FakeMonitor;
            LinkEventRecorder recorder;
            monitor->AddListener(nullptr, &recorder);
            delete monitor;
        },
        "m_listener == __null");
}

TEST(LinkStatusMonitorGeneric, TheServiceDownFileGivesOneNotificationEachWay)
{
    char dir[] = "/tmp/kelo-linkstatus.XXXXXX";
    ASSERT_NE(mkdtemp(dir), nullptr);
    const std::string root = dir;
    ASSERT_EQ(mkdir((root + "/tmp").c_str(), 0755), 0);
    setenv("KELO_ROOT", root.c_str(), 1);
    const std::string flag = root + "/tmp/kknetcfg.service.down";

    LinkStatusMonitorGeneric monitor;
    EXPECT_TRUE(monitor.getServiceLinkStatus());
    LinkEventRecorder recorder;
    ASSERT_EQ(monitor.AddListener(nullptr, &recorder), KELO::SUCCESS);
    ASSERT_EQ(recorder.events().size(), 2u);
    EXPECT_EQ(recorder.events()[1], LinkStatusListener::ServiceLinkUp);

    KeloTest::writeFile(flag, "");
    ASSERT_TRUE(recorder.waitFor(3));
    letTwoPollsPass();
    EXPECT_EQ(recorder.events().size(), 3u);
    EXPECT_EQ(recorder.events()[2], LinkStatusListener::ServiceLinkDown);

    unlink(flag.c_str());
    ASSERT_TRUE(recorder.waitFor(4));
    letTwoPollsPass();
    EXPECT_EQ(recorder.events().size(), 4u);
    EXPECT_EQ(recorder.events()[3], LinkStatusListener::ServiceLinkUp);

    ASSERT_EQ(monitor.RemoveListener(&recorder), KELO::SUCCESS);
    unsetenv("KELO_ROOT");
    std::system(("rm -rf '" + root + "'").c_str());
}

TEST(LinkStatusDriverGeneric, OneDriverWithOneMonitor)
{
    PortSysLogCapture capture;
    KELO::LinkStatusDriver* driver = CreateGenericLinkStatusDriver();
    ASSERT_NE(driver, nullptr);
    EXPECT_EQ(CreateGenericLinkStatusDriver(), driver);
    KELO::LinkStatusMonitor* monitor = driver->getLinkStatusMonitor();
    ASSERT_NE(monitor, nullptr);
    EXPECT_EQ(driver->getLinkStatusMonitor(), monitor);
    EXPECT_NE(dynamic_cast<LinkStatusMonitorGeneric*>(monitor), nullptr);
    DestroyGenericLinkStatusDriver();
    DestroyGenericLinkStatusDriver(); // nothing left to destroy
    capture.stop();
    EXPECT_EQ(capture.lines(),
              (Lines{"<LinkStatusDriverGeneric.info>: LinkStatus Driver for GENERIC created",
                     "<LinkStatusDriverGeneric.info>: Create new LinkStatusMonitorGeneric",
                     "<LinkStatusDriverGeneric.info>: LinkStatus Driver for GENERIC destroyed"}));
}
