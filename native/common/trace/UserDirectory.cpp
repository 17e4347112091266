// The part of GxDebug that makes the user's directories.
#include "GxDebug.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

struct Owner {
    uid_t user = 0;
    gid_t group = 0;
};

/// Zeros for a user that nobody knows.
Owner ownerNamed(const char* user)
{
    std::vector<char> texts(16384);
    struct passwd entry = {};
    struct passwd* found = nullptr;
    if (getpwnam_r(user, &entry, texts.data(), texts.size(), &found) != 0 || !found)
        return {};
    return {found->pw_uid, found->pw_gid};
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
    if (mkdir(path, 0777) != 0)
        return errno == EEXIST ? 1 : 0;
    printStep("Calling setOwner on dir : %s\n", path);
    setOwner(path);
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
try {
    const char* const user = std::getenv("SUDO_USER");
    if (!user)
        return;
    printStep("setOwner(): Got Username = %s\n", user);
    const Owner owner = ownerNamed(user);
    printStep("setOwner(): Inside if username \n");
    printStep("setOwner(): userid = %d \n", static_cast<int>(owner.user));
    printStep("setOwner(): groupid = %d \n", static_cast<int>(owner.group));
    if (owner.user == 0 || owner.group == 0) {
        printStep("One of the uid or gid was -1\n");
        return;
    }
    printStep("Running chown on the file\n");
    // Not through a link: the user could point it at a file of root's.
    if (lchown(path, owner.user, owner.group) != 0)
        printStep("%s: %s\n", path, strerrordesc_np(errno));
} catch (const std::exception&) {
    // No memory for the look-up: the file stays root's.
}
