/// Why there is no X server to ask, in words.
#pragma once

#include <string>

namespace ServerComplaint {
/// In a few words, for the trace: what came back from the server that a display's name stands for. Of servers
/// on other machines it says no more than Xlib does.
/// @param name  of the display; null or empty for one that is not set
std::string reason(const char* name);

/// For people: which server was asked, what came back, and what to do. Empty while there is one. Any thread;
/// asks the socket of a server on this machine, and waits for nobody.
std::string text();
} // namespace ServerComplaint
