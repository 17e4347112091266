#include "MenuToolkit.h"

#include "Toolkit.h"
#include "WindowManagerUnix.h"
#include "gtkfuncs.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace {
struct CListFree {
    void operator()(_GList* list) const noexcept { _g_list_free(list); }
};
using ListPtr = std::unique_ptr<_GList, CListFree>; ///< a list that GTK handed out; its elements are GTK's

template <class Element> std::vector<Element*> elementsOf(_GList* list)
{
    std::vector<Element*> elements(_g_list_length(list));
    int next = 0;
    for (Element*& element : elements)
        element = static_cast<Element*>(_g_list_nth_data(list, next++));
    return elements;
}

std::vector<_GtkWidget*> childrenOf(_GtkWidget* container)
{
    const ListPtr list(_gtk_container_get_children(reinterpret_cast<_GtkContainer*>(container)));
    return elementsOf<_GtkWidget>(list.get());
}

/// A menu's widget; null when the window is no menu. What is in a menu is a menu item.
_GtkWidget* menuOf(Window window)
{
    _GtkWidget* const widget = gtkWidgetOf(window);
    return isGtkInstance(widget, _gtk_menu_shell_get_type()) ? widget : nullptr;
}

_GtkWidget* itemOf(Window menu, int index)
{
    _GtkWidget* const widget = menuOf(menu);
    const auto items = widget ? childrenOf(widget) : std::vector<_GtkWidget*>();
    return index >= 0 && index < std::ssize(items) ? items[static_cast<size_t>(index)] : nullptr;
}

/// The first label at or below a widget. An item with an icon or of a menu model has it in a box.
_GtkWidget* labelIn(_GtkWidget* widget)
{
    if (isGtkInstance(widget, _gtk_label_get_type()))
        return widget;
    if (isGtkInstance(widget, _gtk_container_get_type()))
        for (_GtkWidget* child : childrenOf(widget))
            if (_GtkWidget* const label = labelIn(child))
                return label;
    return nullptr;
}

const char* textOf(_GtkWidget* item)
{
    _GtkWidget* const label = labelIn(_gtk_bin_get_child(reinterpret_cast<_GtkBin*>(item)));
    return label ? _gtk_label_get_text(reinterpret_cast<_GtkLabel*>(label)) : nullptr;
}

Window xidOf(_GdkDrawable* window)
{
    return CToolkit::gdkWindowXid(reinterpret_cast<unsigned long>(window));
}

/// Gives the menus below a GdkWindow X windows of their own. GDK keeps the windows of widgets to itself until
/// somebody asks for the X window of one, and without one nobody could name the menu.
void exposeMenusBelow(_GdkDrawable* window)
{
    for (_GdkDrawable* child : elementsOf<_GdkDrawable>(_gdk_window_peek_children(window))) {
        void* widget = nullptr;
        _gdk_window_get_user_data(child, &widget);
        if (!isGtkInstance(widget, _gtk_menu_shell_get_type()))
            exposeMenusBelow(child);
        else if (_gtk_widget_get_window(static_cast<_GtkWidget*>(widget)) == child)
            xidOf(child);
    }
}

class CGtkMenus final : public IMenuToolkit {
public:
    void publish() const override;
    Window menuBarAmong(const std::vector<Window>& windows) const override;
    std::vector<Window> panesIn(CWindowTree tree) const override;
    /// A pane that begins left of or above the screen is not one that a user can click through.
    bool canShowAt(const CPlace& place) const override { return place.known && place.x >= 0 && place.y >= 0; }
    Window contextMenuAmong(const std::vector<Window>& panes) const override
    {
        return panes.empty() ? 0 : panes.front();
    }
    Window ownerOf(Display*, Window, Window frame) const override { return frame; }
    int itemCount(Window menu) const override;
    int itemText(Window menu, int index, char* buffer, int size) const override;
    std::optional<Rect> itemBox(Window menu, int index) const override;
    Window submenuWindow(Window menu, int index) const override;
};

void CGtkMenus::publish() const
{
    const ListPtr toplevels(_gtk_window_list_toplevels());
    for (_GtkWidget* toplevel : elementsOf<_GtkWidget>(toplevels.get()))
        if (_GdkDrawable* const window = _gtk_widget_get_window(toplevel))
            exposeMenusBelow(window);
    if (_GdkDisplay* const display = _gdk_display_get_default())
        _gdk_display_sync(display);
}

Window CGtkMenus::menuBarAmong(const std::vector<Window>& windows) const
{
    const auto isBar = [](Window window) {
        return isGtkInstance(gtkWidgetOf(window), _gtk_menu_bar_get_type());
    };
    const auto found = std::find_if(windows.begin(), windows.end(), isBar);
    return found == windows.end() ? 0 : *found;
}

std::vector<Window> CGtkMenus::panesIn(CWindowTree tree) const
{
    std::vector<Window> panes;
    tree.visitSiblingsFirst([&](const CTreeWindow& entry) {
        if (isGtkInstance(gtkWidgetOf(entry.window), _gtk_menu_get_type()))
            panes.push_back(entry.window);
    });
    return panes;
}

int CGtkMenus::itemCount(Window menu) const
{
    _GtkWidget* const widget = menuOf(menu);
    return widget ? static_cast<int>(childrenOf(widget).size()) : -1;
}

int CGtkMenus::itemText(Window menu, int index, char* buffer, int size) const
{
    _GtkWidget* const item = itemOf(menu, index);
    const char* const text = item ? textOf(item) : nullptr;
    if (!text)
        return 0;
    copyText(text, buffer, size);
    return static_cast<int>(std::strlen(text));
}

/// An item's place counts from the window that it is drawn into: in a pane that is one inside of the pane's
/// frame, and it moves when the menu scrolls.
std::optional<Rect> CGtkMenus::itemBox(Window menu, int index) const
{
    _GtkWidget* const item = itemOf(menu, index);
    if (!item)
        return std::nullopt;
    _GtkAllocation box{};
    _gtk_widget_get_allocation(item, &box);
    _GdkDrawable* const pane = _gdk_window_lookup(menu);
    for (_GdkDrawable* window = _gtk_widget_get_window(item); window && window != pane;
         window = _gdk_window_get_parent(window)) {
        int x = 0, y = 0;
        _gdk_window_get_position(window, &x, &y);
        box.x += x;
        box.y += y;
    }
    const int scale = std::max(_gdk_window_get_scale_factor(pane), 1);
    return Rect(box.y * scale, box.x * scale, box.height * scale, box.width * scale);
}

Window CGtkMenus::submenuWindow(Window menu, int index) const
{
    _GtkWidget* const item = itemOf(menu, index);
    _GtkWidget* const submenu =
        item ? _gtk_menu_item_get_submenu(reinterpret_cast<_GtkMenuItem*>(item)) : nullptr;
    return submenu ? xidOf(_gtk_widget_get_window(submenu)) : 0;
}
} // namespace

const IMenuToolkit& gtkMenus()
{
    static const CGtkMenus s_menus;
    return s_menus;
}
