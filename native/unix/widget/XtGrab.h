/// Which widgets of Xt get presses while the program keeps them for some: in modal dialogs and open menus,
/// and wherever else it has called XtAddGrab. GUI thread only.
#pragma once

#include "unix/window/XtGuard.h"

/// Whether a press on a widget would reach it. Xt keeps its list of grabs to itself, so it is given an event
/// that goes by that list, and is stopped before the program sees it. Inside of CXtGuard only.
/// @param widget  one with a window that reacts: others get nothing, grab or not
bool getsPresses(Widget widget);
