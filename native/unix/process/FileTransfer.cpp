#include "unix/process/FileTransfer.h"

#include "common/trace/CTracer.h"
#include "common/trace/ErrorString.h"
#include "include/Retried.h"
#include "include/ScopedFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace fs = std::filesystem;

namespace {
constexpr mode_t permissionBits = 0777;
constexpr mode_t allBits = 07777;
constexpr int mostLinks = 40; ///< in a row, as the kernel has it

bool report(const char* operation, const char* from, const char* to)
{
    CTracer::debugTrace("%s: %s to %s: %s", operation, from, to, CErrorString(errno).text());
    return false;
}

bool refuse(int error)
{
    errno = error;
    return false;
}

/// A new file in the directory of `target` that takes its place or disappears.
class CReplacement {
public:
    explicit CReplacement(const std::string& target)
        : m_path(target.substr(0, target.rfind('/') + 1) + ".gx-XXXXXX"),
          m_file(mkostemp(m_path.data(), O_CLOEXEC)), m_placed(!m_file)
    {
    }
    ~CReplacement()
    {
        if (!m_placed)
            unlink(m_path.c_str());
    }
    CReplacement(const CReplacement&) = delete;
    CReplacement& operator=(const CReplacement&) = delete;

    int file() const { return m_file.get(); }
    bool takePlaceOf(const std::string& target)
    {
        return m_placed = fsync(m_file.get()) == 0 && rename(m_path.c_str(), target.c_str()) == 0;
    }

private:
    std::string m_path;
    CDescriptor m_file;
    bool m_placed; ///< nothing is left to remove
};

bool writeAll(int to, const char* bytes, size_t size)
{
    while (size > 0) {
        const ssize_t written = retried([&] { return write(to, bytes, size); });
        if (written < 0)
            return false;
        bytes += written;
        size -= static_cast<size_t>(written);
    }
    return true;
}

bool copyThroughMemory(int from, int to)
{
    std::array<char, 1 << 16> chunk;
    for (;;) {
        const ssize_t size = retried([&] { return read(from, chunk.data(), chunk.size()); });
        if (size <= 0)
            return size == 0;
        if (!writeAll(to, chunk.data(), static_cast<size_t>(size)))
            return false;
    }
}

/// The kernel copies, where the file systems can do that; from where it stops, the rest goes through memory.
/// That covers files whose size reads as 0 though they have content, as in /proc.
bool copyContent(int from, int to)
{
    while (copy_file_range(from, nullptr, to, nullptr, SSIZE_MAX & ~0xFFF, 0) > 0) {
    }
    return copyThroughMemory(from, to);
}

bool copyAttributes(const struct stat& source, int to, bool withOwner)
{
    if (withOwner && fchown(to, source.st_uid, source.st_gid) != 0 && errno != EPERM)
        return false;
    struct stat made;
    if (fstat(to, &made) != 0)
        return false;
    const bool sameOwner = made.st_uid == source.st_uid && made.st_gid == source.st_gid;
    const timespec times[] = {source.st_atim, source.st_mtim};
    return fchmod(to, source.st_mode & (withOwner && sameOwner ? allBits : permissionBits)) == 0 &&
           futimens(to, times) == 0;
}

/// @param linkFlag  O_NOFOLLOW refuses a source that is a symbolic link
bool replace(const char* from, const std::string& target, int linkFlag, bool withOwner)
{
    // A pipe in the file's place must not block the call.
    const CDescriptor source(open(from, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY | linkFlag));
    struct stat status;
    if (!source || fstat(source.get(), &status) != 0)
        return false;
    if (!S_ISREG(status.st_mode))
        return refuse(S_ISDIR(status.st_mode) ? EISDIR : EINVAL);
    CReplacement copy(target);
    return copy.file() >= 0 && copyContent(source.get(), copy.file()) &&
           copyAttributes(status, copy.file(), withOwner) && copy.takePlaceOf(target);
}

bool isSameFile(const struct stat& one, const struct stat& other)
{
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

/// Whether a link lies where everybody may put one, and was put there by neither this user nor the
/// directory's owner: it leads where somebody else wants a file to be written.
bool isTrap(const fs::path& link, const struct stat& status)
{
    constexpr mode_t shared = S_ISVTX | S_IWOTH;
    struct stat directory;
    if (stat(link.has_parent_path() ? link.parent_path().c_str() : ".", &directory) != 0)
        return true;
    return (directory.st_mode & shared) == shared && status.st_uid != geteuid() &&
           status.st_uid != directory.st_uid;
}

/// The name of the file itself, where `to` is a link to one. Empty when there is something that is no file.
std::string targetOfCopy(const char* to)
{
    fs::path path = to;
    struct stat status;
    if (lstat(to, &status) != 0)
        return to;
    for (int links = 0; S_ISLNK(status.st_mode); ++links) {
        errno = links == mostLinks ? ELOOP : EACCES;
        std::error_code error;
        if (links == mostLinks || isTrap(path, status))
            return {};
        path = path.parent_path() / fs::read_symlink(path, error);
        if (error || lstat(path.c_str(), &status) != 0)
            return {};
    }
    if (S_ISREG(status.st_mode))
        return path;
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return {};
}

bool copy(const char* from, const char* to)
{
    struct stat source, present;
    if (stat(from, &source) != 0)
        return false;
    if (S_ISREG(source.st_mode) && stat(to, &present) == 0 && isSameFile(source, present))
        return true;
    const std::string target = targetOfCopy(to);
    return !target.empty() && replace(from, target, 0, false);
}

bool isFileOrLink(const struct stat& status)
{
    return S_ISREG(status.st_mode) || S_ISLNK(status.st_mode);
}

/// Whether two paths of one file are the same entry of the same directory.
bool isSameEntry(const fs::path& one, const fs::path& other)
{
    const auto directoryOf = [](const fs::path& path) {
        std::error_code error;
        return fs::canonical(path.has_parent_path() ? path.parent_path() : ".", error);
    };
    return one.filename() == other.filename() && directoryOf(one) == directoryOf(other);
}

bool move(const char* from, const char* to)
{
    struct stat source, present;
    if (lstat(from, &source) != 0)
        return false;
    const bool isPresent = lstat(to, &present) == 0;
    if (!isFileOrLink(source) || (isPresent && !isFileOrLink(present)))
        return refuse(EINVAL);
    if (isPresent && isSameFile(source, present)) // where rename would leave both names of one file
        return isSameEntry(from, to) || unlink(from) == 0;
    if (rename(from, to) == 0)
        return true;
    return errno == EXDEV && replace(from, to, O_NOFOLLOW, true) && unlink(from) == 0;
}

bool isPath(const char* path)
{
    return path && *path;
}
} // namespace

bool copyFile(const char* from, const char* to)
{
    return isPath(from) && isPath(to) && (copy(from, to) || report("copyFile", from, to));
}

bool moveFile(const char* from, const char* to)
{
    return isPath(from) && isPath(to) && (move(from, to) || report("moveFile", from, to));
}
