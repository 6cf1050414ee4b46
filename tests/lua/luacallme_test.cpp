// The hand-back queue: wakeups, order, cancellation and destruction rules, work handed back
// from many threads, and waits on an element that is running on another thread.
#include "kapi/lua/LuaCallMe.h"

#include "LuaTestState.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using Kapi::LuaCallList;
using Kapi::LuaCallMe;

namespace {

std::atomic<int> g_wakeups{0};

void countWakeup()
{
    ++g_wakeups;
}

int protectedCall(lua_State* L, int nargs, int nresults)
{
    return lua_pcall(L, nargs, nresults, 0);
}

// Records what happened to it into a shared journal (Lua thread or cancelling thread).
class Recorder : public LuaCallMe
{
public:
    Recorder(std::string name, std::vector<std::string>* journal)
        : m_name(std::move(name)), m_journal(journal)
    {
    }
    ~Recorder() override { detach(); }
    void inLuaThread(LuaCallList*, lua_State*) override { m_journal->push_back("run " + m_name); }
    void luaWontCall() override { m_journal->push_back("cancel " + m_name); }

private:
    std::string m_name;
    std::vector<std::string>* m_journal;
};

class LuaCallListTest : public ::testing::Test
{
protected:
    void SetUp() override { g_wakeups = 0; }

    std::vector<std::string> m_journal;
};

TEST_F(LuaCallListTest, WakeupOnlyWhenTheListWasEmptyAndRunsInOrder)
{
    LuaCallList list(countWakeup, protectedCall);
    Recorder a("a", &m_journal), b("b", &m_journal);
    list.append(&a);
    EXPECT_EQ(g_wakeups, 1);
    list.append(&b);
    EXPECT_EQ(g_wakeups, 1);
    EXPECT_TRUE(list.inLuaThread(nullptr));
    EXPECT_FALSE(list.inLuaThread(nullptr));
    list.append(&a);
    EXPECT_EQ(g_wakeups, 2);
    EXPECT_TRUE(list.inLuaThread(nullptr));
    EXPECT_EQ(m_journal, (std::vector<std::string>{"run a", "run b", "run a"}));

    // Runs in order; re-appending moves an element to the end.
    m_journal.clear();
    Recorder c("c", &m_journal);
    list.append(&a);
    list.append(&b);
    list.append(&c);
    list.append(&a);
    list.inLuaThread(nullptr);
    EXPECT_EQ(m_journal, (std::vector<std::string>{"run b", "run c", "run a"}));
    EXPECT_EQ(g_wakeups, 3);
    EXPECT_EQ(list.getCallFunction(), &protectedCall);
}

TEST_F(LuaCallListTest, CancelNotifiesOnlyQueuedElementsInOrder)
{
    LuaCallList list(nullptr, protectedCall);
    Recorder a("a", &m_journal), b("b", &m_journal), c("c", &m_journal);
    list.append(&a);
    list.append(&b);
    list.append(&c);
    list.cancel(&b);
    c.remove();
    list.inLuaThread(nullptr);
    a.remove(); // already ran: no notification
    list.cancel(&a);
    EXPECT_EQ(m_journal, (std::vector<std::string>{"cancel b", "cancel c", "run a"}));

    // cancelAll() and the list's destructor cancel in order.
    m_journal.clear();
    {
        LuaCallList dying(nullptr, protectedCall);
        dying.append(&a);
        dying.append(&b);
        dying.cancelAll();
        dying.append(&c);
    }
    EXPECT_EQ(m_journal, (std::vector<std::string>{"cancel a", "cancel b", "cancel c"}));
    EXPECT_FALSE(c.isLinked());

    // Destroying a queued element unlinks it silently.
    m_journal.clear();
    {
        Recorder gone("gone", &m_journal);
        list.append(&gone);
        list.append(&a);
    }
    list.inLuaThread(nullptr);
    EXPECT_EQ(m_journal, (std::vector<std::string>{"run a"}));
}

// Runs a step of its own choosing from inside its callback.
class SelfActing : public LuaCallMe
{
public:
    enum Action
    {
        APPEND_OTHER,
        CANCEL_SELF,
        CANCEL_OTHER,
        DELETE_SELF,
        CANCEL_ALL
    };
    SelfActing(Action action, LuaCallMe* other, std::vector<std::string>* journal)
        : m_action(action), m_other(other), m_journal(journal)
    {
    }
    void inLuaThread(LuaCallList* list, lua_State*) override
    {
        m_journal->push_back("run self");
        switch (m_action) {
        case APPEND_OTHER:
            list->append(m_other);
            break;
        case CANCEL_SELF:
            remove();
            break;
        case CANCEL_OTHER:
            list->cancel(m_other);
            break;
        case DELETE_SELF:
            delete this;
            break;
        case CANCEL_ALL:
            list->cancelAll();
            break;
        }
    }
    void luaWontCall() override { m_journal->push_back("cancel self"); }

private:
    Action m_action;
    LuaCallMe* m_other;
    std::vector<std::string>* m_journal;
};

TEST_F(LuaCallListTest, AnElementMayActOnTheQueueFromItsOwnCallback)
{
    LuaCallList list(nullptr, protectedCall);
    Recorder other("other", &m_journal);

    SelfActing appender(SelfActing::APPEND_OTHER, &other, &m_journal);
    list.append(&appender);
    EXPECT_TRUE(list.inLuaThread(nullptr));
    EXPECT_EQ(m_journal, (std::vector<std::string>{"run self", "run other"}));

    m_journal.clear();
    SelfActing canceller(SelfActing::CANCEL_OTHER, &other, &m_journal);
    SelfActing selfCanceller(SelfActing::CANCEL_SELF, nullptr, &m_journal);
    list.append(&canceller);
    list.append(&other);
    list.append(&selfCanceller);
    list.inLuaThread(nullptr);
    EXPECT_EQ(m_journal, (std::vector<std::string>{"run self", "cancel other", "run self"}));

    m_journal.clear();
    SelfActing cancelAll(SelfActing::CANCEL_ALL, nullptr, &m_journal);
    list.append(new SelfActing(SelfActing::DELETE_SELF, nullptr, &m_journal));
    list.append(&cancelAll);
    list.append(&other);
    list.inLuaThread(nullptr);
    EXPECT_EQ(m_journal, (std::vector<std::string>{"run self", "run self", "cancel other"}));
}

TEST_F(LuaCallListTest, CallbacksCanCallBackIntoScripts)
{
    class CallScript : public LuaCallMe
    {
    public:
        explicit CallScript(int value) : m_value(value) {}
        void inLuaThread(LuaCallList* list, lua_State* L) override
        {
            lua_getglobal(L, "receive");
            lua_pushinteger(L, m_value);
            m_status = list->getCallFunction()(L, 1, 0);
        }
        int m_value;
        int m_status = -1;
    };
    LuaTestState lua;
    ASSERT_EQ(lua.run("total = 0; function receive(v) total = total + v end"), "");
    LuaCallList list(nullptr, protectedCall);
    CallScript two(2), forty(40);
    list.append(&two);
    list.append(&forty);
    list.inLuaThread(lua);
    EXPECT_EQ(two.m_status, 0);
    EXPECT_EQ(lua.eval("total"), "42");
}

// A result produced on a worker thread, delivered to the Lua thread, deleted there.
class Result : public LuaCallMe
{
public:
    Result(int producer, int sequence, std::vector<std::vector<int>>* seen)
        : m_producer(producer), m_sequence(sequence), m_seen(seen)
    {
    }
    void inLuaThread(LuaCallList*, lua_State*) override
    {
        (*m_seen)[m_producer].push_back(m_sequence);
        delete this;
    }

private:
    int m_producer;
    int m_sequence;
    std::vector<std::vector<int>>* m_seen; // touched on the Lua thread only
};

// The Lua thread's side of a wakeup: a flag and a condition.
struct LuaThreadSignal
{
    std::mutex mutex;
    std::condition_variable condition;
    bool pending = false;
};
LuaThreadSignal* g_signal = nullptr;

void signalLuaThread()
{
    std::lock_guard<std::mutex> lock(g_signal->mutex);
    g_signal->pending = true;
    g_signal->condition.notify_one();
}

TEST_F(LuaCallListTest, EightThreadsHandBackEveryResultInOrder)
{
    constexpr int kProducers = 8;
    constexpr int kResults = 2000;
    LuaThreadSignal signal;
    g_signal = &signal;
    LuaTestState lua;
    LuaCallList list(signalLuaThread, protectedCall);
    std::vector<std::vector<int>> seen(kProducers);

    std::vector<std::thread> producers;
    for (int p = 0; p < kProducers; ++p) {
        producers.emplace_back([&list, &seen, p] {
            for (int i = 0; i < kResults; ++i) {
                list.append(new Result(p, i, &seen));
            }
        });
    }

    size_t delivered = 0;
    while (delivered < static_cast<size_t>(kProducers) * kResults) {
        {
            std::unique_lock<std::mutex> lock(signal.mutex);
            signal.condition.wait(lock, [&signal] { return signal.pending; });
            signal.pending = false;
        }
        list.inLuaThread(lua);
        delivered = 0;
        for (const auto& results : seen) {
            delivered += results.size();
        }
    }
    for (std::thread& producer : producers) {
        producer.join();
    }
    EXPECT_FALSE(list.inLuaThread(lua));
    for (int p = 0; p < kProducers; ++p) {
        ASSERT_EQ(seen[p].size(), static_cast<size_t>(kResults));
        for (int i = 0; i < kResults; ++i) {
            ASSERT_EQ(seen[p][i], i) << "producer " << p;
        }
    }
    g_signal = nullptr;
}

// Blocks inside its callback until released; records when its run ended.
class Blocking : public LuaCallMe
{
public:
    ~Blocking() override { detach(); }
    void inLuaThread(LuaCallList*, lua_State*) override
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_running = true;
        m_condition.notify_all();
        m_condition.wait(lock, [this] { return m_released; });
        m_finished = true;
    }
    void luaWontCall() override { ++m_cancelled; }

    void waitUntilRunning()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_condition.wait(lock, [this] { return m_running; });
    }
    void release()
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        m_released = true;
        m_condition.notify_all();
    }

    std::atomic<bool> m_finished{false};
    std::atomic<int> m_cancelled{0};

private:
    std::mutex m_mutex;
    std::condition_variable m_condition;
    bool m_running = false;
    bool m_released = false;
};

TEST_F(LuaCallListTest, CancellingOrDestroyingTheRunningElementWaitsForItsRun)
{
    for (const bool destroy : {false, true}) {
        SCOPED_TRACE(destroy ? "destroy" : "cancel");
        LuaCallList list(nullptr, protectedCall);
        auto* element = new Blocking;
        list.append(element);
        std::thread luaThread([&list] { list.inLuaThread(nullptr); });
        element->waitUntilRunning();

        std::atomic<bool> done{false};
        bool finishedWhenDone = false;
        std::thread other([&] {
            if (destroy) {
                delete element;
            } else {
                element->remove();
                finishedWhenDone = element->m_finished;
            }
            done = true;
        });
        // Give the other thread time to block; the assertions hold however long this takes.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        EXPECT_FALSE(done);
        element->release();
        other.join();
        luaThread.join();
        EXPECT_TRUE(done);
        if (!destroy) {
            EXPECT_TRUE(finishedWhenDone);
            EXPECT_EQ(element->m_cancelled, 0); // it was running, not queued
            delete element;
        }
    }
}

TEST_F(LuaCallListTest, ElementsReappendedWhileTheListIsDestroyedAreCancelledToo)
{
    class Reappender : public LuaCallMe
    {
    public:
        void inLuaThread(LuaCallList*, lua_State*) override {}
        void luaWontCall() override
        {
            if (m_list != nullptr && m_times-- > 0) {
                m_list->append(this);
            }
        }
        LuaCallList* m_list = nullptr;
        int m_times = 1;
    };
    Reappender element;
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_ERROR);
    {
        LuaCallList list(nullptr, protectedCall);
        element.m_list = &list;
        list.append(&element);
    }
    // cancelAll() drains the list again, so the re-appended element was cancelled, not leaked.
    EXPECT_TRUE(capture.summary().empty());
    EXPECT_FALSE(element.isLinked());
}

} // namespace
