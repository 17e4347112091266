/// For programs with the library inside that check what it says about the menus of their toolkit: the menus
/// are opened and their items chosen by real clicks in the middle of where the library says that they are.
///
/// A program makes the menus described below and names each item that is activated in g_activated.
#pragma once

#include "Checks.h"
#include "ClickSpacing.h"

#include "unix/window/Menu.h"
#include "unix/window/WindowManager.h"

#include <algorithm>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

inline std::string g_activated; ///< name of the item activated last

/// Longer than what Java gets, with a two-byte character across the end of it.
inline const std::string longName = "L" + [] {
    std::string text;
    for (int i = 0; i < 80; ++i)
        text += "\u00e4";
    return text;
}();

/// Items of a pane; "" is a separator, "more" the cascade.
using ItemNames = std::vector<std::string>;
inline const ItemNames barNames{"first", "second"};
inline const ItemNames firstNames{"new", "open", "", "more", longName};
inline const ItemNames moreNames{"one", "two", "three"};
inline const ItemNames contextNames{"cut", "", "paste"};

class CMenuChecks {
public:
    /// @param iterate  lets the toolkit handle its events, without waiting for any
    /// @param texts    whether the toolkit tells the texts of items
    CMenuChecks(unsigned long shell, bool texts, std::function<void()> iterate)
        : m_shell(static_cast<long>(shell)), m_texts(texts), m_iterate(std::move(iterate))
    {
    }
    ~CMenuChecks() { XCloseDisplay(m_display); }
    CMenuChecks(const CMenuChecks&) = delete;

    bool within(const std::function<bool()>& holds)
    {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (std::chrono::steady_clock::now() < end) {
            m_iterate();
            if (holds())
                return true;
        }
        return false;
    }

    void moveTo(const Rect& rect)
    {
        XTestFakeMotionEvent(m_display, -1, rect.getLeft() + rect.getWidth() / 2,
                             rect.getTop() + rect.getHeight() / 2, 0);
        XSync(m_display, False);
    }
    void click(const Rect& rect, unsigned button = 1)
    {
        m_spacing.await(m_iterate);
        moveTo(rect);
        m_iterate();
        XTestFakeButtonEvent(m_display, button, True, 0);
        XTestFakeButtonEvent(m_display, button, False, 0);
        XSync(m_display, False);
        m_spacing.clicked();
    }
    /// Waits until no menu has the pointer any more: a click would close that, and open nothing.
    bool pointerIsFree()
    {
        return within([&] {
            const Window root = DefaultRootWindow(m_display);
            const bool isFree = XGrabPointer(m_display, root, False, 0, GrabModeAsync, GrabModeAsync, 0, 0,
                                             CurrentTime) == GrabSuccess;
            XUngrabPointer(m_display, CurrentTime);
            XSync(m_display, False);
            return isFree;
        });
    }

    GxMenu bar() const { return GxMenu(static_cast<long>(m_shell.getMenuBar()), 0); }
    static Rect rectOf(const GxMenu& menu, int index)
    {
        Rect rect(-1, -1, -1, -1);
        menu.getItemScreenRectangle(index, &rect);
        return rect;
    }
    static unsigned long submenuOf(const GxMenu& menu, int index)
    {
        unsigned long submenu = 1, unused = 7;
        menu.getItemPopupMenu(index, &submenu, &unused);
        CHECK(unused == 7);
        return submenu;
    }

    /// Opens the first pulldown of the bar. @return its window
    unsigned long openFirst()
    {
        CHECK(pointerIsFree());
        click(rectOf(bar(), 0));
        CHECK(within([&] { return submenuOf(bar(), 0) != 0; }));
        return submenuOf(bar(), 0);
    }
    unsigned long openMore()
    {
        const GxMenu first(static_cast<long>(openFirst()), 0);
        CHECK(submenuOf(first, 3) == 0); // not shown yet
        click(rectOf(first, 3));
        CHECK(within([&] { return submenuOf(first, 3) != 0; }));
        return submenuOf(first, 3);
    }
    unsigned long openContext(const Rect& at)
    {
        CHECK(pointerIsFree());
        click(at, 3);
        CHECK(within([] { return CWindow::getTopContextMenu() != 0; }));
        return CWindow::getTopContextMenu();
    }

    /// Opens a pane for each of its items and clicks in the middle of that.
    void checkPane(const ItemNames& names, const std::function<unsigned long()>& open)
    {
        for (size_t i = 0; i < names.size(); ++i) {
            if (names[i].empty() || names[i] == "more")
                continue;
            const unsigned long window = open();
            const GxMenu pane(static_cast<long>(window), 0);
            if (i == 0)
                checkItems(pane, names);
            g_activated.clear();
            click(rectOf(pane, static_cast<int>(i)));
            within([] { return !g_activated.empty(); });
            if (g_activated != names[i])
                std::printf("%s instead of %s\n", g_activated.c_str(), names[i].c_str());
            CHECK(g_activated == names[i]);
            CHECK(within([] { return CWindow::getPopupWindows().empty(); }));
        }
    }

    void checkItems(const GxMenu& menu, const ItemNames& names)
    {
        const int count = static_cast<int>(names.size());
        CHECK(menu.getItemCount() == count);
        Rect pane;
        menu.getScreenRectangle(&pane);
        for (int i = 0; i < count; ++i) {
            const Rect rect = rectOf(menu, i);
            const Point middle(rect.getLeft() + rect.getWidth() / 2, rect.getTop() + rect.getHeight() / 2);
            // A separator may be so low that its middle is the edge of the item above, which belongs to that.
            CHECK(menu.getItemAtScreenPoint(middle) == i || names[static_cast<size_t>(i)].empty());
            CHECK(pane.pointInRect(middle));
            checkText(menu, i, names[static_cast<size_t>(i)]);
        }
        CHECK(menu.getItemAtScreenPoint(Point(-5, -5)) == -1);
        for (const int index : {-1, count, 1000}) {
            CHECK(m_texts ? rectOf(menu, index).getTop() == -1 : rectOf(menu, index).isZero());
            CHECK(submenuOf(menu, index) == 0);
            checkText(menu, index, "");
        }
    }
    void checkText(const GxMenu& menu, int index, std::string expected)
    {
        if (!m_texts)
            expected.clear();
        char buffer[127] = "";
        CHECK(menu.getItemText(index, buffer, sizeof buffer) == static_cast<int>(expected.size()));
        CHECK(buffer == expected.substr(0, 126));
    }

    /// Windows that are no menus of this process, whatever once was behind them.
    static void checkNoMenu(unsigned long window)
    {
        const GxMenu menu(static_cast<long>(window), 0);
        CHECK(menu.getItemCount() == -1);
        CHECK(rectOf(menu, 0).getTop() == -1);
        CHECK(menu.getItemAtScreenPoint(Point(5, 5)) == -1);
        CHECK(submenuOf(menu, 0) == 0);
        char buffer[8] = "";
        CHECK(menu.getItemText(0, buffer, sizeof buffer) == 0);
        CHECK(CWindow(static_cast<long>(window)).getMenuParentWindow() == 0);
    }

    /// All of it. @param contextArea  where the third button opens the context menu
    void run(const Rect& contextArea)
    {
        CHECK(within([&] { return m_shell.isShowing() && !bar().isNullMenu(); }));
        CHECK(CWindow::getPopupWindows().empty() && CWindow::getTopContextMenu() == 0);
        // No menu bar of its own but one on the screen.
        CHECK(CRootWindow().getMenuBar() == m_shell.getMenuBar());
        checkItems(bar(), barNames);
        checkPane(firstNames, [&] { return openFirst(); });
        checkPane(moreNames, [&] { return openMore(); });
        checkPane(contextNames, [&] { return openContext(contextArea); });

        const unsigned long more = openMore();
        const auto panes = CWindow::getPopupWindows();
        CHECK(panes.size() == 2);
        CHECK(std::any_of(panes.begin(), panes.end(),
                          [&](const CWindow& pane) { return pane.getHandle() == more; }));
        CHECK(CWindow(static_cast<long>(more)).isMenu());
        CHECK(CWindow(static_cast<long>(more)).getMenuParentWindow() == m_shell.getTopLevelHandle());
        CHECK((CWindow::getTopContextMenu() != 0) == m_texts); // GTK makes no difference
        const GxMenu pane(static_cast<long>(more), 0);
        click(rectOf(pane, 0));
        CHECK(within([] { return CWindow::getPopupWindows().empty(); }));
        CHECK(submenuOf(bar(), 0) == 0);

        for (const unsigned long window : {0ul, DefaultRootWindow(m_display), 0x1fffffful})
            checkNoMenu(window);
        CHECK(CWindow().getMenuBar() == 0);
    }

private:
    Display* const m_display = XOpenDisplay(nullptr);
    const CWindow m_shell;
    const bool m_texts;
    const std::function<void()> m_iterate;
    CClickSpacing m_spacing;
};
