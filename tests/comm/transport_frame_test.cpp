// The framing layer over a scripted byte stream (no sockets): the exact bytes and send flags of
// each write, resumption of a cut-short frame at the exact byte, reassembly of frames cut at
// every position, the message size limit, and the end of the connection.
#include "kapi/StreamBufferReader.h"
#include "kapi/comm/CommMessage.h"
#include "kapi/comm/MessageConnection.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

using namespace Kapi::Comm;

namespace {

// A byte stream that accepts at most `writeBudget` bytes in total until given more, and
// serves `incoming` in reads of at most `readPiece` bytes.
struct ScriptedConnection : IConnection
{
    struct Write
    {
        std::string bytes;
        int flags;
    };

    unsigned int read(void* buf, unsigned int len) override
    {
        const size_t n = std::min<size_t>({len, readPiece, incoming.size() - readPos});
        std::copy_n(incoming.data() + readPos, n, static_cast<char*>(buf));
        readPos += n;
        return static_cast<unsigned int>(n);
    }
    unsigned int write(const void* buf, unsigned int len, int flags) override
    {
        const unsigned int n = std::min<unsigned int>(len, writeBudget);
        writeBudget -= n;
        attempts.push_back({std::string(static_cast<const char*>(buf), len), flags});
        if (n > 0)
            writes.push_back({std::string(static_cast<const char*>(buf), n), flags});
        sent.append(static_cast<const char*>(buf), n);
        return n;
    }
    void close() override
    {
        ++closes;
        if (m_listener != nullptr)
            m_listener->disconnected();
    }
    bool getUInt32Property(LinkProperty property, unsigned int* out) const override
    {
        if (property != LINK_REMOTE_PORT)
            return false;
        *out = 4242;
        return true;
    }
    void giveBudget(unsigned int bytes)
    {
        writeBudget += bytes;
        m_listener->writeReady();
    }

    unsigned int writeBudget = 0xFFFFFFFF;
    std::string incoming;
    size_t readPos = 0;
    size_t readPiece = 0xFFFFFFFF;
    std::vector<Write> writes;
    std::vector<Write> attempts;
    std::string sent;
    int closes = 0;
};

struct Received : IMessageConnection::Listener
{
    void connected() override { ++connects; }
    void receive(std::shared_ptr<CommMessage> message) override
    {
        EXPECT_EQ(message->getSize(), message->getCapacity());
        payloads.emplace_back(reinterpret_cast<const char*>(message->getPayload()),
                              message->getSize());
    }
    void disconnected() override { ++disconnects; }

    int connects = 0;
    int disconnects = 0;
    std::vector<std::string> payloads;
};

std::shared_ptr<CommMessage> message(const std::string& payload)
{
    std::shared_ptr<CommMessage> m = CommMessage::create(payload.size());
    m->copyBytes(payload.data(), payload.size());
    return m;
}

std::string frameOf(const std::string& payload)
{
    std::string header(2, '\0');
    header[0] = static_cast<char>(payload.size() >> 8);
    header[1] = static_cast<char>(payload.size() & 0xFF);
    return header + payload;
}

std::string bytesOf(size_t size, char seed)
{
    std::string data(size, '\0');
    for (size_t i = 0; i < size; ++i)
        data[i] = static_cast<char>(seed + i * 13);
    return data;
}

} // namespace

TEST(CommMessage, HeaderIsTheBigEndianPayloadSizeRightBeforeThePayload)
{
    std::shared_ptr<CommMessage> m = message(std::string(300, 'x'));
    m->storeHeader();
    EXPECT_EQ(m->getFrame() + 2, m->getPayload());
    EXPECT_EQ(0x01, m->getFrame()[0]);
    EXPECT_EQ(0x2C, m->getFrame()[1]);

    std::shared_ptr<CommMessage> empty = CommMessage::create(0);
    ASSERT_TRUE(empty);
    empty->storeHeader();
    EXPECT_EQ(0x00, empty->getFrame()[0]);
    EXPECT_EQ(0x00, empty->getFrame()[1]);
    EXPECT_EQ(0u, empty->getSize());
}

TEST(CommMessage, WritesPastTheCapacityFailAndKeepWhatWasWritten)
{
    std::shared_ptr<CommMessage> m = CommMessage::create(6);
    EXPECT_TRUE(m->addU32(0x01020304));
    EXPECT_FALSE(m->addU32(0x05060708));
    EXPECT_FALSE(m->ok());
    EXPECT_EQ(4u, m->getSize());
    Kapi::Stream::BufferReader reader(m->getPayload(), m->getSize());
    EXPECT_EQ(0x01020304u, reader.getU32());
}

TEST(CommMessage, PayloadsThatTheLengthFieldCannotCarryAreRefusedWithAClearError)
{
    LogCapture capture(VLOGSRC_KAPI_COMM, VLOG_ERROR);
    EXPECT_FALSE(CommMessage::create(65536));
    EXPECT_FALSE(CommMessage::create(1u << 20));
    ASSERT_EQ(2u, capture.lines().size());
    EXPECT_EQ("CommMessage: a payload of 65536 bytes cannot be framed (limit 65535)",
              capture.lines()[0].text);
    std::shared_ptr<CommMessage> largest = CommMessage::create(65535);
    ASSERT_TRUE(largest);
    largest->seek(65535);
    largest->storeHeader();
    EXPECT_EQ(0xFF, largest->getFrame()[0]);
    EXPECT_EQ(0xFF, largest->getFrame()[1]);
}

TEST(MessageFraming, EachFrameGoesOutInOneWriteWithMoreFollowsOnAllButTheLast)
{
    auto lower = std::make_shared<ScriptedConnection>();
    Received received;
    auto framing = MessageConnection::create(lower, &received);
    lower->writeBudget = 0; // not writable yet: the three frames queue up
    framing->send(message(std::string(300, 'a')));
    framing->send(message(""));
    framing->send(message("xyz"));
    lower->giveBudget(0xFFFFFF);

    ASSERT_EQ(3u, lower->writes.size());
    EXPECT_EQ(frameOf(std::string(300, 'a')), lower->writes[0].bytes);
    EXPECT_EQ(std::string("\x01\x2C", 2), lower->writes[0].bytes.substr(0, 2));
    EXPECT_EQ(std::string("\x00\x00", 2), lower->writes[1].bytes);
    EXPECT_EQ(frameOf("xyz"), lower->writes[2].bytes);
    EXPECT_EQ(0x8000, lower->writes[0].flags);
    EXPECT_EQ(0x8000, lower->writes[1].flags);
    EXPECT_EQ(0, lower->writes[2].flags);
}

TEST(MessageFraming, AWriteCutShortResumesAtTheExactByte)
{
    auto lower = std::make_shared<ScriptedConnection>();
    Received received;
    auto framing = MessageConnection::create(lower, &received);
    const std::string first = bytesOf(1000, 1);
    const std::string second = bytesOf(777, 2);
    lower->writeBudget = 1;
    framing->send(message(first));
    framing->send(message(second));
    // Budgets chosen to cut inside the header, inside the payload and across the frames.
    for (unsigned budget : {1u, 500u, 498u, 3u, 100u, 1000u}) {
        lower->giveBudget(budget);
    }
    EXPECT_EQ(frameOf(first) + frameOf(second), lower->sent);
    // Every attempt starts where the previous accepted bytes ended.
    size_t offset = 0;
    const std::string stream = frameOf(first) + frameOf(second);
    for (const ScriptedConnection::Write& w : lower->writes) {
        EXPECT_EQ(stream.substr(offset, w.bytes.size()), w.bytes);
        offset += w.bytes.size();
    }
    EXPECT_EQ(stream.size(), offset);
    EXPECT_EQ(0u, std::static_pointer_cast<MessageConnection>(framing)->queuedCount());
}

TEST(MessageFraming, FramesCutAtEveryPositionAreDeliveredWholeAndInOrder)
{
    const std::vector<std::string> payloads = {"", bytesOf(300, 3), "q", "", bytesOf(2, 9)};
    std::string stream;
    for (const std::string& p : payloads)
        stream += frameOf(p);
    for (size_t piece : {size_t(1), size_t(2), size_t(3), size_t(7), stream.size()}) {
        auto lower = std::make_shared<ScriptedConnection>();
        Received received;
        auto framing = MessageConnection::create(lower, &received);
        lower->incoming = stream;
        lower->readPiece = piece;
        auto* asListener = static_cast<IConnection::Listener*>(
            std::static_pointer_cast<MessageConnection>(framing).get());
        // One read-ready per arrival, as an edge-triggered socket reports them.
        for (size_t round = 0; lower->readPos < stream.size() && round < stream.size(); ++round)
            asListener->readReady();
        EXPECT_EQ(payloads, received.payloads) << "piece " << piece;
    }
}

TEST(MessageFraming, TheEndDropsQueuedAndPartialMessagesAndNothingGoesOutAfterwards)
{
    auto lower = std::make_shared<ScriptedConnection>();
    Received received;
    auto framing = MessageConnection::create(lower, &received);
    auto* asListener = static_cast<IConnection::Listener*>(
        std::static_pointer_cast<MessageConnection>(framing).get());
    asListener->connected();
    EXPECT_EQ(1, received.connects);

    lower->writeBudget = 0;
    framing->send(message("pending"));
    lower->incoming = std::string("\x00\x05hel", 5); // a frame that never completes
    asListener->readReady();
    EXPECT_TRUE(received.payloads.empty());

    unsigned int port = 0;
    EXPECT_TRUE(framing->getUInt32Property(LINK_REMOTE_PORT, &port));
    EXPECT_EQ(4242u, port);

    framing->close(); // the scripted stream reports the end at once
    EXPECT_EQ(1, lower->closes);
    EXPECT_EQ(1, received.disconnects);
    EXPECT_EQ(nullptr, lower->getListener());
    EXPECT_EQ(0u, std::static_pointer_cast<MessageConnection>(framing)->queuedCount());
    EXPECT_FALSE(framing->getUInt32Property(LINK_REMOTE_PORT, &port));

    const size_t attemptsBefore = lower->attempts.size();
    framing->send(message("late"));
    framing->close();
    EXPECT_EQ(attemptsBefore, lower->attempts.size());
    EXPECT_EQ(1, lower->closes);
    EXPECT_EQ(1, received.disconnects);
}
