/// Browsers of the Mozilla family: finding them, and preparing one for a test.
#pragma once

#include <string>

/// Finds browser programs below a directory: files named "mozilla-bin", "netscape-bin" or "firefox-bin"
/// beside which stands a "regxpcom" that is a symbolic link to something that exists: that is how packaged
/// installations look, which a test may use.
///
/// Never follows a symbolic link, so every directory is visited once. Leaves out /proc, /sys and /dev, what
/// may not be read, and all that comes after the first 500 000 directories. Blocks: the search of a whole
/// system takes seconds. Any thread.
/// @param directory  where to start; empty for the whole file system, null for nowhere
/// @return the programs' paths in order of their bytes, a line feed between them; empty when there are none
std::string getAllBrowsers(const char* directory);

/// Prepares the browser installed in a directory for tests: writes the file "defaults/pref/gx-testing.js" of
/// that directory, which has the browser offer its controls to other programs and ask no questions at its
/// start. It applies to browsers started afterwards. Once written it is replaced by itself.
/// @param directory  has one of the programs named above and the directory "defaults/pref"
/// @return whether the file stands; false when that is no such directory, or nothing can be written there
bool MozillaEnable(const char* directory);

/// Undoes MozillaEnable: removes its file and nothing else.
/// @return whether there is no such file in that directory any more; false when there is no browser
bool MozillaDisable(const char* directory);
