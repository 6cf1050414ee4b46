// CurlHandle, CurlQuery and CurlTask: results reported through a CallMe on the test's own
// thread, stale and delayed queries, queries dropped unrun, and the live-query count.
#include "kapi/TaskProcessor.h"
#include "kapi/Thread.h"
#include "kapi/Timer.h"
#include "kapi/net/CurlHandle.h"
#include "kapi/net/CurlQuery.h"
#include "kapi/net/CurlTask.h"
#include "net/CurlTestCallMe.h"
#include "net/CurlTestLayer.h"
#include "net/CurlTestServers.h"
#include "support/LogCapture.h"

#include <algorithm>
#include <atomic>
#include <future>
#include <gtest/gtest.h>
#include <thread>

using Kapi::Net::CurlEasy;
using Kapi::Net::CurlHandle;
using Kapi::Net::CurlListener;
using Kapi::Net::CurlQuery;
using Kapi::Net::CurlTask;
using KeloTest::patternBytes;

namespace {

struct RecordingListener : CurlListener
{
    void queryFinished(int code, const std::string& body) override
    {
        ++calls;
        lastCode = code;
        lastBody = body;
    }
    int calls = 0;
    int lastCode = -1;
    std::string lastBody;
};

class CurlQueryTest : public KeloTest::WithHttpServer<KeloTest::CurlLayerTest>
{
protected:
    void TearDown() override
    {
        EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0);
        KeloTest::CurlLayerTest::TearDown();
    }
    // Schedules the handle on a two-thread processor and runs its report.
    void run(CurlHandle& handle, RecordingListener& listener)
    {
        handle.setListener(&listener);
        handle.schedule(&m_processor);
        ASSERT_TRUE(m_factory.runOne());
    }
    // Occupies a one-thread processor until `open` is set, so later tasks stay queued.
    static void block(Kapi::TaskProcessor& processor, std::shared_future<void> open)
    {
        struct GateTask : Kapi::IOTask
        {
            GateTask(std::shared_future<void> open, std::promise<void>* running)
                : IOTask(99), open(std::move(open)), running(running)
            {
            }
            void work() override
            {
                running->set_value();
                open.wait();
            }
            std::shared_future<void> open;
            std::promise<void>* running;
        };
        std::promise<void> running;
        processor.schedule(new GateTask(std::move(open), &running), Kapi::Timer::now());
        running.get_future().wait();
    }
    bool logged(const LogCapture& capture, const std::string& line)
    {
        const std::vector<std::string> lines = capture.summary();
        return std::find(lines.begin(), lines.end(), line) != lines.end();
    }

    KeloTest::QueueCallMeFactory m_factory;
    Kapi::TaskProcessor m_processor{2};
};

struct StreamingListener : CurlEasy::PacketListener
{
    bool gotBytes(void* data, unsigned int size) override
    {
        body.append(static_cast<const char*>(data), size);
        return true;
    }
    std::string body;
};

// A task that reports through its own call-me, for driving CurlTask directly.
struct DirectTask : Kapi::Stream::ChangeListener
{
    explicit DirectTask(KeloTest::QueueCallMeFactory& factory, const std::string& url)
        : callMe(factory.create()), task(callMe.get(), &alive, &result, &body, 4096, nullptr, true)
    {
        callMe->setChangeListener(this);
        task.setUrl(url);
    }
    void changed() override { ++reports; }

    int reports = 0;
    std::unique_ptr<Kapi::Stream::CallMe> callMe;
    std::atomic<bool> alive{true};
    int result = 206;
    std::string body = "untouched";
    CurlTask task;
};

} // namespace

TEST_F(CurlQueryTest, HandleReportsTheBodyOnTheFactorysThread)
{
    RecordingListener listener;
    {
        CurlHandle handle(&m_factory, 100000, true);
        handle.setUrl(url("/bytes/50000"));
        handle.setListener(&listener);
        handle.schedule(&m_processor);
        EXPECT_TRUE(handle.isScheduled());
        EXPECT_EQ(CurlQuery::getNumCurlQueries(), 1);
        ASSERT_TRUE(m_factory.runOne());
        EXPECT_EQ(listener.calls, 1);
        EXPECT_EQ(listener.lastCode, 0);
        EXPECT_EQ(listener.lastBody, patternBytes(0, 50000));
        EXPECT_TRUE(handle.getQuery()->isFinished());
    }
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0);

    CurlHandle failing(&m_factory, 100, false); // the blocking kind this time
    failing.setUrl(url("/bytes/101"));
    run(failing, listener);
    EXPECT_EQ(listener.lastCode, 23);
    EXPECT_EQ(listener.lastBody, "");
}

TEST_F(CurlQueryTest, PostHeadersAndResumeOffsetsReachTheServer)
{
    RecordingListener post;
    CurlHandle handle(&m_factory, 100000, true);
    handle.setUrl(url("/echo"));
    handle.setData("question", "text/x-question", "text/x-answer");
    handle.addHeader("X-Extra", "one");
    handle.setTimeout(30);
    handle.setResumeFrom(0); // offset zero sends no range
    run(handle, post);
    ASSERT_EQ(post.lastCode, 0);
    EXPECT_NE(post.lastBody.find("\"body\": \"question\""), std::string::npos);
    EXPECT_NE(post.lastBody.find("[\"X-Extra\", \"one\"]"), std::string::npos);
    EXPECT_NE(post.lastBody.find("[\"Content-Type\", \"text/x-question\"]"), std::string::npos);
    EXPECT_EQ(post.lastBody.find("\"Range\""), std::string::npos) << post.lastBody;

    RecordingListener ranged;
    CurlHandle second(&m_factory, 100000, true);
    second.setUrl(url("/echo"));
    second.setResumeFrom(10);
    run(second, ranged);
    EXPECT_NE(ranged.lastBody.find("[\"Range\", \"bytes=10-\"]"), std::string::npos);
}

TEST_F(CurlQueryTest, StreamingQueryHandsTheBodyToItsPacketListener)
{
    StreamingListener stream;
    RecordingListener listener;
    CurlHandle handle(&m_factory, &stream, true);
    handle.setUrl(url("/bytes/100000"));
    run(handle, listener);
    EXPECT_EQ(listener.lastCode, 0);
    EXPECT_EQ(listener.lastBody, "");
    EXPECT_EQ(stream.body, patternBytes(0, 100000));
}

TEST_F(CurlQueryTest, HandleDroppedBeforeItsTaskRanLeavesAStaleQueryThatFreesItself)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_INFO);
    Kapi::TaskProcessor processor(1);
    std::promise<void> open;
    block(processor, open.get_future().share());

    RecordingListener listener;
    auto handle = std::make_unique<CurlHandle>(&m_factory, 4096u, true);
    handle->setUrl(url("/fixed"));
    handle->setListener(&listener);
    handle->schedule(&processor);
    handle.reset(); // the owner goes before the task ran
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 1);
    open.set_value();
    // The query's changed(): nobody listens, so it deletes itself.
    ASSERT_TRUE(m_factory.runOne());
    EXPECT_EQ(listener.calls, 0);
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0);
    EXPECT_TRUE(logged(capture, "kapi_net.info: Cancelling stale CURL query to " + url("/fixed")));
}

TEST_F(CurlQueryTest, StaleOrLongDelayedTasksReportWithoutTouchingTheResult)
{
    DirectTask stale(m_factory, url("/fixed"));
    stale.alive = false;
    stale.task.work();
    EXPECT_EQ(stale.result, 206);
    EXPECT_EQ(stale.body, "untouched");
    ASSERT_TRUE(m_factory.runOne());
    EXPECT_EQ(stale.reports, 1);

    // Queued longer than half its timeout: cancelled.
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_INFO);
    DirectTask delayed(m_factory, url("/fixed"));
    delayed.task.setTimeout(10, Kapi::Timer::now() - 6 * 1000000LL - 100000);
    delayed.task.work();
    EXPECT_EQ(delayed.result, 206);
    ASSERT_TRUE(m_factory.runOne());
    EXPECT_EQ(delayed.reports, 1);
    ASSERT_FALSE(capture.summary().empty());
    EXPECT_EQ(capture.summary()[0],
              "kapi_net.info: Query delayed by 6s (more than 5s), cancelling " + url("/fixed"));
}

TEST_F(CurlQueryTest, TaskQueuedHalfItsTimeoutRunsWithWhatIsLeft)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
    DirectTask direct(m_factory, url("/fixed"));
    direct.task.setTimeout(10, Kapi::Timer::now() - 5 * 1000000LL - 100000);
    direct.task.work();
    EXPECT_EQ(direct.result, 0);
    EXPECT_EQ(direct.body, "Hello from the loopback server\n");
    EXPECT_TRUE(logged(capture, "kapi_net.debug: Query was scheduled with 10s timeout 5s ago, "
                                "using 5s as curl timeout"));
}

TEST_F(CurlQueryTest, TaskWithNowhereToPutTheBodyFetchesNothing)
{
    auto callMe = std::unique_ptr<Kapi::Stream::CallMe>(m_factory.create());
    int result = 206;
    CurlTask task(callMe.get(), nullptr, &result, nullptr, 0, nullptr, true);
    task.setUrl(url("/fixed"));
    task.work();
    EXPECT_EQ(result, 206);
    EXPECT_EQ(m_factory.queued(), 1u);
}

TEST_F(CurlQueryTest, QueriesNeverScheduledOrWithoutACallMeFreeThemselves)
{
    {
        CurlHandle handle(&m_factory, 4096u, true);
        handle.setUrl(url("/fixed"));
        EXPECT_EQ(CurlQuery::getNumCurlQueries(), 1);
    }
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0);
    EXPECT_EQ(m_factory.queued(), 0u);

    struct NoThreadFactory : Kapi::Stream::CallMeFactory
    {
        Kapi::Stream::CallMe* create() const override { return nullptr; }
    } factory;
    {
        Kapi::TaskProcessor processor(1);
        CurlHandle handle(&factory, 4096u, true);
        handle.setUrl(url("/fixed"));
        handle.schedule(&processor); // never runs
    }
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0);
}

TEST_F(CurlQueryTest, TaskDroppedUnrunReports206)
{
    RecordingListener listener;
    CurlHandle handle(&m_factory, 4096u, true);
    handle.setUrl(url("/fixed"));
    handle.setListener(&listener);
    std::promise<void> open;
    // The processor's destruction drops the queued curl task (its CallMe fires) and then
    // waits for the gate, which opens only after that.
    std::thread opener([&] {
        while (m_factory.queued() == 0)
            Kapi::Thread::sleep(1000);
        open.set_value();
    });
    {
        Kapi::TaskProcessor processor(1);
        block(processor, open.get_future().share());
        handle.schedule(&processor);
    }
    opener.join();
    ASSERT_TRUE(m_factory.runOne());
    EXPECT_EQ(listener.calls, 1);
    EXPECT_EQ(listener.lastCode, 206);
}
