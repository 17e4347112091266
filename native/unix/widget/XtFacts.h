/// What is asked of one Xt widget at a time. All of this runs under the guard, which may be left by a jump:
/// plain data only.
#pragma once

#include "unix/window/XtGuard.h"

/// Facts about a widget or gadget. Texts are in the code set of the application's locale, and the caller
/// frees them by XtFree.
struct CXtFacts {
    const char* role = "OTHER";
    char* text = nullptr;
    char* label = nullptr;
    char* tip = nullptr;
    Widget pressed = nullptr; ///< the part of it that a user presses, when that is not the whole
    XRectangle opener = {};   ///< the part of it that opens it, in the widget; empty when that is the whole
    bool isLeaf = false;      ///< what is in it is of no interest
    bool isList = false;      ///< it has rows: see XtRows.h
    bool rowsToggle = false;  ///< a click on a selected row deselects it
    bool hasValue = false;
    double value = 0;
    int checked = -1; ///< 0 or 1; -1 when it is nothing to check
    bool editable = false;
    bool secret = false;
    bool selected = false; ///< the tab of the page in front, or an item that is chosen
};

/// Fills in the facts of a widget by the nearest of its classes that is known.
void readXtFacts(Widget widget, CXtFacts& facts);

/// What a list box shows now.
struct CXtList {
    int count = 0;   ///< of items
    int first = 0;   ///< index of the first that is in sight
    int visible = 0; ///< how many there is room for
};
void readXtList(Widget list, CXtList& facts);

struct CXtItem {
    char* text = nullptr; ///< the caller frees it by XtFree
    bool selected = false;
    Position x = 0; ///< in the list's window
    Position y = 0;
    Dimension width = 0;
    Dimension height = 0;
};
void readXtItem(Widget list, int index, CXtItem& item);
/// What items of a list box say, from `first` on.
/// @param texts  has room for `count`; the caller frees each by XtFree @return how many there are
int readXtTexts(Widget list, int first, int count, char** texts);
/// Scrolls an item of a list box into sight.
void showXtItem(Widget list, int index);

/// What an XmI18List shows now.
struct CXtColumns {
    int count = 0; ///< of rows
    int columns = 0;
    int first = 0;   ///< index of the first row in sight
    int visible = 0; ///< how many there is room for
    int top = 0;     ///< of the first row in sight, in the list
    int pitch = 0;   ///< from a row to the next
    int height = 0;  ///< of a row
};
void readXtColumns(Widget list, CXtColumns& facts);

struct CXtCell {
    char* text = nullptr;  ///< the caller frees it by XtFree
    bool selected = false; ///< its row
    int left = 0;          ///< in the list
    int right = 0;
};
/// @param row  -1 for the title of the column
void readXtCell(Widget list, int row, int column, CXtCell& cell);
/// Scrolls a row of an XmI18List into sight.
void showXtLine(Widget list, int row);

/// A child of an XmContainer, XmOutline or XmTree.
struct CXtNode {
    bool shows = false;  ///< it stands for a row
    bool isOpen = false; ///< what is below it shows
    Widget parent = nullptr;
    Widget expander = nullptr; ///< opens and closes it, where it has that
};
void readXtNode(Widget list, Widget child, CXtNode& node);
/// Whether it is an XmContainer whose items stand anywhere.
bool isXtSpatial(Widget list);
/// Whether an XmContainer shows details beside its items.
bool hasXtDetails(Widget container);
/// @param text  the caller frees it by XtFree @return whether there are so many details
bool readXtDetail(Widget item, int index, char** text);
/// The title of a column, as readXtDetail.
bool readXtHeading(Widget container, int index, char** text);

/// A tab that an XmTabStack draws.
struct CXtTab {
    Widget page = nullptr;
    Position left = 0, top = 0, right = 0, bottom = 0; ///< in the stack
};
constexpr int mostXtTabs = 64;
/// @param tabs  has room for mostXtTabs @return how many there are
int readXtTabs(Widget stack, CXtTab* tabs);
/// The page of the tab at a place in an XmTabStack; null for none.
Widget pageOfXtTab(Widget stack, Position x, Position y);
/// What the tab of a page says; the caller frees it by XtFree.
char* textOfXtTab(Widget page);
bool isXtTabSelected(Widget stack, Widget page);

/// The parts of an XmFileSelectionBox that are managed.
struct CXtFileBox {
    Widget ok = nullptr;
    Widget cancel = nullptr;
    Widget file = nullptr;
};
void readXtFileBox(Widget box, CXtFileBox& parts);
/// @param text  in the code set of the application's locale
void setXtFile(Widget box, const char* text);

/// Whether the widget is of a class of that name or of one derived from it.
bool isOfKind(Widget widget, const char* className);
