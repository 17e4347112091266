/// Where the product keeps what: the questions that other platforms answer from a registry, and this one from
/// the environment.
#pragma once

#include <string>
#include <string_view>

/// Every getter copies its answer into the caller's buffer of `size` bytes and says whether there was one.
/// The buffer is untouched when there is none: the variable is unset or empty, or its value does not fit. Any
/// thread, at any time.
class CRegistryInformation {
public:
    static constexpr unsigned bufferSize = 512; ///< what callers provide

    /// The first existing path of the list in the environment variable QUESSA_TALVERN_VTX_INSTALL_DIR or,
    /// when that is unset, TALVERN_GX_INSTALL_DIRECTORY. The variable is cut after the list's first path by
    /// this call, whether that exists or not: later calls and child processes see no other.
    static bool getMarloInstall(char* buffer, unsigned size) noexcept;
    static bool getPlandeckInstall(char* buffer, unsigned size) noexcept; ///< TALV_PLHOME
    /// TALVERN_GX_CUSTOMIZATION_DIRECTORY
    static bool getCustomizationDir(char* buffer, unsigned size) noexcept;
    /// TALVERN_GX_CONFIGURATION_DIRECTORY
    static bool getConfigurationDir(char* buffer, unsigned size) noexcept;
    static bool getInputFiles(char* buffer, unsigned size) noexcept;  ///< VTX_INPUT_FILES
    static bool getEclipseDir(char* buffer, unsigned size) noexcept;  ///< QUESSA_TALVERN_VTX_ECLIPSE_DIR
    static bool getDefaultJRE(char* buffer, unsigned size) noexcept;  ///< TALVERN_GX_JRE, the whole list
    static bool getPlaybackJRE(char* buffer, unsigned size) noexcept; ///< TALVERN_GX_JRE, the whole list

    /// The first path of a list with the separator ":" that exists; empty when none does.
    static std::string firstExistingPath(std::string_view list);

    // Known to a registry only: never found here.
    static bool getRegistryValue(char*, unsigned) noexcept { return false; }
    static bool getRegistryIntValue(int*) noexcept { return false; }
    static bool getBrowserJavaPluginId(char*, unsigned) noexcept { return false; }
    static bool getBrowserJavaPluginFilePath(char*, unsigned) noexcept { return false; }
    static bool getBrowsers(char*, unsigned) noexcept { return false; }
    static bool getAllBrowsers(char*, unsigned) noexcept { return false; }
    static bool getJREs(char*, unsigned) noexcept { return false; }
};
