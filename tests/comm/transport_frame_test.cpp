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
        ++attempts;
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
        *out = 4242;
        return property == LINK_REMOTE_PORT;
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
    std::vector<std::pair<std::string, int>> writes; // accepted bytes and flags of each write
    int attempts = 0;
    std::string sent;
    int closes = 0;
};

// The framing over a scripted stream, with what reaches its listener.
struct Framing : IMessageConnection::Listener
{
    Framing()
        : lower(std::make_shared<ScriptedConnection>()),
          framing(MessageConnection::create(lower, this)),
          asListener(std::static_pointer_cast<MessageConnection>(framing).get())
    {
    }
    void connected() override { ++connects; }
    void receive(std::shared_ptr<CommMessage> message) override
    {
        EXPECT_EQ(message->getSize(), message->getCapacity());
        payloads.emplace_back(reinterpret_cast<const char*>(message->getPayload()),
                              message->getSize());
    }
    void disconnected() override { ++disconnects; }
    size_t queued() { return std::static_pointer_cast<MessageConnection>(framing)->queuedCount(); }

    int connects = 0; // declared first: the framing may report to them as it goes
    int disconnects = 0;
    std::vector<std::string> payloads;
    std::shared_ptr<ScriptedConnection> lower;
    std::shared_ptr<IMessageConnection> framing;
    IConnection::Listener* asListener;
};

std::shared_ptr<CommMessage> message(const std::string& payload)
{
    std::shared_ptr<CommMessage> m = CommMessage::create(payload.size());
    m->copyBytes(payload.data(), payload.size());
    return m;
}

std::string frameOf(const std::string& payload)
{
    return std::string{static_cast<char>(payload.size() >> 8),
                       static_cast<char>(payload.size() & 0xFF)} +
           payload;
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

    // Writes past the capacity fail and keep what was written.
    std::shared_ptr<CommMessage> small = CommMessage::create(6);
    EXPECT_TRUE(small->addU32(0x01020304));
    EXPECT_FALSE(small->addU32(0x05060708));
    EXPECT_FALSE(small->ok());
    EXPECT_EQ(4u, small->getSize());
    Kapi::Stream::BufferReader reader(small->getPayload(), small->getSize());
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
    Framing f;
    f.lower->writeBudget = 0; // not writable yet: the three frames queue up
    f.framing->send(message(std::string(300, 'a')));
    f.framing->send(message(""));
    f.framing->send(message("xyz"));
    f.lower->giveBudget(0xFFFFFF);
    EXPECT_EQ(f.lower->writes, (std::vector<std::pair<std::string, int>>{
                                   {std::string("\x01\x2C", 2) + std::string(300, 'a'), 0x8000},
                                   {std::string("\x00\x00", 2), 0x8000},
                                   {frameOf("xyz"), 0}}));
}

TEST(MessageFraming, AWriteCutShortResumesAtTheExactByte)
{
    Framing f;
    const std::string first = bytesOf(1000, 1);
    const std::string second = bytesOf(777, 2);
    f.lower->writeBudget = 1;
    f.framing->send(message(first));
    f.framing->send(message(second));
    // Budgets chosen to cut inside the header, inside the payload and across the frames.
    for (unsigned budget : {1u, 500u, 498u, 3u, 100u, 1000u})
        f.lower->giveBudget(budget);
    // Every attempt starts where the previous accepted bytes ended.
    const std::string stream = frameOf(first) + frameOf(second);
    EXPECT_EQ(stream, f.lower->sent);
    size_t offset = 0;
    for (const auto& write : f.lower->writes) {
        EXPECT_EQ(stream.substr(offset, write.first.size()), write.first);
        offset += write.first.size();
    }
    EXPECT_EQ(0u, f.queued());
}

TEST(MessageFraming, FramesCutAtEveryPositionAreDeliveredWholeAndInOrder)
{
    const std::vector<std::string> payloads = {"", bytesOf(300, 3), "q", "", bytesOf(2, 9)};
    std::string stream;
    for (const std::string& p : payloads)
        stream += frameOf(p);
    for (size_t piece : {size_t(1), size_t(2), size_t(3), size_t(7), stream.size()}) {
        Framing f;
        f.lower->incoming = stream;
        f.lower->readPiece = piece;
        // One read-ready per arrival, as an edge-triggered socket reports them.
        for (size_t round = 0; f.lower->readPos < stream.size() && round < stream.size(); ++round)
            f.asListener->readReady();
        EXPECT_EQ(payloads, f.payloads) << "piece " << piece;
    }
}

TEST(MessageFraming, TheEndDropsQueuedAndPartialMessagesAndNothingGoesOutAfterwards)
{
    Framing f;
    f.asListener->connected();
    EXPECT_EQ(1, f.connects);
    f.lower->writeBudget = 0;
    f.framing->send(message("pending"));
    f.lower->incoming = std::string("\x00\x05hel", 5); // a frame that never completes
    f.asListener->readReady();
    EXPECT_TRUE(f.payloads.empty());

    unsigned int port = 0;
    EXPECT_TRUE(f.framing->getUInt32Property(LINK_REMOTE_PORT, &port));
    EXPECT_EQ(4242u, port);

    f.framing->close(); // the scripted stream reports the end at once
    EXPECT_EQ(1, f.lower->closes);
    EXPECT_EQ(1, f.disconnects);
    EXPECT_EQ(nullptr, f.lower->getListener());
    EXPECT_EQ(0u, f.queued());
    EXPECT_FALSE(f.framing->getUInt32Property(LINK_REMOTE_PORT, &port));

    const int attemptsBefore = f.lower->attempts;
    f.framing->send(message("late"));
    f.framing->close();
    EXPECT_EQ(attemptsBefore, f.lower->attempts);
    EXPECT_EQ(1, f.lower->closes);
    EXPECT_EQ(1, f.disconnects);
}
