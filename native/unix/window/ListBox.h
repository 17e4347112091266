/// List boxes (Motif's XmList widgets) of the application that this process is.
///
/// Everything here is for the application's GUI thread, as the caller sees to: widgets are read in place, and
/// no other thread may use the toolkit meanwhile. Widgets are found by their windows on gx_app_display; what
/// is no list widget, or not one any longer, and a handle of 0 get the neutral answers. Nothing is thrown.
///
/// Item indexes start with 0.
#pragma once

#include "unix/window/WindowManager.h"

#include <string>
#include <vector>

/// One list widget, named by its window; 0 is none.
class ListBox : public CWindow {
public:
    ListBox() = default;
    explicit ListBox(long handle) : CWindow(handle) {}
    /// The window at a point (root coordinates) when that is a list's, else 0. Asks the X server.
    explicit ListBox(Point* point);
    /// The list whose window covers exactly a rectangle (root coordinates), or the one directly inside of the
    /// scrolled window that does; else 0. Asks the X server.
    explicit ListBox(Rect* rect);

    int getCount() const;    ///< of items; -1 without a list
    int getTopIndex() const; ///< index of the first item that is shown, 0 without items; -1 without a list
    int getSelCount() const; ///< of selected items; -1 without a list
    int getCurSel() const;   ///< the lowest selected index; -1 when nothing is selected, and without a list
    bool isSelected(int index) const;
    /// The first text of an item's compound string, in the code set that the application gave it, at most
    /// length - 1 bytes and a terminating 0. Without such an item, and for an item without any text, the
    /// buffer stays as it is.
    void getText(int index, char* buffer, int length) const;
    /// What all items say, whole, their lines separated by line feeds. Empty without a list.
    std::vector<std::string> getWholeTexts() const;
    /// The indexes of the selected items, in any order.
    std::vector<int> getSelection() const;
    /// Where an item is shown, in pixels from the list's corner; all zero for an item that is not shown.
    void getRectangle(int index, Rect* out) const;
    /// The first item whose rectangle holds a point in pixels from the list's corner; -1 when none does. The
    /// zero rectangle of an item that is not shown holds (0, 0) as well.
    int getItemAtPoint(Point* point) const;
};
