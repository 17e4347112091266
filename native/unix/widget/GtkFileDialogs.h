/// File dialogs of GTK 2 and GTK 3: to open, to save, and for folders.
#pragma once

#include "unix/widget/WidgetTree.h"

/// As IWidgetToolkit::fileDialogs, the newest last.
std::vector<CFileDialog> gtkFileDialogs();
/// As IWidgetToolkit::setFile: opens the field for the name, as Control+L does, and fills it.
void setGtkFile(unsigned long window, const CJString& file);
