/// What kind of program a file is.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <string>

namespace ProgramFile {
/// The file that a shell would start for `program`: itself when it holds a slash, else the first executable
/// one of PATH.
/// @return empty when there is none
std::string find(const std::string& program);

/// Whether a preloaded library would come into the program: a dynamically linked one for this machine that
/// does not run with other rights than its caller's. For a script, its interpreter decides. The dynamic
/// linker complains of a library that it cannot load, and a static program would see the launcher's
/// variables.
bool takesPreload(const std::string& path);

/// The first of the places that exists; the first of all when none does, which the message of whoever opens
/// it names.
std::string firstOf(const std::filesystem::path& base, std::initializer_list<const char*> places);
} // namespace ProgramFile
