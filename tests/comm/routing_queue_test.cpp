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

std::vector<std::string> popNames(Kapi::Stream::MessageNodeParent& parent)
{
    std::vector<std::string> names;
    while (MessageNode* node = parent.popFirst())
        names.push_back(static_cast<LeafNode*>(node)->name);
    return names;
}

std::string turn(Kapi::Stream::MessageNodeParent& parent, bool* wrote = nullptr)
{
    StringWriter out;
    const bool result = parent.writeMessage(&out);
    if (wrote != nullptr)
        *wrote = result;
    return out.str();
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
};

TEST_F(WriteQueue, ANodeAskingTwiceIsQueuedOnceAndWritesOnce)
{
    a.pending = {"one"};
    a.requestWrite();
    a.requestWrite();
    EXPECT_TRUE(parent.isInQueue(&a));
    EXPECT_TRUE(parent.audit());
    bool wrote = false;
    EXPECT_EQ(turn(parent, &wrote), "<a>one");
    EXPECT_TRUE(wrote);
    EXPECT_EQ(turn(parent, &wrote), "");
    EXPECT_FALSE(wrote);
    EXPECT_EQ(a.turns, 1);
}

TEST_F(WriteQueue, TurnsFollowRequestOrder)
{
    c.requestWrite();
    a.requestWrite();
    b.requestWrite();
    a.requestWrite(); // already queued: keeps its place
    EXPECT_EQ(popNames(parent), (std::vector<std::string>{"c", "a", "b"}));
    EXPECT_TRUE(parent.isQueueEmpty());
    EXPECT_TRUE(parent.audit());
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
    EXPECT_EQ(popNames(parent), (std::vector<std::string>{"b"}));
}

TEST_F(WriteQueue, ANodeWithMoreToSendGoesToTheBack)
{
    a.pending = {"a1", "a2", "a3"};
    b.pending = {"b1"};
    a.requestWrite();
    b.requestWrite();
    std::vector<std::string> frames;
    bool wrote = true;
    for (std::string frame = turn(parent, &wrote); wrote; frame = turn(parent, &wrote))
        frames.push_back(frame);
    EXPECT_EQ(frames, (std::vector<std::string>{"<a>a1", "<b>b1", "<a>a2", "<a>a3"}));
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
    EXPECT_EQ(popNames(parent), (std::vector<std::string>{"a", "c"}));
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

    std::string rootTurn(bool* wrote)
    {
        StringWriter out;
        *wrote = root.writeMessage(&out);
        return out.str();
    }
    std::vector<std::string> drain()
    {
        std::vector<std::string> frames;
        bool wrote = true;
        for (int guard = 0; guard < 100 && (wrote || !root.isQueueEmpty()); ++guard) {
            const std::string frame = rootTurn(&wrote);
            if (wrote)
                frames.push_back(frame);
        }
        return frames;
    }
};

TEST_F(RouterTree, ARequestClimbsToTheRoot)
{
    b.sendLater("hi");
    EXPECT_TRUE(inner.isInQueue(&b));
    EXPECT_TRUE(root.isInQueue(&inner));
    EXPECT_EQ(drain(), (std::vector<std::string>{std::string("\x00\x01hi", 4)}));
    EXPECT_TRUE(root.isQueueEmpty());
    EXPECT_TRUE(inner.isQueueEmpty());
}

TEST_F(RouterTree, ChildrenTakeTurnsAcrossLevels)
{
    a.sendLater("a1");
    b.sendLater("b1");
    r.sendLater("r1");
    a.sendLater("a2");
    b.sendLater("b2");
    // root queue: inner, r. inner queue: a, b. Each turn writes one message; a node with more
    // goes to the back of its own parent's queue and the inner router asks again.
    const std::vector<std::string> expected = {std::string("\x00\x00"
                                                           "a1",
                                                           4),
                                               std::string("\x01"
                                                           "r1",
                                                           3),
                                               std::string("\x00\x01"
                                                           "b1",
                                                           4),
                                               std::string("\x00\x00"
                                                           "a2",
                                                           4),
                                               std::string("\x00\x01"
                                                           "b2",
                                                           4)};
    EXPECT_EQ(drain(), expected);
    EXPECT_TRUE(root.audit());
    EXPECT_TRUE(inner.audit());
}

TEST_F(RouterTree, AnEmptyTurnWritesNoMessage)
{
    b.requestWrite(); // nothing pending
    bool wrote = true;
    rootTurn(&wrote);
    EXPECT_FALSE(wrote);
    EXPECT_EQ(b.turns, 1);
    EXPECT_TRUE(root.isQueueEmpty());
}

TEST_F(RouterTree, ACancelledChildLeavesAnEmptyTurnAboveIt)
{
    a.sendLater("x");
    a.cancelRequestWrite();
    bool wrote = true;
    rootTurn(&wrote);
    EXPECT_FALSE(wrote);
    EXPECT_EQ(a.turns, 0);
}

TEST_F(RouterTree, AMessageGoesToTheChildItsHeaderSelects)
{
    const std::string message("\x00\x01payload", 9);
    Kapi::Stream::BufferReader in(message.data(), message.size());
    StringWriter reply;
    bool replyReady = false;
    b.replyText = "answer";
    EXPECT_TRUE(root.processMessage(&in, &reply, &replyReady));
    EXPECT_TRUE(replyReady);
    EXPECT_EQ(b.received, (std::vector<std::string>{"payload"}));
    EXPECT_TRUE(a.received.empty());
    // The reply carries the header that routes back to b on the far side.
    EXPECT_EQ(reply.str(), std::string("\x00\x01"
                                       "answer",
                                       8));
}

TEST_F(RouterTree, AMessageForNoChildIsConsumedWithoutReply)
{
    for (const std::string& message :
         {std::string("\x00\x07zz", 4), std::string("\x05", 1), std::string()}) {
        Kapi::Stream::BufferReader in(message.data(), message.size());
        StringWriter reply;
        bool replyReady = false;
        EXPECT_TRUE(root.processMessage(&in, &reply, &replyReady));
        EXPECT_FALSE(replyReady);
    }
    EXPECT_TRUE(a.received.empty());
    EXPECT_TRUE(b.received.empty());
    EXPECT_TRUE(trace.empty());
}

TEST_F(RouterTree, TheChildsAnswerIsTheRoutersAnswer)
{
    a.processResult = false;
    const std::string message("\x00\x00x", 3);
    Kapi::Stream::BufferReader in(message.data(), message.size());
    StringWriter reply;
    bool replyReady = false;
    EXPECT_FALSE(root.processMessage(&in, &reply, &replyReady));
    EXPECT_EQ(a.received, (std::vector<std::string>{"x"}));
}

} // namespace
