/// Keeps Xt from freeing widgets while they are read.
#pragma once

#include <functional>

#include <X11/Intrinsic.h>

/// Runs work as Xt runs what an event leads to: widgets that the program destroys meanwhile, when it is asked
/// for a resource or scrolled, are freed once the work has ended. GUI thread only. Without an application's
/// display it is just run. What it throws is passed on.
void withXtWidgetsHeld(Display* display, const std::function<void()>& work);
