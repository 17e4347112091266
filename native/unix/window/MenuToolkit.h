/// What the toolkit of this process knows of its menus.
#pragma once

#include "unix/window/Menu.h"
#include "unix/window/WindowLevel.h"
#include "unix/window/WindowManager.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

/// One implementation a toolkit. GUI thread only; windows are X windows of any process, of which a toolkit
/// knows its own. A null window, one that is no menu of this process, and an error of the toolkit read as
/// "none".
class IMenuToolkit {
public:
    /// GTK when the process runs GTK 2 or 3, else Motif. Asked at every call: GTK may come later.
    static const IMenuToolkit& current();

    /// Waits until the X server has done what the toolkit asked for. To be called before windows are read on
    /// another connection.
    virtual void publish() const = 0;
    /// The same without the wait where the toolkit's own connection serves, whose requests the X server sees to
    /// in order. @param other  of ours
    /// @return the connection that windows are to be read on
    virtual Display* published(Display* other) const = 0;

    /// The first window below `start` that a menu bar is known by, parents before their children, bottom of
    /// the stack first; 0 for none.
    virtual Window menuBarIn(Display* display, Window start) const = 0;
    /// The windows of menu panes, shown or not, in the toolkit's order.
    virtual std::vector<Window> panesIn(CWindowTree tree) const = 0;
    /// Whether a pane at this place may count as shown.
    virtual bool canShowAt(const CPlace& place) const = 0;
    /// The first of these panes, all shown, that was not opened from another menu; 0 for none.
    virtual Window contextMenuAmong(const std::vector<Window>& panes) const = 0;
    /// The window that owns a menu bar, given the child of the root that the bar is in.
    virtual Window ownerOf(Display* display, Window menuBar, Window frame) const = 0;

    /// The widget of a menu or menu bar, by its address; 0 for none.
    virtual unsigned long widgetIdOf(Window menu) const = 0;
    /// Where in its window a menu is; nothing when it is the whole window.
    virtual std::optional<Rect> partOfWindow(Window menu) const = 0;
    virtual int itemCount(Window menu) const = 0; ///< -1 for none
    /// @return the whole length in bytes; 0 for none, and nothing is written then
    virtual int itemText(Window menu, int index, char* buffer, int size) const = 0;
    /// An item's rectangle in the menu's window, in pixels of X11. A zero rectangle stands for an index
    /// without an item where the toolkit makes that difference.
    virtual std::optional<Rect> itemBox(Window menu, int index) const = 0;
    virtual Window submenuWindow(Window menu, int index) const = 0; ///< shown or not; 0 for none

    virtual std::vector<std::string> wholeTexts(Window menu) const = 0; ///< UTF-8; empty for one without
    /// The items as they are in the menu's window, with sub-menus that are shown or not.
    virtual std::vector<GxMenu::ItemView> itemViews(Window menu) const = 0;
    /// @param now  asks the X server for its time
    virtual int msUntilClickIsTaken(Window menu, Time (*now)()) const = 0;
    /// Has the main loop call `seenTo(mark)` once it has no event and nothing of its own left to see to.
    virtual void whenIdle(void (*seenTo)(long mark), long mark) const = 0;

protected:
    ~IMenuToolkit() = default;
};

/// The part of a box that lies in a window of that size.
inline Rect clipped(const Rect& box, int width, int height)
{
    const int left = std::max(box.getLeft(), 0), top = std::max(box.getTop(), 0);
    const int right = std::min(box.getLeft() + box.getWidth(), width);
    const int bottom = std::min(box.getTop() + box.getHeight(), height);
    return right > left && bottom > top ? Rect(top, left, bottom - top, right - left) : Rect();
}

/// Whether a window shows a GTK menu, not a menu bar.
bool isGtkMenu(Window window);

const IMenuToolkit& gtkMenus();
const IMenuToolkit& motifMenus();
