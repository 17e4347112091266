#include "common/trace/FilePlace.h"

#include "common/trace/SudoUser.h"
#include "include/Retried.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>

namespace {
constexpr int directoryFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;

/// The directory from which on no link is followed. @param rest  receives the path from there on
CDescriptor startOf(const char* path, const char*& rest) noexcept
{
    const char* const home = std::getenv("HOME");
    const size_t length = home ? std::strlen(home) : 0;
    const bool isBelow = length > 0 && std::strncmp(path, home, length) == 0 && path[length] == '/';
    rest = isBelow ? path + length : path;
    return CDescriptor(open(isBelow ? home : *path == '/' ? "/" : ".", directoryFlags));
}

bool isRegularWithOneName(const struct stat& file) noexcept
{
    return S_ISREG(file.st_mode) && file.st_nlink == 1;
}

bool isUsable(int file, struct stat* found = nullptr) noexcept
{
    struct stat own;
    struct stat& status = found ? *found : own;
    if (fstat(file, &status) != 0 || !isRegularWithOneName(status))
        return false;
    return status.st_uid == geteuid() || (isUnderSudo() && status.st_uid == sudoUser().user);
}

CDescriptor refused(CDescriptor) noexcept
{
    errno = ELOOP;
    return CDescriptor();
}

/// What open says about a link, and about a pipe that nobody reads.
bool isOddFile(int error) noexcept
{
    return error == ELOOP || error == ENXIO;
}

int openRetrying(const CFilePlace& place, int flags) noexcept
{
    errno = place.error();
    if (errno != 0)
        return -1;
    return retried([&] {
        return openat(place.directory(), place.name(), flags | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0600);
    });
}

FILE* streamOf(CDescriptor file, const char* mode) noexcept
{
    FILE* const stream = file ? fdopen(file.get(), mode) : nullptr;
    if (stream)
        file.release();
    return stream;
}
} // namespace

bool isUnderSudo() noexcept
{
    return geteuid() == 0 && std::getenv("SUDO_USER");
}

CFilePlace::CFilePlace(const char* path) noexcept : m_name(path)
{
    if (isUnderSudo())
        walk(path);
}

void CFilePlace::walk(const char* path) noexcept
{
    m_otherwise = -1;
    const char* rest;
    m_directory = startOf(path, rest);
    const size_t length = std::string_view(rest).find_last_not_of('/') + 1;
    m_name = m_path;
    std::snprintf(m_path, sizeof m_path, "%.*s", static_cast<int>(std::min<size_t>(length, PATH_MAX)), rest);
    char* step = m_path + std::strspn(m_path, "/");
    for (char* end; m_directory && (end = std::strchr(step, '/')); step = end + std::strspn(end, "/")) {
        char* const next = end++;
        *next = '\0';
        m_directory = CDescriptor(openat(m_directory.get(), step, directoryFlags | O_NOFOLLOW));
    }
    m_name = step;
    if (!m_directory)
        m_error = errno == ENOTDIR ? ELOOP : errno;
    else if (length >= sizeof m_path)
        m_error = ENAMETOOLONG;
    if (m_error != 0)
        m_directory = CDescriptor();
}

bool CFilePlace::isTaken() const noexcept
{
    struct stat status;
    return fstatat(directory(), name(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool CFilePlace::remove() const noexcept
{
    return unlinkat(directory(), name(), 0) == 0 ||
           (errno == EISDIR && unlinkat(directory(), name(), AT_REMOVEDIR) == 0);
}

bool CFilePlace::moveTo(const CFilePlace& place) const noexcept
{
    return renameat(directory(), name(), place.directory(), place.name()) == 0;
}

CDescriptor openToWrite(const CFilePlace& place, int mode, struct stat* found) noexcept
{
    CDescriptor file(openRetrying(place, O_WRONLY | O_CREAT | O_NOFOLLOW | (mode & ~O_TRUNC)));
    if (!file && !isOddFile(errno))
        return file;
    if (!file || !isUsable(file.get(), found))
        return refused(std::move(file));
    if ((mode & O_TRUNC) != 0 && ftruncate(file.get(), 0) != 0)
        return CDescriptor();
    return file;
}

FILE* openStream(const char* path, int mode) noexcept
{
    return streamOf(openToWrite(CFilePlace(path), mode), (mode & O_APPEND) != 0 ? "a" : "w");
}

FILE* openRegularFile(const char* path) noexcept
{
    CDescriptor file(open(path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    struct stat status;
    if (!file || fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return nullptr;
    return streamOf(std::move(file), "rb");
}

FILE* openOwnFile(const char* path) noexcept
{
    if (!isUnderSudo())
        return openRegularFile(path);
    const CFilePlace place(path);
    CDescriptor file(openRetrying(place, O_RDONLY | O_NOFOLLOW));
    if (file && !isUsable(file.get()))
        file = refused(std::move(file));
    return streamOf(std::move(file), "rb");
}

void reportRefused(const char* path) noexcept
{
    static constinit std::array<std::atomic<size_t>, 8> s_told{};
    const size_t hash = std::hash<std::string_view>()(path) | 1;
    if (s_told[hash / 2 % s_told.size()].exchange(hash) != hash)
        std::fprintf(stderr, "%s is not used: it is no regular file of this user with one name, or a link\n",
                     path);
}
