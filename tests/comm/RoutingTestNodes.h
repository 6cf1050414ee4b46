#ifndef KELO_TESTS_COMM_ROUTINGTESTNODES_H
#define KELO_TESTS_COMM_ROUTINGTESTNODES_H
// Test engines for the routing tree: a leaf that sends queued payloads and records what reaches
// it, a router whose header is one u8 child index, and a message connection that records what is
// sent through it. Every leaf event is appended to a shared trace ("a.connected", "a.wrote x").
#include "kapi/comm/CommMessage.h"
#include "kapi/comm/IMessageConnection.h"
#include "kapi/comm/MessageNode.h"
#include "kapi/comm/MessageNodeRouter.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace RoutingTest {

struct LeafNode : Kapi::Stream::MessageNode
{
    LeafNode(std::vector<std::string>& trace, std::string name)
        : trace(trace), name(std::move(name))
    {
    }

    void connected() override { trace.push_back(name + ".connected"); }
    void disconnected() override { trace.push_back(name + ".disconnected"); }

    bool processMessage(Kapi::Stream::Reader* in, Kapi::Stream::Writer* reply,
                        bool* replyReady) override
    {
        std::string bytes(in->remaining(), '\0');
        in->copyBytes(bytes.data(), bytes.size());
        received.push_back(bytes);
        trace.push_back(name + ".received " + bytes);
        if (!replyText.empty()) {
            reply->copyBytes(replyText.data(), replyText.size());
            *replyReady = true;
        }
        return processResult;
    }

    // Writes the next pending payload and asks for another turn while more are pending; with
    // nothing pending it writes nothing.
    bool writeMessage(Kapi::Stream::Writer* out) override
    {
        ++turns;
        if (pending.empty()) {
            trace.push_back(name + ".empty turn");
            return false;
        }
        const std::string payload = pending.front();
        pending.pop_front();
        out->copyBytes(payload.data(), payload.size());
        trace.push_back(name + ".wrote " + payload);
        if (!pending.empty())
            requestWrite();
        return true;
    }

    void sendLater(const std::string& payload)
    {
        pending.push_back(payload);
        requestWrite();
    }

    std::vector<std::string>& trace;
    std::string name;
    std::deque<std::string> pending;
    std::vector<std::string> received;
    std::string replyText;
    bool processResult = true;
    int turns = 0;
};

// Header: one u8, the index of the child.
struct IndexRouter : Kapi::Stream::MessageNodeRouter
{
    void addChild(Kapi::Stream::MessageNode* child)
    {
        child->setParent(this);
        children.push_back(child);
    }

    Kapi::Stream::MessageNode* selectNode(Kapi::Stream::Reader* in, Kapi::Stream::Writer*) override
    {
        const uint8 index = in->getU8();
        return in->ok() && index < children.size() ? children[index] : nullptr;
    }
    void prepOutgoingMessage(Kapi::Stream::MessageNode* child, Kapi::Stream::Writer* out) override
    {
        for (size_t i = 0; i < children.size(); ++i)
            if (children[i] == child)
                out->addU8(static_cast<uint8>(i));
    }
    void connected() override
    {
        for (Kapi::Stream::MessageNode* child : children)
            child->connected();
    }
    void disconnected() override
    {
        for (Kapi::Stream::MessageNode* child : children)
            child->disconnected();
    }

    std::vector<Kapi::Stream::MessageNode*> children;
};

struct FakeConnection : Kapi::Comm::IMessageConnection
{
    void send(std::shared_ptr<Kapi::Comm::CommMessage> message) override
    {
        sent.emplace_back(reinterpret_cast<const char*>(message->getPayload()), message->getSize());
    }
    void close() override {}
    bool getUInt32Property(Kapi::Comm::LinkProperty, unsigned int*) const override { return false; }

    std::vector<std::string> sent; // payloads, in send order
};

// A received message holding exactly `payload`.
inline std::shared_ptr<Kapi::Comm::CommMessage> messageOf(const std::string& payload)
{
    std::shared_ptr<Kapi::Comm::CommMessage> message =
        Kapi::Comm::CommMessage::create(payload.size());
    message->copyBytes(payload.data(), payload.size());
    return message;
}

} // namespace RoutingTest

#endif
