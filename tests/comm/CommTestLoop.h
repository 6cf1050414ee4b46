#ifndef KELO_TESTS_COMM_COMMTESTLOOP_H
#define KELO_TESTS_COMM_COMMTESTLOOP_H
// Test helpers for the message connection: a real network thread on which test code runs
// synchronously (onLoop), a message listener that records what reaches it from the loop
// thread and lets the test thread wait for it, the frame peer fixture, and stack builders.
//
// Waits are hang guards only (they fail the test after a generous limit; nothing is timed).
#include "kapi/comm/CommMessage.h"
#include "kapi/comm/IMessageConnection.h"
#include "kapi/comm/MessageConnection.h"
#include "kapi/comm/SslConnection.h"
#include "kapi/comm/TcpConnection.h"
#include "kapi/net/NetworkThread.h"
#include "kapi/net/Subsystem.h"
#include "kapi/net/System.h"

#include "net/CurlTestServers.h"

#include <openssl/crypto.h>

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace CommTest {

constexpr unsigned kLoopback = 0x7f000001;
constexpr auto kHangGuard = std::chrono::seconds(30);

// A started network thread; onLoop() runs a function on it and returns when it has run.
class LoopThread
{
public:
    LoopThread() : m_thread(0)
    {
        m_started = m_thread.start("comm-test", Kapi::Thread::PRIORITY_NORMAL);
    }
    ~LoopThread()
    {
        // OpenSSL keeps per-thread random state for the thread that ran TLS; release it before
        // the thread ends (the thread body itself does not).
        if (m_started)
            onLoop([] { OPENSSL_thread_stop(); });
        m_thread.stop();
    }

    bool started() const { return m_started; }
    Kapi::Net::System* system() const { return m_thread.getSystem(); }

    void onLoop(std::function<void()> work)
    {
        Runner runner(std::move(work));
        m_thread.installSubsystem(&runner);
        m_thread.uninstallSubsystem(&runner);
    }

private:
    struct Runner : Kapi::Net::Subsystem
    {
        explicit Runner(std::function<void()> work) : work(std::move(work)) {}
        bool start() override
        {
            work();
            return true;
        }
        void stop() override {}
        std::function<void()> work;
    };

    Kapi::NetThread::NetworkThread m_thread;
    bool m_started = false;
};

// Records the calls of a message connection; any thread may wait for a condition on it.
class Recorder : public Kapi::Comm::IMessageConnection::Listener
{
public:
    struct State
    {
        int connected = 0;
        int disconnected = 0;
        std::vector<std::string> messages;
    };

    void connected() override
    {
        change([](State& s) { ++s.connected; });
    }
    void receive(std::shared_ptr<Kapi::Comm::CommMessage> message) override
    {
        std::string payload(reinterpret_cast<const char*>(message->getPayload()),
                            message->getSize());
        change([&](State& s) { s.messages.push_back(payload); });
    }
    void disconnected() override
    {
        change([](State& s) { ++s.disconnected; });
    }

    // False when the condition did not come true within the hang guard.
    bool waitFor(const std::function<bool(const State&)>& condition)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_changed.wait_for(lock, kHangGuard, [&] { return condition(m_state); });
    }
    bool waitForMessages(size_t count)
    {
        return waitFor([count](const State& s) { return s.messages.size() >= count; });
    }
    bool waitForConnect()
    {
        return waitFor([](const State& s) { return s.connected > 0; });
    }
    bool waitForDisconnect()
    {
        return waitFor([](const State& s) { return s.disconnected > 0; });
    }
    State state() const
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        return m_state;
    }
    std::vector<std::string> messages() const { return state().messages; }

    // Applies `update` under the lock and wakes the waiters.
    void change(const std::function<void(State&)>& update)
    {
        std::lock_guard<std::mutex> lock(m_mutex);
        update(m_state);
        m_changed.notify_all();
    }

private:
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    State m_state;
};

// A link property of the connection, or kNoProperty when it has none.
constexpr unsigned kNoProperty = 0xDEADBEEF;
template <class Connection>
unsigned property(const Connection& connection, Kapi::Comm::LinkProperty which)
{
    unsigned int value = kNoProperty;
    return connection->getUInt32Property(which, &value) ? value : kNoProperty;
}

inline std::shared_ptr<Kapi::Comm::CommMessage> makeMessage(const std::string& payload)
{
    std::shared_ptr<Kapi::Comm::CommMessage> message =
        Kapi::Comm::CommMessage::create(payload.size());
    if (message)
        message->copyBytes(payload.data(), payload.size());
    return message;
}

// Bytes 0..250 repeating, offset by `seed`, so that a shifted or dropped byte shows.
inline std::string pattern(size_t size, unsigned seed = 0)
{
    std::string data(size, '\0');
    for (size_t i = 0; i < size; ++i)
        data[i] = static_cast<char>((i + seed) % 251);
    return data;
}

// tests/fixtures/frame_peer.py with the given options.
inline bool startFramePeer(KeloTest::PortServer& peer, const std::vector<std::string>& options)
{
    std::vector<std::string> argv = {"/usr/bin/python3",
                                     KeloTest::fixturePath("tests/fixtures/frame_peer.py")};
    argv.insert(argv.end(), options.begin(), options.end());
    return peer.start(argv);
}

// TCP, then framing, connecting to 127.0.0.1:port. Call on the loop thread.
inline std::shared_ptr<Kapi::Comm::IMessageConnection>
connectPlain(Kapi::Net::System* system, int port, Kapi::Comm::IMessageConnection::Listener* l)
{
    auto tcp = std::make_shared<Kapi::Comm::TcpConnection>(nullptr);
    tcp->enableTcpNoDelay();
    auto framing = Kapi::Comm::MessageConnection::create(tcp, l);
    if (!tcp->connect(system, kLoopback, static_cast<unsigned short>(port), 0, 0))
        return nullptr;
    return framing;
}

} // namespace CommTest

#endif
