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
    // Writes `text` to `name` and gives its path.
    std::string file(const std::string& name, const std::string& text = "x") const
    {
        EXPECT_TRUE(FileUtil::write(path(name), text)) << name;
        return path(name);
    }
    std::string read(const std::string& name) const
    {
        std::string text = "<unreadable>";
        EXPECT_TRUE(FileUtil::toString(path(name), text)) << name;
        return text;
    }

    std::string mDir;
};

// The errno a failing call leaves, or -1 when the call succeeds.
int errnoAfter(bool succeeded)
{
    return succeeded ? -1 : errno;
}
#define FAILURE_ERRNO(call) (errno = 0, errnoAfter(call))

} // namespace

TEST_F(FileUtilTest, WriteAndReadBackBytesAndLines)
{
    std::string bytes;
    for (int b = 0; b < 256; ++b)
        bytes += static_cast<char>(b);
    file("bytes", bytes);
    EXPECT_TRUE(FileUtil::exists(path("bytes")));
    EXPECT_EQ(FileUtil::size(path("bytes")), 256);
    EXPECT_EQ(read("bytes"), bytes);
    std::vector<unsigned char> buffer;
    ASSERT_TRUE(FileUtil::toBuffer(path("bytes"), buffer));
    EXPECT_EQ(std::string(buffer.begin(), buffer.end()), bytes);
    file("bytes", "short");
    EXPECT_EQ(read("bytes"), "short");
    file("empty", "");
    EXPECT_EQ(read("empty"), "");
    EXPECT_EQ(FileUtil::size(path("empty")), 0);
    const std::string large(300000, 'q');
    file("large", large);
    EXPECT_EQ(read("large"), large);

    // Lines split at '\n' only; a final newline ends the last line.
    const std::pair<const char*, StringVector> rows[] = {
        {"a\r\nb\n\n c\nlast", {"a\r", "b", "", " c", "last"}},
        {"x\n", {"x"}},
        {"\n\n", {"", ""}},
        {"", {}}};
    for (const auto& [text, lines] : rows) {
        StringVector got{"stale"};
        ASSERT_TRUE(FileUtil::toStringVector(file("lines", text), got));
        EXPECT_EQ(got, lines) << text;
        ASSERT_TRUE(FileUtil::toStringVectorNonBlocking(path("lines"), got));
        EXPECT_EQ(got, lines) << text;
    }
}

TEST_F(FileUtilTest, FailuresKeepErrnoAndOutputs)
{
    const std::string missing = path("missing");
    std::string text = "keep";
    EXPECT_EQ(FAILURE_ERRNO(FileUtil::toString(missing, text)), ENOENT);
    EXPECT_FALSE(FileUtil::toStringNonBlocking(missing, text));
    EXPECT_EQ(text, "keep");
    StringVector lines{"keep"};
    EXPECT_FALSE(FileUtil::toStringVector(missing, lines));
    EXPECT_EQ(lines, (StringVector{"keep"}));
    std::vector<unsigned char> buffer{1};
    EXPECT_FALSE(FileUtil::toBuffer(missing, buffer));
    EXPECT_EQ(buffer.size(), 1u);
    EXPECT_FALSE(FileUtil::exists(missing) || FileUtil::isReadable(missing) ||
                 FileUtil::isDirectory(missing));
    errno = 0;
    EXPECT_EQ(FileUtil::size(missing), -1);
    EXPECT_EQ(errno, ENOENT);
    int64 time = 5;
    EXPECT_FALSE(FileUtil::getModTime(missing, time));
    EXPECT_EQ(time, 5);
    EXPECT_EQ(FAILURE_ERRNO(FileUtil::remove(missing)), ENOENT);
    EXPECT_FALSE(FileUtil::removeDir(missing));
    EXPECT_FALSE(FileUtil::copyFile(missing, path("copy")));
    EXPECT_FALSE(FileUtil::exists(path("copy")));
    EXPECT_EQ(FAILURE_ERRNO(FileUtil::write(path("no/such/dir"), "x")), ENOENT);

    // Directories are not files, files not directories.
    EXPECT_EQ(FAILURE_ERRNO(FileUtil::toString(mDir, text)), EISDIR);
    EXPECT_EQ(text, "keep");
    EXPECT_TRUE(FileUtil::isDirectory(mDir));
    EXPECT_FALSE(FileUtil::isDirectory(file("file")));
    EXPECT_EQ(FAILURE_ERRNO(FileUtil::removeDir(path("file"))), ENOTDIR);
    EXPECT_TRUE(FileUtil::exists(path("file")));
    EXPECT_EQ(FAILURE_ERRNO(FileUtil::toString(path("file/below"), text)), ENOTDIR);
}

TEST_F(FileUtilTest, PermissionErrorsAreReported)
{
    // Runs in a child that drops root rights, since the superuser bypasses permission bits.
    const std::string secret = file("secret", "hidden");
    ASSERT_EQ(chmod(secret.c_str(), 0), 0);
    ASSERT_TRUE(FileUtil::makeDirectory(path("locked"), 0555));
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
    EXPECT_EQ(read("secret"), "hidden");
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
    const std::string source = file("source", std::string("a\0b", 3));
    ASSERT_EQ(chmod(source.c_str(), 0640), 0);
    ASSERT_TRUE(FileUtil::copyFile(source, file("target", "old and longer")));
    EXPECT_EQ(read("target"), std::string("a\0b", 3));
    struct stat info;
    ASSERT_EQ(stat(path("target").c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0640u);

    EXPECT_EQ(FAILURE_ERRNO(FileUtil::copyFile(source, source)), EINVAL);
    ASSERT_EQ(symlink(source.c_str(), path("alias").c_str()), 0);
    EXPECT_FALSE(FileUtil::copyFile(path("alias"), source));
    EXPECT_EQ(read("source").size(), 3u);
}

TEST_F(FileUtilTest, MakeEnsureAndRemoveDirectories)
{
    EXPECT_TRUE(FileUtil::makeDirectory(path("d")));
    EXPECT_EQ(FAILURE_ERRNO(FileUtil::makeDirectory(path("d"))), EEXIST);
    EXPECT_FALSE(FileUtil::makeDirectory(path("x/y")));
    EXPECT_TRUE(FileUtil::ensureDirectory(path("a/b//c/")));
    EXPECT_TRUE(FileUtil::isDirectory(path("a/b/c")));
    EXPECT_TRUE(FileUtil::ensureDirectory(path("a/b/c")));
    EXPECT_TRUE(FileUtil::ensureDirectory(mDir));
    for (const std::string& name : {file("plain"), path("plain/sub")}) {
        EXPECT_EQ(FAILURE_ERRNO(FileUtil::ensureDirectory(name)), ENOTDIR) << name;
    }
    EXPECT_FALSE(FileUtil::ensureDirectory(""));

    // Removal is recursive and does not follow links.
    ASSERT_TRUE(FileUtil::ensureDirectory(path("tree/a/b")));
    ASSERT_TRUE(FileUtil::ensureDirectory(path("outside")));
    for (const char* name : {"outside/keep", "tree/top", "tree/a/b/deep", "tree/a/.hidden"})
        file(name);
    ASSERT_EQ(symlink(path("outside").c_str(), path("tree/a/link").c_str()), 0);
    ASSERT_EQ(symlink("nowhere", path("tree/dangling").c_str()), 0);
    EXPECT_TRUE(FileUtil::removeDir(path("tree")));
    EXPECT_FALSE(FileUtil::exists(path("tree")));
    EXPECT_TRUE(FileUtil::exists(path("outside/keep")));
    EXPECT_TRUE(FileUtil::remove(path("d")));
    EXPECT_TRUE(FileUtil::remove(path("outside/keep")));
    EXPECT_FALSE(FileUtil::exists(path("outside/keep")));
}

TEST_F(FileUtilTest, ModificationTimesAndStatfs)
{
    const std::pair<const char*, long> stamps[] = {{"old", 500000000L}, {"new", 600000000L}};
    for (const auto& [name, nanoseconds] : stamps) {
        const struct timespec times[2] = {{1000000000, nanoseconds}, {1000000000, nanoseconds}};
        ASSERT_EQ(utimensat(AT_FDCWD, file(name).c_str(), times, 0), 0);
    }
    int64 time = 0;
    ASSERT_TRUE(FileUtil::getModTime(path("old"), time));
    EXPECT_EQ(time, 1000000000500000LL);
    EXPECT_LT(FileUtil::compareModTime(path("old"), path("new")), 0);
    EXPECT_GT(FileUtil::compareModTime(path("new"), path("old")), 0);
    EXPECT_EQ(FileUtil::compareModTime(path("old"), path("old")), 0);
    EXPECT_LT(FileUtil::compareModTime(path("missing"), path("old")), 0);
    EXPECT_GT(FileUtil::compareModTime(path("old"), path("missing")), 0);
    EXPECT_EQ(FileUtil::compareModTime(path("missing"), path("missing2")), 0);

    FileUtil::Statfs figures, untouched;
    ASSERT_TRUE(FileUtil::getStatfs(mDir, figures));
    EXPECT_TRUE(figures.blockSize > 0 && figures.totalBytes > 0 &&
                figures.freeBytes <= figures.totalBytes &&
                figures.availableBytes <= figures.freeBytes);
    untouched.blockSize = 7;
    EXPECT_FALSE(FileUtil::getStatfs(path("missing"), untouched));
    EXPECT_EQ(untouched.blockSize, 7u);
}

TEST_F(FileUtilTest, VisitsInNameOrderAndStopWhenAsked)
{
    for (const char* name : {"b.ts", "a.ts", "c.data", ".hidden"})
        file(name);
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
        return name != "b.stop";
    };
    ASSERT_TRUE(FileUtil::visitFilesInDir(mDir, record, &context));
    EXPECT_EQ(seen, (std::vector<std::string>{".hidden", "a.ts", "b.ts", "c.data", "link.ts"}));
    seen.clear();
    ASSERT_TRUE(FileUtil::visitDirsInDir(mDir, record, &context));
    EXPECT_EQ(seen, (std::vector<std::string>{"movie0", "movie1", "movie2"}));
    seen.clear();
    file("b.stop");
    EXPECT_TRUE(FileUtil::visitFilesInDir(mDir, record, &context));
    EXPECT_EQ(seen, (std::vector<std::string>{".hidden", "a.ts", "b.stop"}));

    // The listing is taken before the visitor runs, so removing entries is safe.
    unsigned calls = 0;
    auto removeAll = [&](const std::string& dir, const std::string& name, unsigned, void*) {
        ++calls;
        return FileUtil::remove(FileUtil::makePath(dir, name));
    };
    EXPECT_TRUE(FileUtil::visitFilesInDir(mDir, removeAll));
    EXPECT_EQ(calls, 6u);
    EXPECT_EQ(FAILURE_ERRNO(FileUtil::visitDirsInDir(path("missing"), removeAll)), ENOENT);
    EXPECT_TRUE(FileUtil::visitDirsInDir(path("movie1"), removeAll));
    EXPECT_EQ(calls, 6u);
}

TEST_F(FileUtilTest, TempDirAndUniqueNames)
{
    const char* old = getenv("TMPDIR");
    const std::string saved = old != nullptr ? old : "";
    unsetenv("TMPDIR");
    EXPECT_EQ(FileUtil::getTempDir(), "/tmp");
    setenv("TMPDIR", "", 1);
    EXPECT_EQ(FileUtil::getTempDir(), "/tmp");
    setenv("TMPDIR", mDir.c_str(), 1);
    EXPECT_EQ(FileUtil::getTempDir(), mDir);
    const std::string first = FileUtil::makeUniqueTempFilename(".saveData");
    const std::string second = FileUtil::makeUniqueTempFilename(".saveData");
    const std::string prefix = mDir + "/.saveData.";
    ASSERT_EQ(first.size(), prefix.size() + 6);
    EXPECT_EQ(first.substr(0, prefix.size()), prefix);
    EXPECT_NE(first, second);
    EXPECT_FALSE(FileUtil::exists(first)); // a name, not a file
    setenv("TMPDIR", path("missing").c_str(), 1);
    EXPECT_EQ(FileUtil::makeUniqueTempFilename("x"), "");
    if (old != nullptr)
        setenv("TMPDIR", saved.c_str(), 1);
    else
        unsetenv("TMPDIR");
}

TEST(FileUtilNames, PathPiecesAndTheFilenameRule)
{
    EXPECT_EQ(FileUtil::makePath("/root", "tag"), "/root/tag");
    EXPECT_EQ(FileUtil::makePath("/root//", "/tag"), "/root/tag");
    EXPECT_EQ(FileUtil::makePath("/", "tag"), "/tag");
    EXPECT_EQ(FileUtil::makePath("", "tag"), "tag");
    EXPECT_EQ(FileUtil::makePath("dir", ""), "dir");
    EXPECT_EQ(FileUtil::makePath("a", "b/c"), "a/b/c");
    EXPECT_EQ(FileUtil::basename("/a/b/c.ts"), "c.ts");
    EXPECT_EQ(FileUtil::basename("c.ts"), "c.ts");
    EXPECT_EQ(FileUtil::basename("a/b/"), "b");
    EXPECT_EQ(FileUtil::basename("//"), "/");
    EXPECT_EQ(FileUtil::basename(""), "");
    EXPECT_EQ(FileUtil::getExtension("/a/index.2.data"), "data");
    for (const char* none : {"/a.d/file", ".profile", "name."})
        EXPECT_EQ(FileUtil::getExtension(none), "") << none;
    EXPECT_EQ(FileUtil::replaceExtension("/a/b.png", "jpg"), "/a/b.jpg");
    EXPECT_EQ(FileUtil::replaceExtension("/a.d/b", "jpg"), "/a.d/b.jpg");
    EXPECT_EQ(FileUtil::replaceExtension("b.tar.gz", "zip"), "b.tar.zip");
    EXPECT_EQ(FileUtil::replaceExtension("b.png", ""), "b");
    EXPECT_EQ(FileUtil::replaceExtension(".profile", "bak"), ".profile.bak");

    for (const char* name : {"movie", ".saveData", "...", "a b~!"})
        EXPECT_TRUE(FileUtil::filenameIsValid(name)) << name;
    const std::string invalid[] = {"", ".", "..", "a/b", "caf\xc3\xa9", std::string("a\0b", 3)};
    for (const std::string& name : invalid)
        EXPECT_FALSE(FileUtil::filenameIsValid(name)) << name;
    for (int b = 0; b < 256; ++b) {
        const bool expected = b >= 0x20 && b < 0x7f && b != '/' && b != '.';
        EXPECT_EQ(FileUtil::filenameIsValid(std::string(1, static_cast<char>(b))), expected)
            << "byte " << b;
    }
}
