// The write queue of routing nodes and the inner router: FIFO turns, each node queued at most
// once, unlinking from anywhere, request climbing, header-based routing and reply headers.
#include "RoutingTestNodes.h"

#include "kapi/StreamBufferReader.h"
#include "kapi/StreamStringWriter.h"
#include "kapi/comm/MessageNodeParent.h"

#include <gtest/gtest.h>

using namespace RoutingTest;
using Kapi::Stream::MessageNode;
using Kapi::Stream::StringWriter;
using Lines = std::vector<std::string>;

namespace {

// A plain parent whose routing header is "<name>" of the leaf.
struct NamedParent : Kapi::Stream::MessageNodeParent
{
    void prepOutgoingMessage(MessageNode* child, Kapi::Stream::Writer* out) override
    {
        const std::string header = "<" + static_cast<LeafNode*>(child)->name + ">";
        out->copyBytes(header.data(), header.size());
    }
};

// Header bytes followed by a payload.
std::string bytes(std::initializer_list<int> header, const std::string& payload)
{
    std::string out;
    for (int byte : header)
        out += static_cast<char>(byte);
    return out + payload;
}

// One write turn of `parent`: what it wrote, or "-" when it wrote no message.
std::string turn(Kapi::Stream::MessageNodeParent& parent)
{
    StringWriter out;
    return parent.writeMessage(&out) ? out.str() : "-";
}

// Turns until one writes nothing (at most 100).
Lines drain(Kapi::Stream::MessageNodeParent& parent)
{
    Lines frames;
    for (std::string frame = turn(parent); frame != "-" && frames.size() < 100;
         frame = turn(parent))
        frames.push_back(frame);
    return frames;
}

struct WriteQueue : ::testing::Test
{
    std::vector<std::string> trace;
    NamedParent parent;
    LeafNode a{trace, "a"}, b{trace, "b"}, c{trace, "c"}, d{trace, "d"};

    void SetUp() override
    {
        for (LeafNode* node : {&a, &b, &c, &d})
            node->setParent(&parent);
    }
    Lines popNames()
    {
        Lines names;
        while (MessageNode* node = parent.popFirst())
            names.push_back(static_cast<LeafNode*>(node)->name);
        return names;
    }
};

TEST_F(WriteQueue, ANodeAskingTwiceIsQueuedOnceAndWritesOnce)
{
    a.pending = {"one"};
    a.requestWrite();
    a.requestWrite();
    EXPECT_TRUE(parent.isInQueue(&a));
    EXPECT_TRUE(parent.audit());
    EXPECT_EQ(turn(parent), "<a>one");
    EXPECT_EQ(turn(parent), "-");
    EXPECT_EQ(a.turns, 1);
}

TEST_F(WriteQueue, TurnsFollowRequestOrderAndANodeWithMoreGoesToTheBack)
{
    c.requestWrite();
    a.requestWrite();
    b.requestWrite();
    a.requestWrite(); // already queued: keeps its place
    EXPECT_EQ(popNames(), (Lines{"c", "a", "b"}));
    EXPECT_TRUE(parent.isQueueEmpty());
    EXPECT_TRUE(parent.audit());

    a.pending = {"a1", "a2", "a3"};
    b.pending = {"b1"};
    a.requestWrite();
    b.requestWrite();
    EXPECT_EQ(drain(parent), (Lines{"<a>a1", "<b>b1", "<a>a2", "<a>a3"}));
}

TEST_F(WriteQueue, CancelUnlinksHeadMiddleAndTailAndKeepsTheTailRight)
{
    for (LeafNode* node : {&a, &b, &c})
        node->requestWrite();
    b.cancelRequestWrite(); // middle
    EXPECT_FALSE(parent.isInQueue(&b));
    EXPECT_TRUE(parent.audit());
    c.cancelRequestWrite(); // tail: a is the tail now
    EXPECT_TRUE(parent.isInQueue(&a));
    EXPECT_TRUE(parent.audit());
    d.requestWrite(); // appended after the new tail, not after the cancelled one
    b.requestWrite();
    a.cancelRequestWrite(); // head
    d.cancelRequestWrite();
    d.cancelRequestWrite(); // not queued: nothing happens
    EXPECT_TRUE(parent.audit());
    EXPECT_EQ(popNames(), Lines{"b"});
}

TEST_F(WriteQueue, ADestroyedNodeLeavesTheQueue)
{
    a.requestWrite();
    {
        LeafNode gone(trace, "gone");
        gone.setParent(&parent);
        gone.requestWrite();
        c.requestWrite();
    }
    EXPECT_TRUE(parent.audit());
    EXPECT_EQ(popNames(), (Lines{"a", "c"}));
}

// root (index header) -> inner (index header) -> a (0), b (1); root also has leaf r (1).
struct RouterTree : ::testing::Test
{
    std::vector<std::string> trace;
    IndexRouter root, inner;
    LeafNode a{trace, "a"}, b{trace, "b"}, r{trace, "r"};

    void SetUp() override
    {
        root.addChild(&inner);
        root.addChild(&r);
        inner.addChild(&a);
        inner.addChild(&b);
    }
    // Offers `message` to the root; the reply, or "-" when none is ready.
    std::string process(const std::string& message, bool expectedResult = true)
    {
        Kapi::Stream::BufferReader in(message.data(), message.size());
        StringWriter reply;
        bool replyReady = false;
        EXPECT_EQ(root.processMessage(&in, &reply, &replyReady), expectedResult);
        return replyReady ? reply.str() : "-";
    }
};

TEST_F(RouterTree, ARequestClimbsToTheRootAndChildrenTakeTurnsAcrossLevels)
{
    b.sendLater("hi");
    EXPECT_TRUE(inner.isInQueue(&b));
    EXPECT_TRUE(root.isInQueue(&inner));
    EXPECT_EQ(drain(root), Lines{bytes({0, 1}, "hi")});
    EXPECT_TRUE(root.isQueueEmpty());
    EXPECT_TRUE(inner.isQueueEmpty());

    a.sendLater("a1");
    b.sendLater("b1");
    r.sendLater("r1");
    a.sendLater("a2");
    b.sendLater("b2");
    // root queue: inner, r. inner queue: a, b. Each turn writes one message; a node with more
    // goes to the back of its own parent's queue and the inner router asks again.
    EXPECT_EQ(drain(root), (Lines{bytes({0, 0}, "a1"), bytes({1}, "r1"), bytes({0, 1}, "b1"),
                                  bytes({0, 0}, "a2"), bytes({0, 1}, "b2")}));
    EXPECT_TRUE(root.audit());
    EXPECT_TRUE(inner.audit());
}

TEST_F(RouterTree, EmptyAndCancelledTurnsWriteNoMessage)
{
    b.requestWrite(); // nothing pending
    EXPECT_EQ(turn(root), "-");
    EXPECT_EQ(b.turns, 1);
    EXPECT_TRUE(root.isQueueEmpty());

    a.sendLater("x");
    a.cancelRequestWrite(); // leaves an empty turn above it
    EXPECT_EQ(turn(root), "-");
    EXPECT_EQ(a.turns, 0);
}

TEST_F(RouterTree, AMessageGoesToTheChildItsHeaderSelectsWhoseAnswerIsTheRouters)
{
    b.replyText = "answer";
    // The reply carries the header that routes back to b on the far side.
    EXPECT_EQ(process(bytes({0, 1}, "payload")), bytes({0, 1}, "answer"));
    EXPECT_EQ(b.received, Lines{"payload"});
    EXPECT_TRUE(a.received.empty());

    a.processResult = false;
    EXPECT_EQ(process(bytes({0, 0}, "x"), false), "-");
    EXPECT_EQ(a.received, Lines{"x"});
}

TEST_F(RouterTree, AMessageForNoChildIsConsumedWithoutReply)
{
    for (const std::string& message : {bytes({0, 7}, "zz"), bytes({5}, ""), std::string()})
        EXPECT_EQ(process(message), "-");
    EXPECT_TRUE(trace.empty());
}

} // namespace
