// Child process for the send-flag test: observed from outside under strace. Connects a framed
// TCP stack to the echo peer on 127.0.0.1:PORT with two messages queued before the connection
// exists and a third sent from connected(), so that all three go out in one write loop. Once
// the three echoes are back it closes and prints "done". The loop runs on the main thread.
//   comm_more_probe PORT
#include "kapi/comm/MessageConnection.h"
#include "kapi/comm/TcpConnection.h"
#include "kapi/net/Subsystem.h"
#include "kapi/net/System.h"

#include <cstdio>
#include <cstdlib>
#include <string>

using namespace Kapi::Comm;

namespace {

std::shared_ptr<CommMessage> message(const std::string& payload)
{
    std::shared_ptr<CommMessage> m = CommMessage::create(payload.size());
    m->copyBytes(payload.data(), payload.size());
    return m;
}

struct Probe : Kapi::Net::Subsystem, IMessageConnection::Listener
{
    bool start() override
    {
        auto tcp = std::make_shared<TcpConnection>(nullptr);
        framing = MessageConnection::create(tcp, this);
        framing->send(message("first"));
        framing->send(message("second"));
        return tcp->connect(system, 0x7f000001, port, 0, 0);
    }
    void stop() override {}
    void connected() override { framing->send(message("third")); }
    void receive(std::shared_ptr<CommMessage>) override
    {
        if (++echoes == 3)
            framing->close();
    }
    void disconnected() override
    {
        done = echoes == 3;
        system->shutDown(nullptr);
    }

    unsigned short port = 0;
    int echoes = 0;
    bool done = false;
    std::shared_ptr<IMessageConnection> framing;
};

} // namespace

int main(int argc, char** argv)
{
    Kapi::Net::System system;
    Probe probe;
    probe.port = static_cast<unsigned short>(argc == 2 ? std::atoi(argv[1]) : 0);
    system.installSubsystem(&probe);
    system.run();
    probe.framing.reset();
    if (probe.done)
        std::printf("done\n");
    return probe.done ? 0 : 1;
}
