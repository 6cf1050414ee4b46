// Buffer: the range invariant, growth, deep copy and move, protection, file transfer (with
// failures that change nothing), the hex dump, and which allocator gives and takes the memory.
#include "kapi/Buffer.h"
#include "kapi/FileUtil.h"

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

using Kapi::Buffer;

namespace {

// Counts live blocks; refuses everything while `refuse` is set.
class CountingAllocator : public Kapi::BufferAllocator
{
public:
    void* malloc(unsigned size) override
    {
        if (refuse)
            return nullptr;
        ++live;
        return std::malloc(size);
    }
    void free(void* p) override
    {
        if (p != nullptr)
            --live;
        std::free(p);
    }
    void* realloc(void* p, unsigned size) override
    {
        return refuse ? nullptr : std::realloc(p, size);
    }
    int live = 0;
    bool refuse = false;
};

std::string contents(const Buffer& b)
{
    return std::string(reinterpret_cast<const char*>(b.getBeginPtr()), b.getLength());
}

class BufferFileTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::string pattern = Kapi::FileUtil::getTempDir() + "/kapi_buffer_XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        mDir = pattern;
    }
    void TearDown() override { EXPECT_TRUE(Kapi::FileUtil::removeDir(mDir)); }
    std::string path(const std::string& name) const { return mDir + "/" + name; }
    int entries() const
    {
        int count = 0;
        DIR* dir = opendir(mDir.c_str());
        while (dirent* e = readdir(dir))
            count += e->d_name[0] != '.';
        closedir(dir);
        return count;
    }
    std::string mDir;
};

} // namespace

TEST(BufferTest, RangeGrowthAndInvariant)
{
    Buffer b;
    EXPECT_EQ(b.getAllocator(), Kapi::DefaultAllocator::getInstance());
    EXPECT_EQ(b.getData(), nullptr);
    EXPECT_EQ(b.getReservedSize(), 0u);
    ASSERT_TRUE(b.append("hello", 5));
    ASSERT_TRUE(b.append(", world", 7));
    EXPECT_EQ(contents(b), "hello, world");
    EXPECT_GE(b.getReservedSize(), 12u);

    ASSERT_TRUE(b.setBegin(7));
    EXPECT_EQ(contents(b), "world");
    EXPECT_FALSE(b.setRange(8, 7));                  // begin after end
    EXPECT_FALSE(b.setEnd(b.getReservedSize() + 1)); // end past the area
    EXPECT_EQ(b.getBegin(), 7u);                     // unchanged by the refusals
    ASSERT_TRUE(b.reserve(1000));
    EXPECT_EQ(contents(b), "world"); // growth keeps bytes and range
    ASSERT_TRUE(b.reserve(10));      // never shrinks
    EXPECT_EQ(b.getReservedSize(), 1000u);
    ASSERT_TRUE(b.assign("abc", 3));
    EXPECT_EQ(b.getBegin(), 0u);
    EXPECT_EQ(contents(b), "abc");
    ASSERT_TRUE(b.clear());
    EXPECT_EQ(b.getData(), nullptr);
    EXPECT_EQ(b.getLength() + b.getEnd() + b.getReservedSize(), 0u);
}

TEST(BufferTest, CloneIsDeepAndMoveEmptiesTheSource)
{
    CountingAllocator allocator;
    {
        Buffer b(64, &allocator);
        ASSERT_TRUE(b.append("0123456789", 10));
        ASSERT_TRUE(b.setBegin(2));
        b.protect();
        std::unique_ptr<Buffer> copy = b.clone();
        ASSERT_NE(copy, nullptr);
        EXPECT_EQ(allocator.live, 2);
        EXPECT_EQ(copy->getAllocator(), &allocator);
        EXPECT_EQ(copy->getReservedSize(), 64u);
        EXPECT_EQ(contents(*copy), "23456789");
        EXPECT_FALSE(copy->isProtected());
        copy->getWritableData()[2] = 'X';
        EXPECT_EQ(contents(b), "23456789");

        Buffer moved(std::move(*copy));
        EXPECT_EQ(contents(moved), "X3456789");
        EXPECT_EQ(copy->getData(), nullptr);
        EXPECT_EQ(copy->getReservedSize(), 0u);
        Buffer other(8, &allocator);
        other = std::move(moved); // frees other's old area
        EXPECT_EQ(allocator.live, 2);
        EXPECT_EQ(contents(other), "X3456789");
    }
    EXPECT_EQ(allocator.live, 0); // every area went back to its own allocator

    allocator.refuse = true;
    Buffer starved(16, &allocator);
    EXPECT_EQ(starved.getReservedSize(), 0u);
    EXPECT_FALSE(starved.append("x", 1));
}

TEST(BufferTest, ProtectedBufferRefusesChanges)
{
    Buffer b;
    ASSERT_TRUE(b.assign("fixed", 5));
    b.protect();
    EXPECT_TRUE(b.isProtected());
    EXPECT_FALSE(b.append("!", 1));
    EXPECT_FALSE(b.assign("other", 5));
    EXPECT_FALSE(b.reserve(100));
    EXPECT_FALSE(b.setBegin(1));
    EXPECT_FALSE(b.clear());
    EXPECT_EQ(b.readFromFile("/dev/null"), Kapi::INVALID_ARGUMENTS);
    EXPECT_EQ(contents(b), "fixed");
    EXPECT_EQ(b.getBeginPtr()[0], 'f'); // reading stays allowed
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_DEATH(b.getWritableData(), "Assertion failure: !mProtected");
}

TEST_F(BufferFileTest, WriteAndReadBackTheValidBytes)
{
    Buffer b;
    ASSERT_TRUE(b.assign("skip:payload", 12));
    ASSERT_TRUE(b.setBegin(5));
    ASSERT_EQ(b.writeToFile(path("out.bin")), Kapi::SUCCESS);
    std::ifstream in(path("out.bin"), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}), "payload");
    EXPECT_EQ(entries(), 1); // no temporary left behind

    Buffer back;
    ASSERT_EQ(back.readFromFile(path("out.bin")), Kapi::SUCCESS);
    EXPECT_EQ(contents(back), "payload");
    EXPECT_EQ(back.getBegin(), 0u);

    Buffer empty;
    ASSERT_EQ(empty.writeToFile(path("empty.bin")), Kapi::SUCCESS);
    ASSERT_EQ(back.readFromFile(path("empty.bin")), Kapi::SUCCESS);
    EXPECT_EQ(back.getLength(), 0u);
}

TEST_F(BufferFileTest, FailuresChangeNothing)
{
    Buffer b;
    ASSERT_TRUE(b.assign("keep", 4));
    EXPECT_EQ(b.readFromFile(path("missing")), Kapi::IO_ERROR);
    EXPECT_EQ(b.readFromFile(mDir), Kapi::IO_ERROR); // a directory
    CountingAllocator allocator;
    Buffer starved(&allocator);
    ASSERT_TRUE(starved.assign("keep", 4));
    ASSERT_EQ(b.writeToFile(path("four")), Kapi::SUCCESS);
    allocator.refuse = true;
    EXPECT_EQ(starved.readFromFile(path("four")), Kapi::PIPELINE_OUT_OF_MEMORY);
    EXPECT_EQ(contents(starved), "keep");
    EXPECT_EQ(contents(b), "keep");

    // Writing over a directory fails; the directory and its contents survive.
    ASSERT_EQ(mkdir(path("dir").c_str(), 0755), 0);
    ASSERT_EQ(b.writeToFile(path("dir/inside")), Kapi::SUCCESS);
    Buffer other;
    ASSERT_TRUE(other.assign("new", 3));
    EXPECT_EQ(other.writeToFile(path("dir")), Kapi::IO_ERROR);
    EXPECT_EQ(other.writeToFile(path("nowhere/x")), Kapi::IO_ERROR);
    EXPECT_EQ(entries(), 2); // "four" and "dir", no temporaries
    ASSERT_EQ(b.readFromFile(path("dir/inside")), Kapi::SUCCESS);
    EXPECT_EQ(contents(b), "keep");
}

TEST(BufferTest, DumpShowsOffsetsHexAndText)
{
    Buffer b;
    ASSERT_TRUE(b.assign("xxABCDEFGHIJKLMNOP\x01\xff", 20));
    ASSERT_TRUE(b.setBegin(2));
    EXPECT_EQ(b.dump(),
              "00000000  41 42 43 44 45 46 47 48 49 4a 4b 4c 4d 4e 4f 50  |ABCDEFGHIJKLMNOP|\n"
              "00000010  01 ff                                            |..|\n");
    EXPECT_EQ(b.dump(3), "00000000  41 42 43                                         |ABC|\n"
                         "... 15 more bytes\n");
    EXPECT_EQ(Buffer().dump(), "");

    LogCapture capture(VLOGSRC_KAPI_HELPER, VLOG_INFO);
    b.dump(VLOGSRC_KAPI_HELPER, VLOG_INFO, "sample", 2);
    b.dump(VLOGSRC_KAPI_HELPER, VLOG_DEBUG, "hidden"); // level not enabled: nothing
    char header[96];
    snprintf(header, sizeof header,
             "kapi_helper.info: sample: Buffer@%p length 18 (begin 2, end 20, reserved 20)",
             static_cast<void*>(&b));
    EXPECT_EQ(
        capture.summary(),
        (std::vector<std::string>{
            header,
            "kapi_helper.info: 00000000  41 42                                            |AB|",
            "kapi_helper.info: ... 16 more bytes"}));
}

TEST(DefaultAllocatorTest, ZeroSizesStillGiveUsableBlocks)
{
    Kapi::DefaultAllocator* heap = Kapi::DefaultAllocator::getInstance();
    EXPECT_EQ(heap, Kapi::DefaultAllocator::getInstance());
    void* p = heap->malloc(0);
    ASSERT_NE(p, nullptr);
    p = heap->realloc(p, 0); // must not free: null would mean "no memory"
    ASSERT_NE(p, nullptr);
    p = heap->realloc(p, 4096);
    ASSERT_NE(p, nullptr);
    memset(p, 0xab, 4096);
    heap->free(p);
    heap->free(nullptr);
}
