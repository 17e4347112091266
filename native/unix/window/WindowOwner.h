/// Which process has which windows on the screen.
#pragma once

#include <cstdint>
#include <vector>

namespace WindowOwner {
/// Whether one of the processes has a window on the screen that a user would see: one that is shown, of more
/// than a pixel, on the default display. On a connection of its own, so any thread; several round trips.
/// @return false, too, without a server, and where it cannot tell whose a window is: without the X-Resource
/// extension, for clients from elsewhere, and where it numbers processes in another way, as one outside of a
/// container does
bool showsWindow(const std::vector<int>& processes);
/// Those windows, without the ones in them; none where `showsWindow` is false.
std::vector<uint32_t> windowsOf(const std::vector<int>& processes);
/// The processes that have made these windows, in their order; 0 where the server does not say, or numbers
/// processes in another way.
std::vector<int> processesOf(const std::vector<unsigned long>& windows);
} // namespace WindowOwner
