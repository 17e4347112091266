#include "common/trace/LogFile.h"

#include "common/trace/FilePlace.h"
#include "common/trace/TraceLock.h"
#include "include/Retried.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

namespace {
CDescriptor openReporting(const CFilePlace& place, const char* path, int mode,
                          struct stat* found = nullptr) noexcept
{
    CDescriptor file = openToWrite(place, mode, found);
    if (!file && errno == ELOOP)
        reportRefused(path);
    return file;
}

/// Gives the piece of a line that a full disk let through a line end, in place of its last bytes: the rest,
/// were it written later, would stand behind what others wrote meanwhile, and the next line behind the piece.
void endPiece(int file, std::string_view text, size_t written) noexcept
{
    const std::string_view lineEnd = text.ends_with("\r\n") ? "\r\n" : "\n";
    const size_t length = std::min(written, lineEnd.size());
    const off_t end = lseek(file, 0, SEEK_CUR);
    if (end < 0 || fcntl(file, F_SETFL, 0) != 0) // a file opened for appending is written at its end only
        return;
    [[maybe_unused]] const ssize_t ignored =
        pwrite(file, lineEnd.data() + lineEnd.size() - length, length, end - static_cast<off_t>(length));
}

/// A single write to a file opened for appending is atomic among all threads and processes that write it so:
/// what a lock on a stream gives within one process, and a system call or two less.
bool writeWhole(int file, std::string_view text) noexcept
{
    const ssize_t written = retried([&] { return write(file, text.data(), text.size()); });
    if (written > 0 && static_cast<size_t>(written) < text.size())
        endPiece(file, text, static_cast<size_t>(written));
    return written == static_cast<ssize_t>(text.size());
}

bool isAbove(const struct stat& file, unsigned limitKiB) noexcept
{
    return file.st_size / 1024 > static_cast<off_t>(limitKiB);
}

/// The name of a file that is rolled over now: "dir/vtx_log_c_2026.02.15_10.20.30.txt".
bool ReCalculateName(const char* path, char* name, size_t size) noexcept
{
    const char* const dot = std::strrchr(path, '.');
    const char* const extension = dot ? dot : ".txt";
    const int length = static_cast<int>(dot ? dot - path : static_cast<ptrdiff_t>(std::strlen(path)));
    const struct tm now = localTime(std::time(nullptr));
    char stamp[96];
    std::snprintf(stamp, sizeof stamp, "%04d.%02d.%02d_%02d.%02d.%02d", now.tm_year + 1900, now.tm_mon,
                  now.tm_mday, now.tm_hour, now.tm_min, now.tm_sec);
    const int needed = std::snprintf(name, size, "%.*s%s%s%s", length, path, "_c_", stamp, extension);
    return needed >= 0 && static_cast<size_t>(needed) < size;
}

/// Renames without ever replacing a file. @return 0, or the error
int moveAside(const CFilePlace& file, const CFilePlace& free) noexcept
{
    if (renameat2(file.directory(), file.name(), free.directory(), free.name(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    if (free.isTaken()) // a file system that knows no such renaming
        return EEXIST;
    return file.moveTo(free) ? 0 : errno;
}

/// Remembers that a file's name of this second is taken, so that a burst of lines does not try it at each of
/// them.
class CTakenName {
public:
    bool isTaken(const struct stat& file) const noexcept
    {
        return m_mark.load(std::memory_order_relaxed) == mark(file);
    }
    void take(const struct stat& file) noexcept { m_mark.store(mark(file), std::memory_order_relaxed); }

private:
    static uint64_t mark(const struct stat& file) noexcept
    {
        return static_cast<uint64_t>(file.st_ino) << 32 | static_cast<uint32_t>(std::time(nullptr));
    }
    std::atomic<uint64_t> m_mark{0};
};
constinit CTakenName s_takenName;

/// Renames the file that is open as `file`, unless another thread or process is doing so or has done it: who
/// holds the lock of the file that still has its name does the renaming. Where there are no locks (some
/// network file systems) two may try at once, and one of them fails. Names have whole seconds; where that of
/// this second is taken, the file just grows until the next one.
void rollOver(const char* path, const CFilePlace& place, int file, const struct stat& opened) noexcept
{
    struct stat named;
    char name[1024];
    const bool isOthers = flock(file, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK;
    if (isOthers || fstatat(place.directory(), place.name(), &named, AT_SYMLINK_NOFOLLOW) != 0 ||
        named.st_ino != opened.st_ino || named.st_dev != opened.st_dev)
        return;
    const int error =
        ReCalculateName(path, name, sizeof name) ? moveAside(place, CFilePlace(name)) : ENAMETOOLONG;
    if (error == EEXIST)
        s_takenName.take(opened);
    else if (error != 0)
        std::fputs("Rename failed\n", stderr);
}

/// Opens the file for one more line, in place of one that has grown above the limit.
CDescriptor openWithinLimit(const char* path, unsigned limitKiB) noexcept
{
    const CFilePlace place(path);
    struct stat status;
    CDescriptor file = openReporting(place, path, O_APPEND, &status);
    if (!file || limitKiB == noSizeLimit || !isAbove(status, limitKiB) || s_takenName.isTaken(status))
        return file;
    rollOver(path, place, file.get(), status);
    file = CDescriptor(); // gives up the lock
    return openReporting(place, path, O_APPEND);
}

void printInstead(const char* why, std::string_view text) noexcept
{
    std::fputs(why, stderr);
    std::fwrite(text.data(), 1, text.size(), stdout);
}
} // namespace

bool WriteMessage(const char* path, std::string_view text, unsigned limitKiB) noexcept
{
    const CDescriptor file = openWithinLimit(path, limitKiB);
    if (!file)
        printInstead("Error writing to the file (2).\n", text);
    else if (!writeWhole(file.get(), text))
        printInstead("Error writing to the file (1).\n", text);
    return static_cast<bool>(file);
}

bool appendToFile(const char* path, std::string_view text) noexcept
{
    const CDescriptor file = openReporting(CFilePlace(path), path, O_APPEND);
    return file && writeWhole(file.get(), text);
}

void emptyFile(const char* path) noexcept
{
    openReporting(CFilePlace(path), path, O_TRUNC);
}
