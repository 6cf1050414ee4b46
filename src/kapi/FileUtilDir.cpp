// FileUtil: directories (creation, recursive removal, visits), temporary names and file-system
// figures. A visit reads the whole directory before calling the visitor, so the visitor may
// create or remove entries without disturbing the listing; the working directory is never
// changed, which keeps these helpers safe beside other threads.
#include "kapi/FileUtil.h"

#include "kapi/StringUtil.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace Kapi {

namespace {

// Closes the directory stream on every path out without disturbing errno.
class DirCloser
{
public:
    explicit DirCloser(DIR* dir) : mDir(dir) {}
    ~DirCloser()
    {
        if (mDir != nullptr) {
            const int saved = errno;
            closedir(mDir);
            errno = saved;
        }
    }
    DirCloser(const DirCloser&) = delete;
    DirCloser& operator=(const DirCloser&) = delete;

    DIR* get() const { return mDir; }

private:
    DIR* mDir;
};

bool isDotOrDotDot(const char* name)
{
    return name[0] == '.' && (name[1] == '\0' || (name[1] == '.' && name[2] == '\0'));
}

// The names in `dir` ("." and ".." left out), in directory order.
bool listNames(const std::string& dir, std::vector<std::string>& names,
               std::vector<unsigned char>& types)
{
    DirCloser stream(opendir(dir.c_str()));
    if (stream.get() == nullptr)
        return false;
    for (;;) {
        errno = 0;
        const struct dirent* entry = readdir(stream.get());
        if (entry == nullptr)
            return errno == 0;
        if (isDotOrDotDot(entry->d_name))
            continue;
        names.push_back(entry->d_name);
        types.push_back(entry->d_type);
    }
}

} // namespace

bool FileUtil::makeDirectory(const std::string& path, unsigned mode)
{
    return ::mkdir(path.c_str(), static_cast<mode_t>(mode)) == 0;
}

bool FileUtil::ensureDirectory(const std::string& path, unsigned mode)
{
    if (path.empty()) {
        errno = ENOENT;
        return false;
    }
    // Create every prefix that ends before a slash, then the whole path; a prefix that
    // exists already (as anything) is left to the final check to judge.
    for (size_t slash = path.find('/', 1); slash != std::string::npos;
         slash = path.find('/', slash + 1)) {
        if (path[slash - 1] == '/')
            continue;
        if (::mkdir(path.substr(0, slash).c_str(), static_cast<mode_t>(mode)) != 0 &&
            errno != EEXIST)
            return false;
    }
    if (::mkdir(path.c_str(), static_cast<mode_t>(mode)) == 0)
        return true;
    if (errno != EEXIST)
        return false;
    if (isDirectory(path))
        return true;
    errno = ENOTDIR;
    return false;
}

bool FileUtil::removeDir(const std::string& path)
{
    struct stat info;
    if (::lstat(path.c_str(), &info) != 0)
        return false;
    if (!S_ISDIR(info.st_mode)) {
        errno = ENOTDIR;
        return false;
    }
    std::vector<std::string> names;
    std::vector<unsigned char> types;
    if (!listNames(path, names, types))
        return false;
    for (const std::string& name : names) {
        const std::string child = makePath(path, name);
        struct stat childInfo;
        if (::lstat(child.c_str(), &childInfo) != 0)
            return false;
        if (S_ISDIR(childInfo.st_mode)) {
            if (!removeDir(child))
                return false;
        } else if (::unlink(child.c_str()) != 0) {
            return false;
        }
    }
    return ::rmdir(path.c_str()) == 0;
}

std::string FileUtil::getTempDir()
{
    const char* dir = getenv("TMPDIR");
    return (dir != nullptr && dir[0] != '\0') ? std::string(dir) : std::string("/tmp");
}

std::string FileUtil::makeUniqueTempFilename(const std::string& nameTemplate)
{
    std::string name =
        StringUtil::newPrintf("%s/%s.XXXXXX", getTempDir().c_str(), nameTemplate.c_str());
    const int fd = mkstemp(name.data());
    if (fd < 0)
        return std::string();
    ::close(fd);
    ::unlink(name.c_str());
    return name;
}

bool FileUtil::visit_i(const std::string& dir, bool wantDirectories, const Visitor& visitor,
                       void* context)
{
    std::vector<std::string> names;
    std::vector<unsigned char> types;
    if (!listNames(dir, names, types))
        return false;
    std::vector<std::string> chosen;
    for (size_t i = 0; i < names.size(); ++i) {
        bool isDir = types[i] == DT_DIR;
        bool isFile = types[i] == DT_REG;
        if (types[i] == DT_LNK || types[i] == DT_UNKNOWN) {
            struct stat info;
            if (::stat(makePath(dir, names[i]).c_str(), &info) != 0)
                continue; // a dangling link is neither
            isDir = S_ISDIR(info.st_mode);
            isFile = S_ISREG(info.st_mode);
        }
        if (wantDirectories ? isDir : isFile)
            chosen.push_back(names[i]);
    }
    std::sort(chosen.begin(), chosen.end());
    unsigned number = 0;
    for (const std::string& name : chosen)
        if (!visitor(dir, name, number++, context))
            break;
    return true;
}

bool FileUtil::visitFilesInDir(const std::string& dir, const Visitor& visitor, void* context)
{
    return visit_i(dir, false, visitor, context);
}

bool FileUtil::visitDirsInDir(const std::string& dir, const Visitor& visitor, void* context)
{
    return visit_i(dir, true, visitor, context);
}

bool FileUtil::getStatfs(const std::string& path, Statfs& out)
{
    struct statvfs info;
    if (::statvfs(path.c_str(), &info) != 0)
        return false;
    // The block counts may be 32 bits wide on the device: widen before multiplying.
    const uint64 unit = info.f_frsize != 0 ? info.f_frsize : info.f_bsize;
    out.totalBytes = static_cast<uint64>(info.f_blocks) * unit;
    out.freeBytes = static_cast<uint64>(info.f_bfree) * unit;
    out.availableBytes = static_cast<uint64>(info.f_bavail) * unit;
    out.blockSize = unit;
    out.totalFiles = static_cast<uint64>(info.f_files);
    out.freeFiles = static_cast<uint64>(info.f_ffree);
    return true;
}

} // namespace Kapi
