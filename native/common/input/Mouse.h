/// The pointer.
#pragma once

#include "WindowManager.h"

#include <optional>

class Mouse {
public:
    /// Where the pointer is, in pixels of the root window of the default screen; asks the X server. Nothing
    /// when there is no server, or when the pointer is on another screen.
    static std::optional<Point> getCursorPos();
};
