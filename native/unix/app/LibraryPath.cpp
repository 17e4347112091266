#include "unix/app/LibraryPath.h"

#include "unix/window/dladdons.h"

#include <link.h>

namespace {
constexpr size_t LongestPath = 4095;
} // namespace

std::string libraryPath()
{
    const link_map* const module = GetModuleHandle(LibraryFile);
    return module ? std::string(module->l_name).substr(0, LongestPath) : std::string();
}

std::string libraryDirectory()
{
    const std::string path = libraryPath();
    const size_t file = path.find(LibraryFile);
    return file == std::string::npos ? std::string() : path.substr(0, file);
}
