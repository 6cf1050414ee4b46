// The message connection's throughput and latency on loopback. Both ends run on one network
// thread: the client stack (TCP, optionally TLS, framing, thread-safe front) and an in-process
// echo peer built from the same layers in the server role (accepted TCP, TLS server, framing
// that sends every message back). The benchmark thread sends through the thread-safe front.
//   Echo/tls/payload: one iteration sends a batch and waits for all echoes; items are messages
//                     and bytes are payload bytes each way.
//   PostLatency/tls:  one 100-byte message posted from this thread and its echo awaited: the
//                     cross-thread hand-over plus a loopback round trip.
// The TLS peer uses the test PKI made by tools/make-test-pki.sh in a temporary folder.
#include "kapi/Semaphore.h"
#include "kapi/comm/MessageConnection.h"
#include "kapi/comm/MessageConnectionMtSafe.h"
#include "kapi/comm/SslConnection.h"
#include "kapi/comm/TcpConnection.h"
#include "kapi/net/BoundTCP.h"
#include "kapi/net/NetworkThread.h"
#include "kapi/net/SslParams.h"
#include "kapi/net/Subsystem.h"
#include "kapi/net/System.h"

#include <benchmark/benchmark.h>

#include <openssl/crypto.h>

#include <atomic>
#include <cstdlib>
#include <functional>
#include <list>
#include <memory>
#include <string>

using namespace Kapi::Comm;

namespace {

const std::string& pkiDir()
{
    static const std::string s_dir = [] {
        std::string source = __FILE__;
        source = source.substr(0, source.rfind("/bench/"));
        const std::string dir = "/tmp/bench_comm_pki";
        const std::string command =
            "/bin/sh '" + source + "/tools/make-test-pki.sh' '" + dir + "' >/dev/null 2>&1";
        return std::system(command.c_str()) == 0 ? dir : std::string();
    }();
    return s_dir;
}

// Runs a function on the loop thread and returns when it has run.
struct OnLoop : Kapi::Net::Subsystem
{
    explicit OnLoop(std::function<void()> work) : work(std::move(work)) {}
    bool start() override
    {
        work();
        return true;
    }
    void stop() override {}
    std::function<void()> work;
};

// One accepted connection of the echo peer.
struct EchoSession : IMessageConnection::Listener
{
    void connected() override {}
    void receive(std::shared_ptr<CommMessage> message) override
    {
        std::shared_ptr<CommMessage> reply = CommMessage::create(message->getSize());
        reply->copyBytes(message->getPayload(), message->getSize());
        framing->send(reply);
    }
    void disconnected() override {}
    std::shared_ptr<IMessageConnection> framing;
};

struct Bench : IMessageConnection::Listener
{
    bool setUp(bool tls)
    {
        if (!thread.start("bench-comm", Kapi::Thread::PRIORITY_NORMAL))
            return false;
        if (tls) {
            if (pkiDir().empty())
                return false;
            serverContext = Kapi::Net::SslParams::makeServerContext(
                pkiDir() + "/server-chain.pem", pkiDir() + "/server.key", "", 2, "");
            clientContext = Kapi::Net::SslParams::makeClientContext();
            Kapi::Net::SslParams params;
            // The server context sends only its own certificate, so the intermediate is trusted too.
            params.addTrustedCertsFromFile(pkiDir() + "/ca-bundle.pem");
            if (serverContext == nullptr || clientContext == nullptr ||
                !params.apply(clientContext))
                return false;
        }
        bool ok = false;
        run([&] {
            Kapi::Net::System* system = thread.getSystem();
            if (!listener.bindTo(system, 0, 0x7f000001))
                return;
            listener.setAcceptor(this, &Bench::accepted);
            auto tcp = std::make_shared<TcpConnection>(nullptr);
            tcp->enableTcpNoDelay();
            std::shared_ptr<IConnection> lower = tcp;
            if (tls)
                lower = std::make_shared<SslConnection>(clientContext, tcp, false, nullptr);
            front = MessageConnectionMtSafe::create(
                system, MessageConnection::create(lower, nullptr), this);
            ok = tcp->connect(system, 0x7f000001, listener.getLocalPort(), 0, 0);
        });
        if (!ok)
            return false;
        // Frames queued before connected() wait for the next write-ready, so send only after it.
        up->wait(Kapi::kInfinite);
        // One echo proves the whole path, TLS handshake included.
        expect(1);
        front->send(makeMessage(1));
        done->wait(Kapi::kInfinite);
        return true;
    }

    static void accepted(void* self, Kapi::Net::SocketTCP socket, int status)
    {
        Bench* bench = static_cast<Bench*>(self);
        if (status != 0)
            return;
        socket.enableTcpNoDelay();
        auto tcp = std::make_shared<TcpConnection>(std::move(socket), nullptr);
        std::shared_ptr<IConnection> lower = tcp;
        std::shared_ptr<SslConnection> tls;
        bench->sessions.emplace_back();
        EchoSession& session = bench->sessions.back();
        if (bench->serverContext != nullptr) {
            tls = std::make_shared<SslConnection>(bench->serverContext, tcp, true, nullptr);
            lower = tls;
        }
        session.framing = MessageConnection::create(lower, &session);
        if (tls)
            tls->connected(); // the accepted socket is connected already: start the handshake
    }

    void tearDown()
    {
        run([&] {
            if (front)
                front->close();
            front.reset();
            for (EchoSession& session : sessions) {
                session.framing->close();
                session.framing.reset();
            }
            if (listener.get() != nullptr)
                listener->close();
            listener.reset();
            OPENSSL_thread_stop();
        });
        thread.stop();
        if (serverContext != nullptr)
            SSL_CTX_free(serverContext);
        if (clientContext != nullptr)
            SSL_CTX_free(clientContext);
    }

    void run(std::function<void()> work)
    {
        OnLoop node(std::move(work));
        thread.installSubsystem(&node);
        thread.uninstallSubsystem(&node);
    }

    static std::shared_ptr<CommMessage> makeMessage(size_t size)
    {
        std::shared_ptr<CommMessage> message = CommMessage::create(size);
        message->seek(size);
        return message;
    }

    void expect(int count) { remaining.store(count); }
    void connected() override { up->post(); }
    void receive(std::shared_ptr<CommMessage>) override
    {
        if (remaining.fetch_sub(1) == 1)
            done->post();
    }
    void disconnected() override {}

    Kapi::NetThread::NetworkThread thread{0};
    Kapi::Net::BoundTCP listener;
    SSL_CTX* serverContext = nullptr;
    SSL_CTX* clientContext = nullptr;
    std::list<EchoSession> sessions;
    std::shared_ptr<MessageConnectionMtSafe> front;
    std::atomic<int> remaining{0};
    std::unique_ptr<Kapi::Semaphore> done = Kapi::Semaphore::New(0);
    std::unique_ptr<Kapi::Semaphore> up = Kapi::Semaphore::New(0);
};

void Echo(benchmark::State& state)
{
    const bool tls = state.range(0) != 0;
    const size_t payload = static_cast<size_t>(state.range(1));
    const int batch = payload < 1000 ? 256 : 16;
    Bench bench;
    if (!bench.setUp(tls)) {
        state.SkipWithError("the loopback stack could not be set up");
        bench.tearDown();
        return;
    }
    for (auto _ : state) {
        bench.expect(batch);
        for (int i = 0; i < batch; ++i)
            bench.front->send(Bench::makeMessage(payload));
        bench.done->wait(Kapi::kInfinite);
    }
    state.SetItemsProcessed(state.iterations() * batch);
    state.SetBytesProcessed(state.iterations() * batch * static_cast<int64_t>(payload));
    state.SetLabel(tls ? "tls" : "tcp");
    bench.tearDown();
}
BENCHMARK(Echo)->ArgsProduct({{0, 1}, {100, 60 * 1024}})->UseRealTime();

void PostLatency(benchmark::State& state)
{
    const bool tls = state.range(0) != 0;
    Bench bench;
    if (!bench.setUp(tls)) {
        state.SkipWithError("the loopback stack could not be set up");
        bench.tearDown();
        return;
    }
    for (auto _ : state) {
        bench.expect(1);
        bench.front->send(Bench::makeMessage(100));
        bench.done->wait(Kapi::kInfinite);
    }
    state.SetLabel(tls ? "tls" : "tcp");
    bench.tearDown();
}
BENCHMARK(PostLatency)->Arg(0)->Arg(1)->UseRealTime();

} // namespace
