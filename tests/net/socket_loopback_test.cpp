// Sockets on a running loop over loopback: connect, accept with the peer's address, readers
// that drain to EAGAIN, a short write that arms the write callback exactly once, peer closure
// and its single notification, datagrams, and a shut-down that closes what is left. The loop
// runs on the test thread with threading off; a thirty-second timeout guards against a hang
// (it fails the test, it does not measure anything).
#include "kapi/net/BoundTCP.h"
#include "kapi/net/SocketTCP.h"
#include "kapi/net/SocketUDP.h"
#include "kapi/net/Subsystem.h"
#include "kapi/net/System.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fcntl.h>
#include <functional>
#include <netinet/in.h>
#include <sys/socket.h>

using namespace Kapi::Net;
using Trace = std::vector<std::string>;

namespace {

constexpr unsigned kLoopback = 0x7f000001;

// Runs `setup` as the start of a subsystem, i.e. on the loop thread once the poll exists.
struct LoopbackFixture : ::testing::Test, Subsystem
{
    bool start() override
    {
        guard.submitThirtySecond(system);
        setup();
        return true;
    }
    void stop() override {}

    void runLoop()
    {
        net.installSubsystem(this);
        net.run();
    }
    // Ends the scenario: cancels the guard and closes whatever is left.
    void finish() { net.shutDown(nullptr); }
    // Traces an event; the expected last one cancels the guard, so that the loop can end by
    // itself once every socket is released.
    void record(const std::string& event)
    {
        trace.push_back(event);
        if (trace.size() == expectedEvents)
            guard.cancel();
    }

    static void hung(void* self)
    {
        ADD_FAILURE() << "the scenario did not finish";
        static_cast<LoopbackFixture*>(self)->finish();
    }

    static std::string pattern(size_t size)
    {
        std::string data(size, '\0');
        for (size_t i = 0; i < size; ++i)
            data[i] = static_cast<char>('a' + (i * 7) % 26);
        return data;
    }

    System net;
    Timeout guard{this, &LoopbackFixture::hung};
    std::function<void()> setup;
    Trace trace;
    size_t expectedEvents = 0;
};

struct TcpPair : LoopbackFixture
{
    static void onAccept(void* self, SocketTCP socket, int status)
    {
        TcpPair* t = static_cast<TcpPair*>(self);
        t->record("accept " + std::to_string(status));
        if (status != 0)
            return;
        t->accepted = socket;
        t->accepted->setReader(t, &TcpPair::on<kServerRead>);
        if (t->onAccepted)
            t->onAccepted();
    }
    enum Event
    {
        kServerRead,
        kClientWrite,
        kClientRead
    };
    // A failure is traced ("client reader -1") and drops the reader's handle; otherwise the
    // scenario's step for the event runs.
    template <Event event> static void on(void* self, int status)
    {
        static const char* const kNames[] = {"server reader", "client writeOK", "client reader"};
        TcpPair* t = static_cast<TcpPair*>(self);
        if (status != 0) {
            t->record(kNames[event] + (" " + std::to_string(status)));
            if (event != kClientWrite)
                (event == kServerRead ? t->accepted : t->client).reset();
            return;
        }
        t->serverReads += event == kServerRead;
        const std::function<void()>& step = event == kServerRead    ? t->onServerReadable
                                            : event == kClientWrite ? t->onClientWritable
                                                                    : t->onClientReadable;
        if (step)
            step();
    }

    // Listens on loopback and connects the client to it.
    void connectPair(unsigned short mss = 0)
    {
        ASSERT_TRUE(server.bindTo(system, 0, kLoopback));
        server.setAcceptor(this, &TcpPair::onAccept);
        ASSERT_TRUE(client.connectTo(system, kLoopback, server.getLocalPort(), 0, mss));
        client->setWriteOK(this, &TcpPair::on<kClientWrite>);
        client->setReader(this, &TcpPair::on<kClientRead>);
    }

    // Reads everything the kernel has in `chunk`-byte pieces.
    void drainServer(size_t chunk)
    {
        std::string buffer(chunk, '\0');
        for (;;) {
            const int got = accepted.sRead(buffer.data(), static_cast<unsigned>(chunk));
            received.append(buffer, 0, static_cast<size_t>(got));
            if (got < static_cast<int>(chunk))
                return;
        }
    }

    BoundTCP server;
    SocketTCP client;
    SocketTCP accepted;
    std::string received;
    int serverReads = 0;
    std::function<void()> onAccepted, onServerReadable, onClientWritable, onClientReadable;
};

} // namespace

TEST_F(TcpPair, ShortWritesResumeOnceReadersDrainToEagainAndAClosureIsReportedOnce)
{
    const std::string data = pattern(4 << 20);
    size_t sent = 0;
    int shortWrites = 0;
    int writable = 0;
    setup = [&] {
        connectPair();
        const int small = 16384;
        setsockopt(client->getFd(), SOL_SOCKET, SO_SNDBUF, &small, sizeof(small));
    };
    // The first writable edge is the connection's completion; each later one resumes a short
    // write. Output interest is dropped before the call.
    onClientWritable = [&] {
        ++writable;
        EXPECT_EQ(client->getPollMask(), Socket::kPollIn);
        EXPECT_FALSE(client->isWriteWaiting());
        const unsigned left = static_cast<unsigned>(data.size() - sent);
        const int wrote = client.sWrite(data.data() + sent, left, 0);
        sent += static_cast<size_t>(wrote);
        const bool cutShort = static_cast<unsigned>(wrote) < left;
        shortWrites += cutShort;
        EXPECT_EQ(client->isWriteWaiting(), cutShort);
        EXPECT_EQ(client->getPollMask(),
                  cutShort ? Socket::kPollIn | Socket::kPollOut : Socket::kPollIn);
    };
    onAccepted = [&] {
        EXPECT_EQ(accepted.getRemoteIP(), kLoopback);
        EXPECT_EQ(accepted.getRemotePort(), client.getLocalPort());
        EXPECT_EQ(accepted.getLocalPort(), server.getLocalPort());
        EXPECT_NE(fcntl(accepted->getFd(), F_GETFL) & O_NONBLOCK, 0);
    };
    onServerReadable = [&] {
        drainServer(4099); // does not divide the size: the last read comes up short
        EXPECT_TRUE(accepted->isReadArmed());
        if (received.size() < data.size())
            return;
        EXPECT_EQ(net.getSocketCount(), 3u);
        accepted.close(); // the client sees the end of the stream
        server.reset();   // nobody else holds the listener: it is released at once
    };
    onClientReadable = [&] {
        char byte;
        EXPECT_EQ(client.sRead(&byte, 1), 0); // end of stream: closure is queued
        EXPECT_TRUE(client->isPeerClosed());
        EXPECT_EQ(client.sRead(&byte, 1), 0); // reported once only
    };
    expectedEvents = 5;
    runLoop();
    EXPECT_TRUE(received == data);
    EXPECT_GE(shortWrites, 1);
    EXPECT_EQ(writable, 1 + shortWrites); // each short write led to exactly one resumption
    EXPECT_GE(serverReads, 1);
    // Closing notifies the callbacks that were set; the client's closure waits for the end of
    // the iteration and reaches both of its callbacks. With every socket released the loop
    // ended by itself (nobody called shutDown).
    EXPECT_EQ(trace, (Trace{"accept 0", "server reader -1", "accept -1", "client reader -1",
                            "client writeOK -1"}));
    EXPECT_EQ(net.getSocketCount(), 0u);
}

TEST_F(TcpPair, ShutDownClosesEverySocketWithNotificationsAndForgetsTheSystem)
{
    SocketTCP kept;
    setup = [&] { connectPair(); };
    onAccepted = [&] {
        kept = client;
        finish();
    };
    runLoop();
    EXPECT_EQ(net.getSocketCount(), 0u);
    // Every callback that was set heard -1 once: the client's two, the accepted socket's
    // reader and the listener's acceptor. The handlers dropped their handles.
    std::sort(trace.begin(), trace.end());
    EXPECT_EQ(trace, (Trace{"accept -1", "accept 0", "client reader -1", "client writeOK -1",
                            "server reader -1"}));
    EXPECT_FALSE(client.valid());
    EXPECT_FALSE(accepted.valid());
    ASSERT_NE(kept.get(), nullptr);
    EXPECT_EQ(kept->getRefCount(), 1);
    EXPECT_FALSE(kept.valid());
    EXPECT_EQ(kept->getSystem(), nullptr);
    // Calls on a socket of a shut-down System do nothing harmful.
    kept->setReader(this, &TcpPair::on<kClientRead>);
    EXPECT_EQ(kept->getPollMask(), 0u);
    char byte;
    EXPECT_EQ(kept.sRead(&byte, 1), 0);
    kept->changeReader(nullptr, nullptr);
}

namespace {

struct UdpPair : LoopbackFixture
{
    static void onRead(void* self, int status)
    {
        UdpPair* t = static_cast<UdpPair*>(self);
        t->record("read " + std::to_string(status));
        if (status != 0)
            return;
        char buffer[64];
        unsigned ip = 0;
        unsigned short port = 0;
        int got;
        while ((got = t->b.sRecvFrom(buffer, sizeof(buffer), &ip, &port)) > 0) {
            t->record(std::string(buffer, static_cast<size_t>(got)));
            EXPECT_EQ(ip, kLoopback);
            EXPECT_EQ(port, t->a.getLocalPort());
        }
        EXPECT_TRUE(t->b->isReadArmed());
        if (t->trace.size() == 3)
            t->finish();
    }
    SocketUDP a;
    SocketUDP b;
};

} // namespace

TEST_F(UdpPair, DatagramsCarryTheSendersAddress)
{
    setup = [&] {
        ASSERT_TRUE(a.bindTo(system, kLoopback, 0));
        ASSERT_TRUE(b.bindTo(system, kLoopback, 0));
        EXPECT_NE(a.getLocalPort(), 0);
        EXPECT_EQ(b.getLocalIP(), kLoopback);
        b->setReader(this, &UdpPair::onRead);
        EXPECT_EQ(a.sSendTo(kLoopback, b.getLocalPort(), "one", 3), 3);
        EXPECT_TRUE(a->isWriteWaiting()); // armed before every send
        EXPECT_EQ(a.sSendTo(kLoopback, b.getLocalPort(), "two", 3), 3);
    };
    runLoop();
    EXPECT_EQ(trace, (Trace{"read 0", "one", "two", "read -1"}));
}
