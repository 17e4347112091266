/// Rows of Motif: of list boxes, of lists of several columns, and of containers and outlines, whose rows are
/// widgets or gadgets in them. GUI thread only.
#pragma once

#include "unix/widget/WidgetTree.h"
#include "unix/window/XtGuard.h"

/// Fills in the rows in sight, how many there are, and the titles of the columns.
/// @param node  whose box is known
void readXtRows(Widget list, CWidgetNode& node);
/// @param box  of the widget in root coordinates @return empty for what has no rows
std::vector<CWidgetRow> xtRowsOf(Widget list, const Rect& box, size_t first, size_t count);
/// What the cells of these rows say.
std::vector<std::vector<std::string>> xtTextsOf(Widget list, size_t first, size_t count);
/// Scrolls a row into sight of what it is a row of. @param expander  in place of the row what opens and closes
/// it @return what is then to be scrolled into sight of what is around that; null when there is no such row
Widget showXtRow(Widget list, const std::string& path, bool expander);
