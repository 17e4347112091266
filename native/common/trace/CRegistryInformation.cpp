#include "CRegistryInformation.h"

#include <cstdlib>
#include <cstring>
#include <unistd.h>

bool CRegistryInformation::getMarloInstall(char* buffer, unsigned size) noexcept
{
    char* list = std::getenv("QUESSA_TALVERN_VTX_INSTALL_DIR");
    if (!list)
        list = std::getenv("TALVERN_GX_INSTALL_DIRECTORY");
    if (!list)
        return false;
    char* rest = nullptr;
    const char* path = strtok_r(list, ":", &rest);
    while (path && access(path, F_OK) != 0)
        path = strtok_r(nullptr, ":", &rest);
    if (!path || std::strlen(path) >= size)
        return false;
    std::strcpy(buffer, path);
    return true;
}
