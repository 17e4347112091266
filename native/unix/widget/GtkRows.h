/// What GTK draws without widgets: the cells of lists, tables and trees.
#pragma once

#include "GtkObjects.h"
#include "WidgetTree.h"

/// Fills columns and rows in sight of a GtkTreeView, and its role.
void readTreeView(_GtkWidget* view, CGdkPlaces& places, CWidgetNode& node);
/// The text that a GtkCellView shows: a combo box shows its choice by one, and its menu the choices.
std::string cellViewText(_GtkWidget* view);
