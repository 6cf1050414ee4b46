// The root routing node on arbitrary received messages: the service header (varu32 category,
// u32 client id) and a one-byte child index select an echoing engine, which replies with what it
// got and queues the same bytes to send. Checks: nothing is read past the input (ASan); a message
// reaches an engine only when its client id matches; everything sent fits the 1400-byte buffer
// and starts with the router's own header (category 1, client id 0x01020304 little-endian).
#include "kapi/StreamReader.h"
#include "kapi/StreamWriter.h"
#include "kapi/comm/CommMessage.h"
#include "kapi/comm/ConnectionMessageNodeRouter.h"
#include "kapi/comm/IMessageConnection.h"
#include "kapi/comm/MessageNodeRouter.h"
#include "kapi/net/System.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace {

constexpr unsigned kClientId = 0x01020304;
const uint8_t kHeader[] = {0x01, 0x04, 0x03, 0x02, 0x01};

struct Echo : Kapi::Stream::MessageNode
{
    bool processMessage(Kapi::Stream::Reader* in, Kapi::Stream::Writer* reply,
                        bool* replyReady) override
    {
        ++hits;
        std::string bytes(in->remaining(), '\0');
        in->copyBytes(bytes.data(), bytes.size());
        reply->copyBytes(bytes.data(), bytes.size());
        *replyReady = !bytes.empty() && (bytes[0] & 1) != 0;
        pending = bytes;
        requestWrite();
        return true;
    }
    bool writeMessage(Kapi::Stream::Writer* out) override
    {
        out->copyBytes(pending.data(), pending.size());
        return !pending.empty();
    }
    std::string pending;
    int hits = 0;
};

struct Inner : Kapi::Stream::MessageNodeRouter
{
    Echo children[2];
    Inner()
    {
        for (Echo& child : children)
            child.setParent(this);
    }
    Kapi::Stream::MessageNode* selectNode(Kapi::Stream::Reader* in, Kapi::Stream::Writer*) override
    {
        const uint8_t index = in->getU8();
        return in->ok() && index < 2 ? &children[index] : nullptr;
    }
    void prepOutgoingMessage(Kapi::Stream::MessageNode* child, Kapi::Stream::Writer* out) override
    {
        out->addU8(child == &children[0] ? 0 : 1);
    }
};

struct Recorder : Kapi::Comm::IMessageConnection
{
    void send(std::shared_ptr<Kapi::Comm::CommMessage> message) override
    {
        const size_t size = message->getSize();
        if (!message->ok() || size > 1400 || size < sizeof kHeader ||
            memcmp(message->getPayload(), kHeader, sizeof kHeader) != 0)
            abort();
    }
    void close() override {}
    bool getUInt32Property(Kapi::Comm::LinkProperty, unsigned int*) const override { return false; }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size > Kapi::Comm::CommMessage::kMaxPayload)
        return 0;
    Kapi::Net::System system;
    Kapi::Comm::ConnectionMessageNodeRouter root(kClientId);
    Inner inner;
    root.setMessageNode(&inner);
    root.setConnection(&system, std::make_shared<Recorder>());

    std::shared_ptr<Kapi::Comm::CommMessage> message = Kapi::Comm::CommMessage::create(size);
    message->copyBytes(data, size);
    root.receive(message);
    system.doTimeouts();

    // A hit means the client id matched: find the u32 after the varu32 category.
    const int hits = inner.children[0].hits + inner.children[1].hits;
    if (hits > 1)
        abort();
    if (hits == 1) {
        size_t at = 0;
        if (size == 0)
            abort();
        const uint8_t first = data[0];
        at = first < 0x80 ? 1 : first < 0xC0 ? 2 : first < 0xE0 ? 3 : first < 0xF0 ? 4 : 5;
        uint32_t id = 0;
        if (size < at + 4)
            abort();
        memcpy(&id, data + at, 4); // little-endian host, as the device
        if (id != kClientId)
            abort();
    }
    root.setConnection(nullptr, nullptr);
    return 0;
}
