/// Where the product is installed.
#pragma once

class CRegistryInformation {
public:
    /// The first existing path of the list in the environment variable QUESSA_TALVERN_VTX_INSTALL_DIR or,
    /// when that is unset, TALVERN_GX_INSTALL_DIRECTORY. The list (separator ":") is split in place: the
    /// variable is cut at its first separator afterwards, and child processes see it so.
    /// @param buffer  receives the path; untouched when none is found
    /// @param size    bytes of `buffer`; a path that does not fit counts as not found
    /// @return whether a directory was found
    static bool getMarloInstall(char* buffer, unsigned size) noexcept;
};
