/// What GTK draws without widgets: the cells of lists, tables and trees, and of icons.
#pragma once

#include "unix/widget/GtkObjects.h"
#include "unix/widget/WidgetTree.h"

/// Fills columns and rows in sight of a GtkTreeView, and its role.
void readTreeView(_GtkWidget* view, CGdkPlaces& places, CWidgetNode& node);
/// Fills the rows in sight of a GtkIconView, one an icon.
void readIconView(_GtkWidget* view, CGdkPlaces& places, CWidgetNode& node);
/// As IWidgetToolkit::rows, of a GtkTreeView or GtkIconView; empty for others.
std::vector<CWidgetRow> rowsOf(_GtkWidget* view, size_t first, size_t count);
/// As IWidgetToolkit::texts.
std::vector<std::vector<std::string>> textsOf(_GtkWidget* view, size_t first, size_t count);
/// Scrolls such a view until a cell is in sight. @param place  receives where the cell is in it
/// @return whether there is such a row
bool scrollToRow(_GtkWidget* view, const std::string& path, int column, _GtkAllocation& place);
/// The text that a GtkCellView shows: a combo box shows its choice by one, and its menu the choices.
std::string cellViewText(_GtkWidget* view);
