/// Where this library was loaded from.
#pragma once

#include <string>

/// The library's file, by which the loader lists it.
constexpr const char* LibraryFile = "libgxsys.so";

/// The path of this library as it was loaded, of at most 4095 bytes; empty when the process does not have it
/// under its own name. Any thread.
std::string libraryPath();
/// That path up to the name of the file, with the slash at its end.
std::string libraryDirectory();
