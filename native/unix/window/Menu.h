/// Menus of the application under test: a menu bar or a pane, and its items.
#pragma once

#include "unix/window/WindowManager.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

/// One menu bar or menu pane, named by its X window; a value, nothing is owned. Only the process whose
/// toolkit made the menu can answer: call it on that toolkit's thread. Each call waits for the X server. GTK
/// is asked when the process runs GTK 2 or 3, else Motif.
///
/// GTK draws its menus into windows that X11 does not know. Such a menu is named by the X window it is drawn
/// into: a pane by that of its popup, a menu bar by the application's window.
///
/// Items count from 0, separators and tear-off items included. A null handle, a window that is no menu of
/// this process, an index beyond the items and an error of the toolkit give the answer that each operation
/// names.
class GxMenu {
public:
    /// @param menuHandle  carried along; X11 has no use for it
    GxMenu(long handle, long menuHandle)
        : m_handle(static_cast<uint64_t>(handle)), m_menuHandle(static_cast<uint64_t>(menuHandle))
    {
    }

    bool isNullMenu() const { return m_handle == 0; }
    int getItemCount() const; ///< -1 when it is not known
    bool isSystemMenu() const { return false; }
    bool isHTMLMenu() const { return false; }
    /// The text of an item's label, UTF-8 whatever the locale. Motif does not tell.
    /// @param buffer  receives at most size - 1 bytes and a terminating 0; it may end inside a character
    /// @return the length of the whole text in bytes; 0 when there is none
    int getItemText(int index, char* buffer, int size) const;
    /// An item in root coordinates. All zero for an index that a Motif menu does not have; untouched when
    /// nothing is known.
    void getItemScreenRectangle(int index, Rect* rect) const;
    /// The first item whose rectangle holds the point, edges included. @return its index, or -1
    int getItemAtScreenPoint(const Point& point) const;
    /// The bar or pane in root coordinates, without the border; zero for a window that has gone. Where a
    /// window of its own does not lie in its parent, the parent's rectangle in the coordinates of the window
    /// around that.
    void getScreenRectangle(Rect* rect) const;
    /// The window of an item's sub-menu while that is shown.
    /// @param submenu      0 when there is none
    /// @param submenuHandle  never set
    void getItemPopupMenu(int index, unsigned long* submenu, unsigned long* submenuHandle) const;

    /// What the items say, UTF-8 and not cut, Motif's as well; empty for one that says nothing.
    std::vector<std::string> getWholeItemTexts() const;
    /// What a user sees of an item.
    struct ItemView {
        bool shown = false;          ///< part of the menu, though perhaps scrolled out of sight
        bool enabled = false;        ///< a click on it does something
        std::optional<bool> checked; ///< nothing for one that cannot be ticked
        /// What is not scrolled out of the menu, in root coordinates, whether the menu is open or not. Zero
        /// for an item that is hidden.
        Rect seenPart;
        unsigned long submenu = 0; ///< as for getItemPopupMenu
    };
    /// What a user sees of a bar or pane.
    struct View {
        bool shown = false;
        unsigned long id = 0; ///< its widget: tells it from others, nothing else
        Rect box;             ///< in root coordinates; zero for a window that has gone
        std::vector<ItemView> items;
    };
    /// Asks the X server no more than twice.
    View getView() const;
    /// How long a click on an item of this menu, which is open, would be lost. Motif takes one that comes
    /// within the time of a double click after an option or context menu was opened for the end of the click
    /// that opened it.
    /// @return milliseconds; 0 when it is taken at once
    int msUntilClickIsTaken() const;
    /// Notes what the X server has sent to the toolkit so far.
    /// @return what to ask `hasSeenTo` for
    static int markEvents();
    /// Whether the toolkit has seen to all events up to a mark, and to what it put off for them. Any thread.
    static bool hasSeenTo(int mark);

private:
    uint64_t m_handle;
    [[maybe_unused]] uint64_t m_menuHandle;
};
