#include "common/trace/CRegistryInformation.h"

#include "common/trace/Environment.h"

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
} // namespace

bool CRegistryInformation::getMarloInstall(char* buffer, unsigned size) noexcept
{
    std::optional<std::string> list = CEnvironment::takeList("QUESSA_TALVERN_VTX_INSTALL_DIR");
    if (!list)
        list = CEnvironment::takeList("TALVERN_GX_INSTALL_DIRECTORY");
    return answer(firstExistingPath(list.value_or("")), buffer, size);
}

#define VARIABLE_GETTER(getter, variable)                                                                    \
    bool CRegistryInformation::getter(char* buffer, unsigned size) noexcept                                  \
    {                                                                                                        \
        return answer(CEnvironment::get(variable).value_or(""), buffer, size);                               \
    }
VARIABLE_GETTER(getPlandeckInstall, "TALV_PLHOME")
VARIABLE_GETTER(getCustomizationDir, "TALVERN_GX_CUSTOMIZATION_DIRECTORY")
VARIABLE_GETTER(getConfigurationDir, "TALVERN_GX_CONFIGURATION_DIRECTORY")
VARIABLE_GETTER(getInputFiles, "VTX_INPUT_FILES")
VARIABLE_GETTER(getEclipseDir, "QUESSA_TALVERN_VTX_ECLIPSE_DIR")
VARIABLE_GETTER(getDefaultJRE, "TALVERN_GX_JRE")
VARIABLE_GETTER(getPlaybackJRE, "TALVERN_GX_JRE")

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
