// Threads: names, nice values and ids as the kernel shows them, the start/join life cycle
// with several joiners and restarts, deletion from the thread itself, the registry and its log
// lines, and (in a probe process each) the stack size chosen once from KKTHREADSTACKSIZEINKB.
#include "kapi/PosixThread.h"
#include "kapi/Semaphore.h"

#include "support/LogCapture.h"
#include "support/RunProcess.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <fstream>
#include <functional>
#include <sstream>
#include <sys/syscall.h>
#include <thread>

using Kapi::kInfinite;
using Kapi::Thread;

namespace {

// ThreadSanitizer's pthread_create raises small stacks to fit its own thread-local storage.
#if defined(__SANITIZE_THREAD__)
constexpr bool kSanitizerGrowsStacks = true;
#else
constexpr bool kSanitizerGrowsStacks = false;
#endif

struct FunctionRunnable : Kapi::Runnable
{
    explicit FunctionRunnable(std::function<int()> body) : body(std::move(body)) {}
    int main() override { return body(); }
    std::function<int()> body;
};

std::string taskFile(pid_t tid, const char* name)
{
    std::ifstream in("/proc/self/task/" + std::to_string(tid) + "/" + name);
    return std::string(std::istreambuf_iterator<char>(in), {});
}

// Field 19 of the task's stat; the name (field 2) may hold spaces, so count from its ')'.
int niceOf(pid_t tid)
{
    const std::string stat = taskFile(tid, "stat");
    std::istringstream fields(stat.substr(stat.rfind(')') + 2));
    std::string field;
    for (int index = 3; index <= 19; ++index)
        fields >> field;
    return std::stoi(field);
}

} // namespace

TEST(Thread, NameNiceValueAndIdsOfARunningThread)
{
    const std::string name = "abcdefghijklmnopqrstuvwxy"; // 25 characters
    const int ownNice = niceOf(Thread::getSystemThreadId());
    auto gate = Kapi::Semaphore::New(0);
    std::atomic<pid_t> tid{0};
    std::atomic<bool> idsAgree{false};
    FunctionRunnable body([&] {
        idsAgree = Thread::getSystemThreadId() == static_cast<pid_t>(syscall(SYS_gettid)) &&
                   KapiGetTid() == Thread::getSystemThreadId() &&
                   pthread_equal(Thread::getCurrentThreadId(), pthread_self());
        tid = Thread::getSystemThreadId();
        return gate->wait(kInfinite);
    });
    Kapi::PosixThread thread(name.c_str(), Thread::PRIORITY_LOW, &body);
    EXPECT_EQ(std::string(thread.getName()), name.substr(0, 19));
    thread.start();
    while (tid == 0)
        Thread::yield();
    EXPECT_EQ(taskFile(tid, "comm"), name.substr(0, 15) + "\n"); // the kernel keeps 15
    EXPECT_EQ(niceOf(tid), std::min(ownNice + 5, 19));
    EXPECT_EQ(niceOf(Thread::getSystemThreadId()), ownNice);
    EXPECT_TRUE(idsAgree);
    gate->post();

    std::thread other([&] { // the static operations act on the calling thread
        Thread::setName("renamed");
        Thread::setPriority(Thread::PRIORITY_LOW);
        const pid_t self = Thread::getSystemThreadId();
        EXPECT_EQ(taskFile(self, "comm"), "renamed\n");
        EXPECT_EQ(niceOf(self), std::min(ownNice + 5, 19));
    });
    other.join();
}

TEST(Thread, JoinStartAndRestart)
{
    auto gate = Kapi::Semaphore::New(0);
    std::atomic<int> runs{0};
    FunctionRunnable body([&] {
        gate->wait(kInfinite);
        return 10 * ++runs;
    });
    std::unique_ptr<Thread> thread = Thread::New("joiner", Thread::PRIORITY_NORMAL, &body);
    EXPECT_EQ(thread->join(), 0); // never started: finished already
    thread->start();
    thread->start(); // running: ignored
    std::vector<int> joined(2, -1);
    std::thread first([&] { joined[0] = thread->join(); });
    std::thread second([&] { joined[1] = thread->join(); });
    gate->post();
    first.join();
    second.join();
    EXPECT_EQ(joined, (std::vector<int>{10, 10}));
    EXPECT_EQ(thread->join(), 10); // the stored result, again
    gate->post();
    thread->start(); // finished: runs again on a new system thread
    EXPECT_EQ(thread->join(), 20);
}

TEST(Thread, RegistryListsRunningThreadsAndLogsChanges)
{
    auto gate = Kapi::Semaphore::New(0);
    auto started = Kapi::Semaphore::New(0);
    std::atomic<pid_t> tid{0};
    FunctionRunnable body([&] {
        tid = Thread::getSystemThreadId();
        started->post();
        return gate->wait(kInfinite);
    });
    const unsigned before = Thread::getThreadCount();
    std::vector<std::string> expected;
    LogCapture capture(VLOGSRC_KAPI_OS, VLOG_DEBUG);
    for (const char* name : {"one", "two"}) {
        std::unique_ptr<Thread> thread = Thread::New(name, Thread::PRIORITY_NORMAL, &body);
        thread->start();
        started->wait(kInfinite);
        EXPECT_EQ(Thread::getThreadCount(), before + 1);
        const std::vector<pid_t> ids = Thread::getThreadIds();
        EXPECT_EQ(ids.size(), before + 1);
        EXPECT_EQ(std::count(ids.begin(), ids.end(), tid.load()), 1);
        gate->post();
        thread.reset(); // deleting joins
        EXPECT_EQ(Thread::getThreadCount(), before);
        const std::string id = std::to_string(tid);
        expected.insert(
            expected.end(),
            {"kapi_os.debug: PosixThread::addThreadToList() adding tid " + id + " to thread list",
             std::string("kapi_os.info: thread ") + name + " starting",
             "kapi_os.debug: PosixThread::removeThreadFromList() removing tid " + id +
                 " from thread list"});
    }
    std::vector<std::string> lines = capture.summary();
    lines.erase(std::remove_if(lines.begin(), lines.end(),
                               [](const std::string& line) {
                                   return line.find(" kb for threads stack size") !=
                                          std::string::npos;
                               }),
                lines.end()); // logged once per process, by whichever start comes first
    EXPECT_EQ(lines, expected);
}

TEST(Thread, DeletedByItselfEndsTheThreadAndUnwindsItsStack)
{
    struct Unwound
    {
        Kapi::Semaphore* done;
        ~Unwound() { done->post(); }
    };
    auto done = Kapi::Semaphore::New(0);
    std::atomic<bool> ranOn{false};
    Thread* self = nullptr;
    FunctionRunnable body([&] {
        Unwound unwound{done.get()};
        delete self; // does not return
        ranOn = true;
        return 1;
    });
    const unsigned before = Thread::getThreadCount();
    self = Thread::New("self-delete", Thread::PRIORITY_NORMAL, &body).release();
    self->start();
    done->wait(kInfinite);
    EXPECT_FALSE(ranOn);
    EXPECT_EQ(Thread::getThreadCount(), before); // and LeakSanitizer sees the object freed
}

TEST(ThreadProcess, StackSizeIsChosenOnceFromTheEnvironment)
{
    const std::vector<std::pair<std::string, unsigned>> table = {
        {"", 512},      {"8", 512},    {"15", 512},   {"16", 16},   {"100", 100},
        {"1024", 1024}, {"1025", 512}, {"2048", 512}, {"abc", 512}, {"-64", 512}};
    for (const auto& [value, kb] : table) {
        const std::string env = "KKTHREADSTACKSIZEINKB" + (value.empty() ? "" : "=" + value);
        const KeloTest::ProcessResult run =
            KeloTest::runProcess(KeloTest::binPath("thread_probe"), {"stack"}, "", {env, "VLOG*"});
        ASSERT_EQ(run.exitStatus, 0) << value << run.err;
        ASSERT_EQ(run.out.compare(0, 6, "stack "), 0) << run.out;
        const size_t size = std::stoul(run.out.substr(6));
        if (kSanitizerGrowsStacks)
            EXPECT_GE(size, kb * 1024) << value;
        else
            EXPECT_EQ(size, kb * 1024) << value;
        const std::string stack = "stack " + std::to_string(size) + " guard 4096 policy " +
                                  std::to_string(SCHED_OTHER) + "\n";
        const std::string started = "log kapi_os.info: thread probe starting\n";
        EXPECT_EQ(run.out, stack + stack + "log kapi_os.info: Using " + std::to_string(kb) +
                               " kb for threads stack size\n" + started + started)
            << value;
    }
}
