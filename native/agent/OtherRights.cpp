#include "agent/OtherRights.h"

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace {
constexpr const char* capabilities = "security.capability";

bool hasBits(const struct stat& file)
{
    return (file.st_mode & (S_ISUID | S_ISGID)) != 0;
}
} // namespace

bool OtherRights::ofFile(const char* path)
{
    struct stat file;
    return stat(path, &file) != 0 || hasBits(file) || getxattr(path, capabilities, nullptr, 0) > 0;
}

bool OtherRights::ofDescriptor(int file)
{
    struct stat status;
    return fstat(file, &status) != 0 || hasBits(status) || fgetxattr(file, capabilities, nullptr, 0) > 0;
}

bool OtherRights::inPath(const char* name)
{
    const char* list = std::strchr(name, '/') ? nullptr : std::getenv("PATH");
    if (!list)
        return ofFile(name);
    char path[PATH_MAX];
    for (const char* end; *list != '\0'; list = *end != '\0' ? end + 1 : end) {
        end = strchrnul(list, ':');
        const int length = std::snprintf(path, sizeof path, "%.*s%s%s", static_cast<int>(end - list), list,
                                         end == list ? "" : "/", name);
        if (length < PATH_MAX && access(path, X_OK) == 0)
            return ofFile(path);
    }
    return true;
}
