/// Scroll bars of Motif. GUI thread only, under the guard; plain data only.
#pragma once

#include "unix/widget/WidgetTree.h"
#include "unix/window/XtGuard.h"

/// @param bar  boxes are in the widget's window
/// @return whether the widget is one that can be dragged
bool readXtScrollBar(Widget widget, CScrollBar& bar);
