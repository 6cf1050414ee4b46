// FileUtil on real files in a fresh temporary directory per test: reading and writing bytes
// and lines, missing files and permission errors (errno kept for the caller), copies,
// directory creation and recursive removal, visits, temporary names and the name rules.
#include "kapi/FileUtil.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

using Kapi::FileUtil;
using Kapi::StringVector;

namespace {

class FileUtilTest : public ::testing::Test
{
protected:
    void SetUp() override
    {
        std::string pattern = FileUtil::getTempDir() + "/kapi_fileutil_XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        mDir = pattern;
        // Other users must be able to reach into it for the permission tests.
        ASSERT_EQ(chmod(mDir.c_str(), 0755), 0);
    }
    void TearDown() override
    {
        chmod(path("locked").c_str(), 0755);
        EXPECT_TRUE(FileUtil::removeDir(mDir));
        EXPECT_FALSE(FileUtil::exists(mDir));
    }

    std::string path(const std::string& name) const { return mDir + "/" + name; }

    std::string mDir;
};

// Sets or unsets TMPDIR for one scope.
class TmpDirOverride
{
public:
    explicit TmpDirOverride(const char* value)
    {
        const char* old = getenv("TMPDIR");
        mHad = old != nullptr;
        if (mHad)
            mOld = old;
        if (value != nullptr)
            setenv("TMPDIR", value, 1);
        else
            unsetenv("TMPDIR");
    }
    ~TmpDirOverride()
    {
        if (mHad)
            setenv("TMPDIR", mOld.c_str(), 1);
        else
            unsetenv("TMPDIR");
    }

private:
    bool mHad;
    std::string mOld;
};

void setModTime(const std::string& file, time_t seconds, long nanoseconds)
{
    const struct timespec times[2] = {{seconds, nanoseconds}, {seconds, nanoseconds}};
    ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
}

} // namespace

TEST_F(FileUtilTest, WriteAndReadBackEveryByte)
{
    std::string bytes;
    for (int b = 0; b < 256; ++b)
        bytes += static_cast<char>(b);
    ASSERT_TRUE(FileUtil::write(path("bytes"), bytes));
    EXPECT_TRUE(FileUtil::exists(path("bytes")));
    EXPECT_EQ(FileUtil::size(path("bytes")), 256);
    std::string text;
    ASSERT_TRUE(FileUtil::toString(path("bytes"), text));
    EXPECT_EQ(text, bytes);
    std::vector<unsigned char> buffer;
    ASSERT_TRUE(FileUtil::toBuffer(path("bytes"), buffer));
    EXPECT_EQ(std::string(buffer.begin(), buffer.end()), bytes);

    ASSERT_TRUE(FileUtil::write(path("bytes"), "short"));
    ASSERT_TRUE(FileUtil::toString(path("bytes"), text));
    EXPECT_EQ(text, "short");
    ASSERT_TRUE(FileUtil::write(path("empty"), ""));
    ASSERT_TRUE(FileUtil::toString(path("empty"), text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(FileUtil::size(path("empty")), 0);

    const std::string large(300000, 'q');
    ASSERT_TRUE(FileUtil::write(path("large"), large));
    ASSERT_TRUE(FileUtil::toString(path("large"), text));
    EXPECT_EQ(text, large);
}

TEST_F(FileUtilTest, LinesSplitAtNewlineOnly)
{
    StringVector lines{"stale"};
    ASSERT_TRUE(FileUtil::write(path("crlf"), "a\r\nb\n\n c\nlast"));
    ASSERT_TRUE(FileUtil::toStringVector(path("crlf"), lines));
    EXPECT_EQ(lines, (StringVector{"a\r", "b", "", " c", "last"}));

    ASSERT_TRUE(FileUtil::write(path("final"), "x\n"));
    ASSERT_TRUE(FileUtil::toStringVector(path("final"), lines));
    EXPECT_EQ(lines, (StringVector{"x"}));

    ASSERT_TRUE(FileUtil::write(path("blank"), "\n\n"));
    ASSERT_TRUE(FileUtil::toStringVector(path("blank"), lines));
    EXPECT_EQ(lines, (StringVector{"", ""}));

    ASSERT_TRUE(FileUtil::write(path("none"), ""));
    ASSERT_TRUE(FileUtil::toStringVector(path("none"), lines));
    EXPECT_TRUE(lines.empty());

    ASSERT_TRUE(FileUtil::toStringVectorNonBlocking(path("crlf"), lines));
    EXPECT_EQ(lines.size(), 5u);
}

TEST_F(FileUtilTest, MissingFilesFailWithErrnoAndKeepOutputs)
{
    const std::string missing = path("missing");
    std::string text = "keep";
    errno = 0;
    EXPECT_FALSE(FileUtil::toString(missing, text));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_EQ(text, "keep");
    StringVector lines{"keep"};
    EXPECT_FALSE(FileUtil::toStringVector(missing, lines));
    EXPECT_EQ(lines, (StringVector{"keep"}));
    std::vector<unsigned char> buffer{1};
    EXPECT_FALSE(FileUtil::toBuffer(missing, buffer));
    EXPECT_EQ(buffer.size(), 1u);
    EXPECT_FALSE(FileUtil::toStringNonBlocking(missing, text));

    EXPECT_FALSE(FileUtil::exists(missing));
    EXPECT_FALSE(FileUtil::isReadable(missing));
    EXPECT_FALSE(FileUtil::isDirectory(missing));
    errno = 0;
    EXPECT_EQ(FileUtil::size(missing), -1);
    EXPECT_EQ(errno, ENOENT);
    int64 time = 5;
    EXPECT_FALSE(FileUtil::getModTime(missing, time));
    EXPECT_EQ(time, 5);
    errno = 0;
    EXPECT_FALSE(FileUtil::remove(missing));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(FileUtil::removeDir(missing));
    EXPECT_FALSE(FileUtil::copyFile(missing, path("copy")));
    EXPECT_FALSE(FileUtil::exists(path("copy")));
    errno = 0;
    EXPECT_FALSE(FileUtil::write(path("no/such/dir"), "x"));
    EXPECT_EQ(errno, ENOENT);
}

TEST_F(FileUtilTest, DirectoriesAreNotFiles)
{
    std::string text = "keep";
    errno = 0;
    EXPECT_FALSE(FileUtil::toString(mDir, text));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(text, "keep");
    EXPECT_TRUE(FileUtil::isDirectory(mDir));
    ASSERT_TRUE(FileUtil::write(path("file"), "x"));
    EXPECT_FALSE(FileUtil::isDirectory(path("file")));
    errno = 0;
    EXPECT_FALSE(FileUtil::removeDir(path("file")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_TRUE(FileUtil::exists(path("file")));
    errno = 0;
    EXPECT_FALSE(FileUtil::toString(path("file/below"), text));
    EXPECT_EQ(errno, ENOTDIR);
}

TEST_F(FileUtilTest, PermissionErrorsAreReported)
{
    // Runs in a child that drops root rights, since the superuser bypasses permission bits.
    ASSERT_TRUE(FileUtil::write(path("secret"), "hidden"));
    ASSERT_EQ(chmod(path("secret").c_str(), 0), 0);
    ASSERT_TRUE(FileUtil::makeDirectory(path("locked"), 0555));
    const std::string secret = path("secret");
    const std::string locked = path("locked");
    EXPECT_EXIT(
        {
            if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0))
                _exit(10);
            std::string text = "keep";
            if (FileUtil::isReadable(secret))
                _exit(1);
            errno = 0;
            if (FileUtil::toString(secret, text) || errno != EACCES || text != "keep")
                _exit(2);
            if (FileUtil::write(secret, "x") || errno != EACCES)
                _exit(3);
            if (FileUtil::write(locked + "/new", "x") || errno != EACCES)
                _exit(4);
            if (FileUtil::makeDirectory(locked + "/sub") || errno != EACCES)
                _exit(5);
            if (FileUtil::ensureDirectory(locked + "/a/b") || errno != EACCES)
                _exit(6);
            if (FileUtil::copyFile(secret, locked + "/copy") || errno != EACCES)
                _exit(7);
            if (FileUtil::size(secret) != 6) // stat needs no read permission
                _exit(8);
            _exit(0);
        },
        ::testing::ExitedWithCode(0), "");
    std::string text;
    ASSERT_TRUE(FileUtil::toString(secret, text));
    EXPECT_EQ(text, "hidden");
}

TEST_F(FileUtilTest, NonBlockingReadTakesWhatIsThere)
{
    // A FIFO whose writer stays open: a blocking read would wait for ever.
    const std::string fifo = path("fifo");
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    const int writer = open(fifo.c_str(), O_RDWR | O_NONBLOCK);
    ASSERT_GE(writer, 0);
    ASSERT_EQ(::write(writer, "one\ntwo", 7), 7);
    std::string text;
    EXPECT_TRUE(FileUtil::toStringNonBlocking(fifo, text));
    EXPECT_EQ(text, "one\ntwo");
    ASSERT_EQ(::write(writer, "three\nfour\n", 11), 11);
    StringVector lines;
    EXPECT_TRUE(FileUtil::toStringVectorNonBlocking(fifo, lines));
    EXPECT_EQ(lines, (StringVector{"three", "four"}));
    EXPECT_TRUE(FileUtil::toStringNonBlocking(fifo, text));
    EXPECT_EQ(text, "");
    close(writer);
}

TEST_F(FileUtilTest, CopyKeepsBytesAndMode)
{
    ASSERT_TRUE(FileUtil::write(path("source"), std::string("a\0b", 3)));
    ASSERT_EQ(chmod(path("source").c_str(), 0640), 0);
    ASSERT_TRUE(FileUtil::write(path("target"), "old and longer"));
    ASSERT_TRUE(FileUtil::copyFile(path("source"), path("target")));
    std::string text;
    ASSERT_TRUE(FileUtil::toString(path("target"), text));
    EXPECT_EQ(text, std::string("a\0b", 3));
    struct stat info;
    ASSERT_EQ(stat(path("target").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);

    errno = 0;
    EXPECT_FALSE(FileUtil::copyFile(path("source"), path("source")));
    EXPECT_EQ(errno, EINVAL);
    ASSERT_EQ(symlink(path("source").c_str(), path("alias").c_str()), 0);
    EXPECT_FALSE(FileUtil::copyFile(path("alias"), path("source")));
    ASSERT_TRUE(FileUtil::toString(path("source"), text));
    EXPECT_EQ(text.size(), 3u);
}

TEST_F(FileUtilTest, MakeAndEnsureDirectories)
{
    EXPECT_TRUE(FileUtil::makeDirectory(path("d")));
    errno = 0;
    EXPECT_FALSE(FileUtil::makeDirectory(path("d")));
    EXPECT_EQ(errno, EEXIST);
    EXPECT_FALSE(FileUtil::makeDirectory(path("x/y")));

    EXPECT_TRUE(FileUtil::ensureDirectory(path("a/b//c/")));
    EXPECT_TRUE(FileUtil::isDirectory(path("a/b/c")));
    EXPECT_TRUE(FileUtil::ensureDirectory(path("a/b/c")));
    EXPECT_TRUE(FileUtil::ensureDirectory(mDir));

    ASSERT_TRUE(FileUtil::write(path("plain"), "x"));
    errno = 0;
    EXPECT_FALSE(FileUtil::ensureDirectory(path("plain")));
    EXPECT_EQ(errno, ENOTDIR);
    errno = 0;
    EXPECT_FALSE(FileUtil::ensureDirectory(path("plain/sub")));
    EXPECT_EQ(errno, ENOTDIR);
    EXPECT_FALSE(FileUtil::ensureDirectory(""));
}

TEST_F(FileUtilTest, RemoveDirIsRecursiveAndDoesNotFollowLinks)
{
    ASSERT_TRUE(FileUtil::ensureDirectory(path("outside")));
    ASSERT_TRUE(FileUtil::write(path("outside/keep"), "k"));
    ASSERT_TRUE(FileUtil::ensureDirectory(path("tree/a/b")));
    ASSERT_TRUE(FileUtil::write(path("tree/top"), "1"));
    ASSERT_TRUE(FileUtil::write(path("tree/a/b/deep"), "2"));
    ASSERT_TRUE(FileUtil::write(path("tree/a/.hidden"), "3"));
    ASSERT_EQ(symlink(path("outside").c_str(), path("tree/a/link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", path("tree/dangling").c_str()), 0);

    EXPECT_TRUE(FileUtil::removeDir(path("tree")));
    EXPECT_FALSE(FileUtil::exists(path("tree")));
    EXPECT_TRUE(FileUtil::exists(path("outside/keep")));

    ASSERT_TRUE(FileUtil::makeDirectory(path("emptydir")));
    EXPECT_TRUE(FileUtil::remove(path("emptydir")));
    EXPECT_TRUE(FileUtil::remove(path("outside/keep")));
    EXPECT_FALSE(FileUtil::exists(path("outside/keep")));
}

TEST_F(FileUtilTest, ModificationTimes)
{
    ASSERT_TRUE(FileUtil::write(path("old"), "o"));
    ASSERT_TRUE(FileUtil::write(path("new"), "n"));
    setModTime(path("old"), 1000000000, 500000000);
    setModTime(path("new"), 1000000000, 600000000);
    int64 time = 0;
    ASSERT_TRUE(FileUtil::getModTime(path("old"), time));
    EXPECT_EQ(time, 1000000000500000LL);
    EXPECT_LT(FileUtil::compareModTime(path("old"), path("new")), 0);
    EXPECT_GT(FileUtil::compareModTime(path("new"), path("old")), 0);
    EXPECT_EQ(FileUtil::compareModTime(path("old"), path("old")), 0);
    EXPECT_LT(FileUtil::compareModTime(path("missing"), path("old")), 0);
    EXPECT_GT(FileUtil::compareModTime(path("old"), path("missing")), 0);
    EXPECT_EQ(FileUtil::compareModTime(path("missing"), path("missing2")), 0);
}

TEST_F(FileUtilTest, VisitsInNameOrderAndStopWhenAsked)
{
    for (const char* name : {"b.ts", "a.ts", "c.data", ".hidden"})
        ASSERT_TRUE(FileUtil::write(path(name), "x"));
    ASSERT_TRUE(FileUtil::makeDirectory(path("movie2")));
    ASSERT_TRUE(FileUtil::makeDirectory(path("movie1")));
    ASSERT_EQ(symlink(path("a.ts").c_str(), path("link.ts").c_str()), 0);
    ASSERT_EQ(symlink(path("movie1").c_str(), path("movie0").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", path("dangling").c_str()), 0);

    std::vector<std::string> seen;
    int context = 0;
    auto record = [&](const std::string& dir, const std::string& name, unsigned number, void* ctx) {
        EXPECT_EQ(dir, mDir);
        EXPECT_EQ(number, seen.size());
        EXPECT_EQ(ctx, &context);
        seen.push_back(name);
        return true;
    };
    ASSERT_TRUE(FileUtil::visitFilesInDir(mDir, record, &context));
    EXPECT_EQ(seen, (std::vector<std::string>{".hidden", "a.ts", "b.ts", "c.data", "link.ts"}));
    seen.clear();
    ASSERT_TRUE(FileUtil::visitDirsInDir(mDir, record, &context));
    EXPECT_EQ(seen, (std::vector<std::string>{"movie0", "movie1", "movie2"}));

    seen.clear();
    auto stopAtSecond = [&](const std::string&, const std::string& name, unsigned number, void*) {
        seen.push_back(name);
        return number < 1;
    };
    EXPECT_TRUE(FileUtil::visitFilesInDir(mDir, stopAtSecond));
    EXPECT_EQ(seen.size(), 2u);

    // The listing is taken before the visitor runs, so removing entries is safe.
    seen.clear();
    auto removeAll = [&](const std::string& dir, const std::string& name, unsigned, void*) {
        seen.push_back(name);
        return FileUtil::remove(FileUtil::makePath(dir, name));
    };
    EXPECT_TRUE(FileUtil::visitFilesInDir(mDir, removeAll));
    EXPECT_EQ(seen.size(), 5u);

    unsigned calls = 0;
    auto count = [&](const std::string&, const std::string&, unsigned, void*) {
        ++calls;
        return true;
    };
    errno = 0;
    EXPECT_FALSE(FileUtil::visitDirsInDir(path("missing"), count));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_TRUE(FileUtil::visitDirsInDir(path("movie1"), count));
    EXPECT_EQ(calls, 0u);
}

TEST_F(FileUtilTest, StatfsFigures)
{
    FileUtil::Statfs figures;
    ASSERT_TRUE(FileUtil::getStatfs(mDir, figures));
    EXPECT_GT(figures.blockSize, 0u);
    EXPECT_GT(figures.totalBytes, 0u);
    EXPECT_LE(figures.freeBytes, figures.totalBytes);
    EXPECT_LE(figures.availableBytes, figures.freeBytes);
    FileUtil::Statfs untouched;
    untouched.blockSize = 7;
    EXPECT_FALSE(FileUtil::getStatfs(path("missing"), untouched));
    EXPECT_EQ(untouched.blockSize, 7u);
}

TEST_F(FileUtilTest, TempDirAndUniqueNames)
{
    {
        TmpDirOverride unset(nullptr);
        EXPECT_EQ(FileUtil::getTempDir(), "/tmp");
    }
    {
        TmpDirOverride empty("");
        EXPECT_EQ(FileUtil::getTempDir(), "/tmp");
    }
    TmpDirOverride here(mDir.c_str());
    EXPECT_EQ(FileUtil::getTempDir(), mDir);
    const std::string first = FileUtil::makeUniqueTempFilename(".saveData");
    const std::string second = FileUtil::makeUniqueTempFilename(".saveData");
    const std::string prefix = mDir + "/.saveData.";
    ASSERT_EQ(first.size(), prefix.size() + 6);
    EXPECT_EQ(first.substr(0, prefix.size()), prefix);
    EXPECT_NE(first, second);
    EXPECT_FALSE(FileUtil::exists(first)); // a name, not a file
    EXPECT_EQ(FileUtil::basename(first).substr(0, 10), ".saveData.");

    TmpDirOverride missing(path("missing").c_str());
    EXPECT_EQ(FileUtil::makeUniqueTempFilename("x"), "");
}

TEST(FileUtilNames, PathPieces)
{
    EXPECT_EQ(FileUtil::makePath("/root", "tag"), "/root/tag");
    EXPECT_EQ(FileUtil::makePath("/root/", "tag"), "/root/tag");
    EXPECT_EQ(FileUtil::makePath("/root//", "/tag"), "/root/tag");
    EXPECT_EQ(FileUtil::makePath("/", "tag"), "/tag");
    EXPECT_EQ(FileUtil::makePath("", "tag"), "tag");
    EXPECT_EQ(FileUtil::makePath("dir", ""), "dir");
    EXPECT_EQ(FileUtil::makePath("a", "b/c"), "a/b/c");

    EXPECT_EQ(FileUtil::basename("/a/b/c.ts"), "c.ts");
    EXPECT_EQ(FileUtil::basename("c.ts"), "c.ts");
    EXPECT_EQ(FileUtil::basename("a/b/"), "b");
    EXPECT_EQ(FileUtil::basename("/"), "/");
    EXPECT_EQ(FileUtil::basename("//"), "/");
    EXPECT_EQ(FileUtil::basename(""), "");

    EXPECT_EQ(FileUtil::getExtension("/a/index.2.data"), "data");
    EXPECT_EQ(FileUtil::getExtension("1500.ts"), "ts");
    EXPECT_EQ(FileUtil::getExtension("/a.d/file"), "");
    EXPECT_EQ(FileUtil::getExtension(".profile"), "");
    EXPECT_EQ(FileUtil::getExtension("name."), "");

    EXPECT_EQ(FileUtil::replaceExtension("/a/b.png", "jpg"), "/a/b.jpg");
    EXPECT_EQ(FileUtil::replaceExtension("/a.d/b", "jpg"), "/a.d/b.jpg");
    EXPECT_EQ(FileUtil::replaceExtension("b.tar.gz", "zip"), "b.tar.zip");
    EXPECT_EQ(FileUtil::replaceExtension("b.png", ""), "b");
    EXPECT_EQ(FileUtil::replaceExtension(".profile", "bak"), ".profile.bak");
}

TEST(FileUtilNames, FilenameRule)
{
    EXPECT_TRUE(FileUtil::filenameIsValid("movie"));
    EXPECT_TRUE(FileUtil::filenameIsValid(".saveData"));
    EXPECT_TRUE(FileUtil::filenameIsValid("..."));
    EXPECT_TRUE(FileUtil::filenameIsValid("a b~!"));
    EXPECT_FALSE(FileUtil::filenameIsValid(""));
    EXPECT_FALSE(FileUtil::filenameIsValid("."));
    EXPECT_FALSE(FileUtil::filenameIsValid(".."));
    EXPECT_FALSE(FileUtil::filenameIsValid("a/b"));
    EXPECT_FALSE(FileUtil::filenameIsValid(std::string("a\0b", 3)));
    EXPECT_FALSE(FileUtil::filenameIsValid("caf\xc3\xa9"));
    for (int b = 0; b < 256; ++b) {
        const bool expected = b >= 0x20 && b < 0x7f && b != '/' && b != '.';
        EXPECT_EQ(FileUtil::filenameIsValid(std::string(1, static_cast<char>(b))), expected)
            << "byte " << b;
    }
}
