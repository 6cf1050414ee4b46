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

class CurlQueryTest : public KeloTest::WithHttpServer<KeloTest::CurlLayerTest>
{
protected:
    void TearDown() override { EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0); }

    KeloTest::QueueCallMeFactory m_factory;
};

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

// Occupies a one-task processor until released, so later tasks stay queued.
class GateTask : public Kapi::IOTask
{
public:
    GateTask(std::shared_future<void> open, std::promise<void>* running)
        : IOTask(99), m_open(std::move(open)), m_running(running)
    {
    }
    void work() override
    {
        m_running->set_value();
        m_open.wait();
    }

private:
    std::shared_future<void> m_open;
    std::promise<void>* m_running;
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
struct DirectTask
{
    explicit DirectTask(KeloTest::QueueCallMeFactory& factory, unsigned maxSize = 4096)
        : callMe(factory.create())
    {
        callMe->setChangeListener(&counter);
        task = std::make_unique<CurlTask>(callMe.get(), &alive, &result, &body, maxSize, nullptr,
                                          true);
    }
    struct Counter : Kapi::Stream::ChangeListener
    {
        void changed() override { ++count; }
        int count = 0;
    } counter;
    std::unique_ptr<Kapi::Stream::CallMe> callMe;
    std::atomic<bool> alive{true};
    int result = 206;
    std::string body = "untouched";
    std::unique_ptr<CurlTask> task;
};

} // namespace

TEST_F(CurlQueryTest, HandleReportsTheBodyOnTheFactorysThread)
{
    Kapi::TaskProcessor processor(2);
    RecordingListener listener;
    {
        CurlHandle handle(&m_factory, 100000, true);
        handle.setUrl(url("/bytes/50000"));
        handle.setListener(&listener);
        handle.schedule(&processor);
        EXPECT_TRUE(handle.isScheduled());
        EXPECT_EQ(CurlQuery::getNumCurlQueries(), 1);
        ASSERT_TRUE(m_factory.runOne());
        EXPECT_EQ(listener.calls, 1);
        EXPECT_EQ(listener.lastCode, 0);
        EXPECT_EQ(listener.lastBody, patternBytes(0, 50000));
        EXPECT_TRUE(handle.getQuery()->isFinished());
    }
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0);
}

TEST_F(CurlQueryTest, FailedQueryReportsItsCodeWithAnEmptyBody)
{
    Kapi::TaskProcessor processor(1);
    RecordingListener listener;
    CurlHandle handle(&m_factory, 100, false); // the blocking kind this time
    handle.setUrl(url("/bytes/101"));
    handle.setListener(&listener);
    handle.schedule(&processor);
    ASSERT_TRUE(m_factory.runOne());
    EXPECT_EQ(listener.lastCode, 23);
    EXPECT_EQ(listener.lastBody, "");
}

TEST_F(CurlQueryTest, PostAndHeadersReachTheServer)
{
    Kapi::TaskProcessor processor(1);
    RecordingListener listener;
    CurlHandle handle(&m_factory, 100000, true);
    handle.setUrl(url("/echo"));
    handle.setData("question", "text/x-question", "text/x-answer");
    handle.addHeader("X-Extra", "one");
    handle.setTimeout(30);
    handle.setListener(&listener);
    handle.schedule(&processor);
    ASSERT_TRUE(m_factory.runOne());
    ASSERT_EQ(listener.lastCode, 0);
    EXPECT_NE(listener.lastBody.find("\"body\": \"question\""), std::string::npos);
    EXPECT_NE(listener.lastBody.find("[\"X-Extra\", \"one\"]"), std::string::npos);
    EXPECT_NE(listener.lastBody.find("[\"Content-Type\", \"text/x-question\"]"), std::string::npos);
}

TEST_F(CurlQueryTest, ResumeOffsetZeroSendsNoRangeButAnOffsetDoes)
{
    Kapi::TaskProcessor processor(1);
    RecordingListener noRange;
    RecordingListener withRange;
    CurlHandle first(&m_factory, 100000, true);
    first.setUrl(url("/echo"));
    first.setResumeFrom(0);
    first.setListener(&noRange);
    first.schedule(&processor);
    CurlHandle second(&m_factory, 100000, true);
    second.setUrl(url("/echo"));
    second.setResumeFrom(10);
    second.setListener(&withRange);
    second.schedule(&processor);
    ASSERT_TRUE(m_factory.runOne());
    ASSERT_TRUE(m_factory.runOne());
    EXPECT_EQ(noRange.lastCode, 0);
    EXPECT_EQ(noRange.lastBody.find("\"Range\""), std::string::npos) << noRange.lastBody;
    EXPECT_NE(withRange.lastBody.find("[\"Range\", \"bytes=10-\"]"), std::string::npos);
}

TEST_F(CurlQueryTest, StreamingQueryHandsTheBodyToItsPacketListener)
{
    Kapi::TaskProcessor processor(1);
    StreamingListener stream;
    RecordingListener listener;
    CurlHandle handle(&m_factory, &stream, true);
    handle.setUrl(url("/bytes/100000"));
    handle.setListener(&listener);
    handle.schedule(&processor);
    ASSERT_TRUE(m_factory.runOne());
    EXPECT_EQ(listener.lastCode, 0);
    EXPECT_EQ(listener.lastBody, "");
    EXPECT_EQ(stream.body, patternBytes(0, 100000));
}

TEST_F(CurlQueryTest, HandleDroppedBeforeItsTaskRanLeavesAStaleQueryThatFreesItself)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_INFO);
    Kapi::TaskProcessor processor(1);
    std::promise<void> open;
    std::promise<void> gateRunning;
    processor.schedule(new GateTask(open.get_future().share(), &gateRunning), Kapi::Timer::now());
    gateRunning.get_future().wait();

    RecordingListener listener;
    auto handle = std::make_unique<CurlHandle>(&m_factory, 4096u, true);
    handle->setUrl(url("/fixed"));
    handle->setListener(&listener);
    handle->schedule(&processor);
    handle.reset(); // the owner goes before the task ran
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 1);
    open.set_value();
    ASSERT_TRUE(m_factory.runOne()); // the query's changed(): nobody listens, it deletes itself
    EXPECT_EQ(listener.calls, 0);
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0);
    bool logged = false;
    for (const std::string& line : capture.summary()) {
        logged = logged || line == "kapi_net.info: Cancelling stale CURL query to " + url("/fixed");
    }
    EXPECT_TRUE(logged);
}

TEST_F(CurlQueryTest, StaleTaskReportsWithoutTouchingTheResult)
{
    DirectTask direct(m_factory);
    direct.task->setUrl(url("/fixed"));
    direct.alive = false;
    direct.task->work();
    EXPECT_EQ(direct.result, 206);
    EXPECT_EQ(direct.body, "untouched");
    ASSERT_TRUE(m_factory.runOne());
    EXPECT_EQ(direct.counter.count, 1);
}

TEST_F(CurlQueryTest, TaskQueuedLongerThanHalfItsTimeoutIsCancelled)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_INFO);
    DirectTask direct(m_factory);
    direct.task->setUrl(url("/fixed"));
    direct.task->setTimeout(10, Kapi::Timer::now() - 6 * 1000000LL - 100000);
    direct.task->work();
    EXPECT_EQ(direct.result, 206);
    ASSERT_TRUE(m_factory.runOne());
    ASSERT_FALSE(capture.summary().empty());
    EXPECT_EQ(capture.summary()[0],
              "kapi_net.info: Query delayed by 6s (more than 5s), cancelling " + url("/fixed"));
}

TEST_F(CurlQueryTest, TaskQueuedHalfItsTimeoutRunsWithWhatIsLeft)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
    DirectTask direct(m_factory);
    direct.task->setUrl(url("/fixed"));
    direct.task->setTimeout(10, Kapi::Timer::now() - 5 * 1000000LL - 100000);
    direct.task->work();
    EXPECT_EQ(direct.result, 0);
    EXPECT_EQ(direct.body, "Hello from the loopback server\n");
    bool logged = false;
    for (const std::string& line : capture.summary()) {
        logged = logged || line == "kapi_net.debug: Query was scheduled with 10s timeout 5s ago, "
                                   "using 5s as curl timeout";
    }
    EXPECT_TRUE(logged);
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

TEST_F(CurlQueryTest, HandleNeverScheduledFreesItsQueryAndTask)
{
    {
        CurlHandle handle(&m_factory, 4096u, true);
        handle.setUrl(url("/fixed"));
        EXPECT_EQ(CurlQuery::getNumCurlQueries(), 1);
    }
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0);
    EXPECT_EQ(m_factory.queued(), 0u);
}

TEST_F(CurlQueryTest, TaskDroppedUnrunReports206)
{
    RecordingListener listener;
    CurlHandle handle(&m_factory, 4096u, true);
    handle.setUrl(url("/fixed"));
    handle.setListener(&listener);
    std::promise<void> open;
    std::promise<void> gateRunning;
    // The processor's destruction drops the queued curl task (its CallMe fires) and then
    // waits for the gate, which opens only after that.
    std::thread opener([&] {
        while (m_factory.queued() == 0) {
            Kapi::Thread::sleep(1000);
        }
        open.set_value();
    });
    {
        Kapi::TaskProcessor processor(1);
        processor.schedule(new GateTask(open.get_future().share(), &gateRunning),
                           Kapi::Timer::now());
        gateRunning.get_future().wait();
        handle.schedule(&processor);
    }
    opener.join();
    ASSERT_TRUE(m_factory.runOne());
    EXPECT_EQ(listener.calls, 1);
    EXPECT_EQ(listener.lastCode, 206);
}

TEST_F(CurlQueryTest, QueryWithoutACallMeNeverRuns)
{
    struct NoThreadFactory : Kapi::Stream::CallMeFactory
    {
        Kapi::Stream::CallMe* create() const override { return nullptr; }
    } factory;
    Kapi::TaskProcessor processor(1);
    {
        CurlHandle handle(&factory, 4096u, true);
        handle.setUrl(url("/fixed"));
        handle.schedule(&processor);
    }
    EXPECT_EQ(CurlQuery::getNumCurlQueries(), 0);
}
