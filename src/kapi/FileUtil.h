#ifndef KAPI_FILEUTIL_H
#define KAPI_FILEUTIL_H
/*
 * File-system helpers over POSIX calls. All static and stateless, so safe from any thread
 * (none changes the working directory). Paths are plain byte strings. A failing helper
 * returns false (or -1, or an empty result) and leaves errno as the failing call set it, for
 * the caller's "%m"; output parameters are left unchanged on failure.
 */
#include "kapi/KapiTypes.h"
#include "kapi/StringVector.h"

#include <functional>
#include <string>
#include <vector>

namespace Kapi {

class FileUtil
{
public:
    FileUtil() = delete;

    // Anything at `path` (symbolic links followed).
    static bool exists(const std::string& path);
    // access(R_OK) for the real user.
    static bool isReadable(const std::string& path);
    static bool isDirectory(const std::string& path);
    // Size in bytes; -1 when the path cannot be examined.
    static int64 size(const std::string& path);
    // Last modification, in microseconds since the epoch.
    static bool getModTime(const std::string& path, int64& outMicroseconds);
    // Negative, zero or positive as `a` was modified before, with or after `b`; a missing
    // file counts as older than any existing one, two missing ones as equal.
    static int compareModTime(const std::string& a, const std::string& b);

    // The whole file.
    static bool toString(const std::string& path, std::string& out);
    // Opens with O_NONBLOCK and reads what is available now (for FIFOs and device or
    // /proc files): stops at end of file or when a read would block.
    static bool toStringNonBlocking(const std::string& path, std::string& out);
    // The file as lines split at '\n'. The newline is removed, nothing else: a '\r' before it
    // stays in the line. A final newline does not start another line; an empty file gives
    // no lines.
    static bool toStringVector(const std::string& path, StringVector& out);
    static bool toStringVectorNonBlocking(const std::string& path, StringVector& out);
    static bool toBuffer(const std::string& path, std::vector<unsigned char>& out);

    // Creates or truncates the file (mode 0666 less the umask) and writes `text`.
    static bool write(const std::string& path, const std::string& text);
    // Copies the bytes and the permission bits of `from` over `to`.
    static bool copyFile(const std::string& from, const std::string& to);
    // A file, link or empty directory.
    static bool remove(const std::string& path);
    // A directory and everything below it; symbolic links are removed, not followed.
    static bool removeDir(const std::string& path);
    // One directory; false when it exists already (EEXIST).
    static bool makeDirectory(const std::string& path, unsigned mode = 0755);
    // The directory and its missing parents; true when it exists already as a directory.
    static bool ensureDirectory(const std::string& path, unsigned mode = 0755);

    // `dir` + "/" + `name` with exactly one slash between them; either part may be empty.
    static std::string makePath(const std::string& dir, const std::string& name);
    // The last path component, trailing slashes ignored ("a/b/" -> "b", "/" -> "/").
    static std::string basename(const std::string& path);
    // The text after the last '.' of the base name, without the dot; "" when there is none
    // or the only dot starts the name (".profile").
    static std::string getExtension(const std::string& path);
    // `path` with its extension replaced by `extension` (given without dot), or added when
    // it has none; an empty `extension` removes the extension and its dot.
    static std::string replaceExtension(const std::string& path, const std::string& extension);
    // False for "", "." and "..", and when any byte is '/', NUL, a control character
    // (below 0x20, or 0x7F) or has the high bit set.
    static bool filenameIsValid(const std::string& name);

    // $TMPDIR when set and not empty, else "/tmp".
    static std::string getTempDir();
    // A unique name "<tempdir>/<template>.XXXXXX" reserved by mkstemp, then closed and
    // removed: a name, not a file. "" on failure.
    static std::string makeUniqueTempFilename(const std::string& nameTemplate);

    // Called with the visited directory (as given), the entry's name, the entry's 0-based
    // number among those passed to the visitor, and the caller's context. Returning false
    // ends the visit.
    typedef std::function<bool(const std::string& dir, const std::string& name, unsigned number,
                               void* context)>
        Visitor;
    // Every regular file (resp. directory, "." and ".." excepted) directly in `dir`, in byte
    // order of the names; links are followed to decide the kind. False when `dir` cannot be
    // read; true otherwise, also when the visitor ended the visit early.
    static bool visitFilesInDir(const std::string& dir, const Visitor& visitor,
                                void* context = nullptr);
    static bool visitDirsInDir(const std::string& dir, const Visitor& visitor,
                               void* context = nullptr);

    // File-system figures of the file system that holds `path`, in bytes.
    struct Statfs
    {
        uint64 totalBytes = 0;     // size of the file system
        uint64 freeBytes = 0;      // free, including blocks reserved for the superuser
        uint64 availableBytes = 0; // free for unprivileged users
        uint64 blockSize = 0;
        uint64 totalFiles = 0; // inodes
        uint64 freeFiles = 0;
    };
    static bool getStatfs(const std::string& path, Statfs& out);

private:
    static bool readAll_i(const std::string& path, bool nonBlocking, std::string& out);
    static bool visit_i(const std::string& dir, bool wantDirectories, const Visitor& visitor,
                        void* context);
    static void splitLines_i(const std::string& text, StringVector& out);
};

} // namespace Kapi

#endif
