/// Scroll bars of GTK. GUI thread only.
#pragma once

#include "unix/widget/WidgetTree.h"

struct _GtkWidget;

/// Nothing for what is none, or has not come onto the screen.
std::optional<CScrollBar> gtkScrollBar(_GtkWidget* widget);
