#include "CRegistryInformation.h"

#include "Environment.h"

#include <algorithm>
#include <cstring>
#include <optional>
#include <unistd.h>

namespace {
bool answer(std::string_view value, char* buffer, unsigned size)
{
    if (value.empty() || value.size() >= size)
        return false;
    std::memcpy(buffer, value.data(), value.size());
    buffer[value.size()] = '\0';
    return true;
}

bool answerVariable(const char* name, char* buffer, unsigned size)
{
    return answer(CEnvironment::get(name).value_or(""), buffer, size);
}
} // namespace

bool CRegistryInformation::getMarloInstall(char* buffer, unsigned size) noexcept
{
    std::optional<std::string> list = CEnvironment::takeList("QUESSA_TALVERN_VTX_INSTALL_DIR");
    if (!list)
        list = CEnvironment::takeList("TALVERN_GX_INSTALL_DIRECTORY");
    return answer(firstExistingPath(list.value_or("")), buffer, size);
}

bool CRegistryInformation::getPlandeckInstall(char* buffer, unsigned size) noexcept
{
    return answerVariable("TALV_PLHOME", buffer, size);
}

bool CRegistryInformation::getCustomizationDir(char* buffer, unsigned size) noexcept
{
    return answerVariable("TALVERN_GX_CUSTOMIZATION_DIRECTORY", buffer, size);
}

bool CRegistryInformation::getConfigurationDir(char* buffer, unsigned size) noexcept
{
    return answerVariable("TALVERN_GX_CONFIGURATION_DIRECTORY", buffer, size);
}

bool CRegistryInformation::getInputFiles(char* buffer, unsigned size) noexcept
{
    return answerVariable("VTX_INPUT_FILES", buffer, size);
}

bool CRegistryInformation::getEclipseDir(char* buffer, unsigned size) noexcept
{
    return answerVariable("QUESSA_TALVERN_VTX_ECLIPSE_DIR", buffer, size);
}

bool CRegistryInformation::getDefaultJRE(char* buffer, unsigned size) noexcept
{
    return answerVariable("TALVERN_GX_JRE", buffer, size);
}

bool CRegistryInformation::getPlaybackJRE(char* buffer, unsigned size) noexcept
{
    return answerVariable("TALVERN_GX_JRE", buffer, size);
}

std::string CRegistryInformation::firstExistingPath(std::string_view list)
{
    while (!list.empty()) {
        std::string path(list.substr(0, list.find(':')));
        if (!path.empty() && access(path.c_str(), F_OK) == 0)
            return path;
        list.remove_prefix(std::min(path.size() + 1, list.size()));
    }
    return {};
}
