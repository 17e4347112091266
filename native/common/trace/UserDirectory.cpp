// The part of GxDebug that makes the user's directories.
#include "common/trace/FilePlace.h"
#include "common/trace/GxDebug.h"
#include "common/trace/SudoUser.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <pwd.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

constinit bool GxDebug::DEBUG_PRINT = false;

namespace {
bool exists(const char* path)
{
    return access(path, F_OK) == 0;
}

CSudoUser userNamed(const char* user)
try {
    std::vector<char> texts(16384);
    struct passwd entry = {};
    struct passwd* found = nullptr;
    if (getpwnam_r(user, &entry, texts.data(), texts.size(), &found) != 0 || !found)
        return {};
    return {found->pw_uid, found->pw_gid};
} catch (const std::exception&) {
    return {}; // no memory for the look-up: root's files stay root's
}

bool isEmpty(int directory)
{
    DIR* const entries = fdopendir(fcntl(directory, F_DUPFD_CLOEXEC, 0));
    int count = 0;
    while (entries && readdir(entries))
        ++count;
    if (entries)
        closedir(entries);
    return count == 2; // "." and ".."
}

/// Whether this is what the library makes: a file with one name, a directory with nothing in it yet.
bool isNew(int file)
{
    struct stat status;
    if (fstat(file, &status) != 0 || status.st_uid != geteuid())
        return false;
    return S_ISDIR(status.st_mode) ? isEmpty(file) : S_ISREG(status.st_mode) && status.st_nlink == 1;
}

/// Whether the user could have made it in this place himself, or it is the product's directory in the home
/// directory, which is root's under many a sudo.
bool isPlaceOf(const CSudoUser& user, const CFilePlace& place, const char* path)
{
    struct stat directory;
    if (fstatat(place.directory(), "", &directory, AT_EMPTY_PATH) != 0)
        return false;
    const char* const home = std::getenv("HOME");
    return directory.st_uid == user.user || (home && path == std::string(home) + "/Quessa");
}

bool makeAncestors(const char* path)
{
    std::string ancestor(path);
    for (size_t end = ancestor.find_first_not_of('/'); (end = ancestor.find('/', end)) != std::string::npos;
         ++end) {
        ancestor[end] = '\0';
        GxDebug::printStep("Calling dir in MkDirs method - 1: %s\n", ancestor.c_str());
        if (!GxDebug::MkDir(ancestor.c_str()))
            return false;
        ancestor[end] = '/';
    }
    return true;
}
} // namespace

void GxDebug::printStep(const char* format, ...) noexcept
{
    if (!DEBUG_PRINT)
        return;
    va_list arguments;
    va_start(arguments, format);
    std::vprintf(format, arguments);
    va_end(arguments);
}

const CSudoUser& sudoUser() noexcept
{
    static const CSudoUser s_user = [] {
        const char* const name = std::getenv("SUDO_USER");
        return name ? userNamed(name) : CSudoUser();
    }();
    return s_user;
}

void GxDebug::GetVtxUserDirectory(char (&buffer)[1024]) noexcept
{
    const char* const home = std::getenv("HOME");
    // What a null string prints as: other tools of this product line look there when HOME is missing.
    const int length = std::snprintf(buffer, sizeof buffer, "%s%s%s%s%s", home ? home : "(null)", "/",
                                     "Quessa", "/", "ZEMO");
    if (length < 0 || static_cast<size_t>(length) >= sizeof buffer)
        *buffer = '\0';
}

void GxDebug::GetVtxPreferenceDirectory(char (&buffer)[1024]) noexcept
{
    GetVtxUserDirectory(buffer);
    printStep("Preference dir formed : %s\n", buffer);
    setOwner(buffer);
}

int GxDebug::MkDir(const char* path) noexcept
{
    if (exists(path))
        return 1;
    printStep("Creating dir : %s\n", path);
    const CFilePlace place(path);
    if (mkdirat(place.directory(), place.name(), 0777) != 0)
        return errno == EEXIST ? 1 : 0;
    printStep("Calling setOwner on dir : %s\n", path);
    setOwner(path, place);
    return 1;
}

int GxDebug::MkDirs(const char* path) noexcept
try {
    if (exists(path))
        return 1;
    if (!makeAncestors(path))
        return 0;
    printStep("Calling dir in MkDirs method - 2: %s\n", path);
    return MkDir(path);
} catch (const std::exception&) {
    return 0;
}

void GxDebug::setOwner(const char* path) noexcept
{
    if (std::getenv("SUDO_USER"))
        setOwner(path, CFilePlace(path));
}

void GxDebug::setOwner(const char* path, const CFilePlace& place) noexcept
try {
    const char* const user = std::getenv("SUDO_USER");
    if (!user)
        return;
    printStep("setOwner(): Got Username = %s\n", user);
    const CSudoUser& owner = sudoUser();
    printStep("setOwner(): Inside if username \n");
    printStep("setOwner(): userid = %d \n", static_cast<int>(owner.user));
    printStep("setOwner(): groupid = %d \n", static_cast<int>(owner.group));
    if (owner.user == 0 || owner.group == 0) {
        printStep("One of the uid or gid was -1\n");
        return;
    }
    printStep("Running chown on the file\n");
    constexpr int flags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
    const CDescriptor file(openat(place.directory(), place.name(), flags));
    if (!file || !isNew(file.get()) || !isPlaceOf(owner, place, path))
        return;
    if (fchown(file.get(), owner.user, owner.group) != 0)
        printStep("%s: %s\n", path, strerrordesc_np(errno));
} catch (const std::exception&) {
    // No memory: it stays root's.
}
