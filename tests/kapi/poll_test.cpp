// The epoll wrapper: edge- and level-triggered delivery with user data, changing and removing
// registrations and their error reports, the wake-up pipe, the record array doubling on a full
// batch, and the assertion when no epoll descriptor can be created.
#include "kapi/Log.h"
#include "kapi/Poll.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <climits>
#include <sys/eventfd.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

using Kapi::Poll;
using Pairs = std::vector<std::pair<uint32, uintptr_t>>;
using Lines = std::vector<std::string>;

namespace {

// One wait's result and its events as (bits, user data) pairs.
std::pair<int, Pairs> waitOnce(Poll& poll, unsigned timeoutMs, bool* cancelled = nullptr)
{
    std::vector<Poll::Event> events;
    const int result = poll.waitForEvents(events, timeoutMs, cancelled);
    Pairs pairs;
    for (const Poll::Event& event : events)
        pairs.emplace_back(event.events, event.userData);
    return {result, pairs};
}

} // namespace

TEST(Poll, EdgeTriggeredReportsOnceLevelTriggeredUntilRead)
{
    for (int type : {0, 1, 7}) {
        Poll poll(static_cast<Poll::PollType>(type));
        int fds[2];
        ASSERT_EQ(pipe(fds), 0);
        ASSERT_TRUE(poll.addPollEvent(fds[0], {EPOLLIN, 42}));
        EXPECT_EQ(waitOnce(poll, 0), (std::pair<int, Pairs>{0, {}}));
        ASSERT_EQ(write(fds[1], "x", 1), 1);
        EXPECT_EQ(waitOnce(poll, 1000).second, (Pairs{{EPOLLIN, 42}}));
        EXPECT_EQ(waitOnce(poll, 0).second.size(), type == 0 ? 0u : 1u) << type;
        close(fds[0]);
        close(fds[1]);
    }
}

TEST(Poll, ChangeAndRemoveRegistrationsAndTheirErrors)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
    Poll poll(Poll::POLL_LEVEL_TRIGGERED);
    const int fd = eventfd(0, 0); // writable, never readable
    ASSERT_TRUE(poll.addPollEvent(fd, {EPOLLIN, 1}));
    EXPECT_EQ(waitOnce(poll, 0).second, Pairs{});
    ASSERT_TRUE(poll.changePollEvent(fd, {EPOLLOUT, UINTPTR_MAX - 1}));
    EXPECT_EQ(waitOnce(poll, 1000).second, (Pairs{{EPOLLOUT, UINTPTR_MAX - 1}}));
    EXPECT_EQ(capture.summary(), Lines{});

    EXPECT_FALSE(poll.addPollEvent(fd, {EPOLLOUT, 2}));
    EXPECT_TRUE(poll.removeFd(fd));
    EXPECT_EQ(waitOnce(poll, 0).second, Pairs{});
    EXPECT_FALSE(poll.changePollEvent(fd, {EPOLLOUT, 3})); // unknown: silent
    EXPECT_FALSE(poll.removeFd(fd));
    EXPECT_FALSE(poll.addPollEvent(-1, {EPOLLIN, 4}));
    EXPECT_EQ(capture.summary(),
              (Lines{"kapi_net.error: Poll::addOrChangePollEvent(): File exists",
                     "kapi_net.info: Poll::removeFd(" + std::to_string(fd) +
                         "): No such file or directory",
                     "kapi_net.error: Poll::addOrChangePollEvent(): Bad file descriptor"}));
    close(fd);
}

TEST(Poll, CancelWakesTheWaiterWithoutEvents)
{
    for (Poll::PollType type : {Poll::POLL_EDGE_TRIGGERED, Poll::POLL_LEVEL_TRIGGERED}) {
        Poll poll(type);
        poll.cancelWaitForEvents();
        poll.cancelWaitForEvents();
        bool cancelled = false;
        EXPECT_EQ(waitOnce(poll, 1000, &cancelled), (std::pair<int, Pairs>{0, {}}));
        EXPECT_TRUE(cancelled);
        cancelled = false;
        EXPECT_EQ(waitOnce(poll, 0, &cancelled).first, 0); // both bytes were drained
        EXPECT_FALSE(cancelled);

        std::thread canceller([&] { poll.cancelWaitForEvents(); });
        EXPECT_EQ(waitOnce(poll, UINT_MAX, &cancelled).first, 0); // no time limit
        canceller.join();
        EXPECT_TRUE(cancelled);
        poll.cancelWaitForEvents();
        EXPECT_EQ(waitOnce(poll, 1000).first, 0); // the flag is optional
    }
}

TEST(Poll, AFullBatchDoublesTheRecordArray)
{
    LogCapture capture(VLOGSRC_KAPI_NET, VLOG_DEBUG);
    Poll poll(Poll::POLL_LEVEL_TRIGGERED);
    std::vector<int> fds;
    for (const auto& [ready, capacityBefore, returned] :
         std::vector<std::tuple<size_t, unsigned, size_t>>{
             {150, 100, 100}, {150, 200, 150}, {200, 200, 200}, {200, 400, 200}}) {
        while (fds.size() < ready) {
            fds.push_back(eventfd(0, 0));
            ASSERT_TRUE(poll.addPollEvent(fds.back(), {EPOLLOUT, fds.size()}));
        }
        EXPECT_EQ(poll.capacity(), capacityBefore);
        const auto [result, events] = waitOnce(poll, 1000);
        EXPECT_EQ(result, static_cast<int>(returned));
        EXPECT_EQ(events.size(), returned);
    }
    EXPECT_EQ(capture.summary(),
              (Lines{"kapi_net.info: Poll::waitForEvents: got 100 events, doubling the array",
                     "kapi_net.info: Poll::waitForEvents: got 200 events, doubling the array"}));
    for (int fd : fds)
        close(fd);
}

TEST(PollDeathTest, NoEpollDescriptorEndsTheProcess)
{
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(
        {
            Kapi::Log::Get()->setLogToConsole(true);
            // The sanitizers' checks need descriptors too: let them run before the limit.
            Kapi::Log::Get()->log("kapi_os", Kapi::Log::PRIO_ERROR, "descriptors gone\n");
            rlimit none{};
            getrlimit(RLIMIT_NOFILE, &none);
            none.rlim_cur = 0;
            setrlimit(RLIMIT_NOFILE, &none);
            Poll poll(Poll::POLL_EDGE_TRIGGERED);
        },
        "KapiPoll:101 Assertion failure: m_fd >= 0");
}
