// Frame reassembly of the message connection over arbitrary received bytes. The first input
// byte picks how many bytes each read returns (1 to 256), the rest is the stream. Every
// delivered message must be exactly the next frame an independent parse of the stream finds,
// and nothing may be delivered past the last complete frame.
#include "kapi/comm/CommMessage.h"
#include "kapi/comm/IConnection.h"
#include "kapi/comm/MessageConnection.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

using namespace Kapi::Comm;

namespace {

struct StreamConnection : IConnection
{
    unsigned int read(void* buf, unsigned int len) override
    {
        const size_t n = std::min<size_t>({len, piece, stream.size() - pos});
        memcpy(buf, stream.data() + pos, n);
        pos += n;
        return static_cast<unsigned int>(n);
    }
    unsigned int write(const void*, unsigned int len, int) override { return len; }
    void close() override {}
    bool getUInt32Property(LinkProperty, unsigned int*) const override { return false; }

    std::string stream;
    size_t pos = 0;
    size_t piece = 1;
};

struct Collector : IMessageConnection::Listener
{
    void connected() override {}
    void receive(std::shared_ptr<CommMessage> message) override
    {
        payloads.emplace_back(reinterpret_cast<const char*>(message->getPayload()),
                              message->getSize());
    }
    void disconnected() override {}

    std::vector<std::string> payloads;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 1)
        return 0;
    auto lower = std::make_shared<StreamConnection>();
    lower->piece = static_cast<size_t>(data[0]) + 1;
    lower->stream.assign(reinterpret_cast<const char*>(data + 1), size - 1);

    std::vector<std::string> expected;
    for (size_t at = 0; at + 2 <= lower->stream.size();) {
        const size_t length = (static_cast<uint8_t>(lower->stream[at]) << 8) |
                              static_cast<uint8_t>(lower->stream[at + 1]);
        if (at + 2 + length > lower->stream.size())
            break;
        expected.push_back(lower->stream.substr(at + 2, length));
        at += 2 + length;
    }

    Collector collector;
    auto framing = MessageConnection::create(lower, &collector);
    auto* asListener =
        static_cast<IConnection::Listener*>(std::static_pointer_cast<MessageConnection>(framing).get());
    for (size_t round = 0; lower->pos < lower->stream.size() && round <= lower->stream.size();
         ++round)
        asListener->readReady();
    if (collector.payloads != expected)
        abort();
    framing->close();
    return 0;
}
