/// Widgets of Motif dialogs. GUI thread only.
#pragma once

#include <X11/Intrinsic.h>

/// The file selection box of a dialog shell: the shell's first child when that is one. Null for anything
/// else.
Widget getFileSelectionBox(Widget shell);
