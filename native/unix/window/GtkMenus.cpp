#include "unix/window/MenuToolkit.h"

#include "unix/window/Toolkit.h"
#include "unix/window/WindowManagerUnix.h"
#include "unix/window/gtkfuncs.h"

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

/// The widget of a type that a window shows: the window's own, or that of a window inside which GDK draws
/// into this one. Since 2.18 GDK keeps the windows of widgets to itself. It would give one of them an X
/// window on demand, but that window would be opaque: a menu bar without a background of its own would turn
/// black.
_GtkWidget* widgetIn(_GdkDrawable* window, unsigned long type)
{
    void* widget = nullptr;
    _gdk_window_get_user_data(window, &widget);
    if (isGtkInstance(widget, type))
        return static_cast<_GtkWidget*>(widget);
    for (_GdkDrawable* child : elementsOf<_GdkDrawable>(_gdk_window_peek_children(window)))
        if (_GtkWidget* const found = _gdk_window_has_native(child) ? nullptr : widgetIn(child, type))
            return found;
    return nullptr;
}

Window xidOf(_GdkDrawable* window)
{
    return CToolkit::gdkWindowXid(reinterpret_cast<unsigned long>(window));
}

/// GDK also knows a top-level window by a helper window of its own, which holds the keyboard focus for it.
_GtkWidget* widgetIn(Window window, unsigned long type)
{
    _GdkDrawable* const known = window ? _gdk_window_lookup(window) : nullptr;
    return known && xidOf(known) == window ? widgetIn(known, type) : nullptr;
}

/// What is in a menu shell is a menu item.
_GtkWidget* menuOf(Window window)
{
    return widgetIn(window, _gtk_menu_shell_get_type());
}

/// The X window that a GdkWindow is drawn into.
Window xWindowOf(_GdkDrawable* window)
{
    while (window && !_gdk_window_has_native(window))
        window = _gdk_window_get_parent(window);
    return xidOf(window);
}

/// Moves a rectangle in a GdkWindow into one around it, and into pixels of X11.
Rect boxIn(_GdkDrawable* around, _GdkDrawable* window, _GtkAllocation box)
{
    for (; window && window != around; window = _gdk_window_get_parent(window)) {
        int x = 0, y = 0;
        _gdk_window_get_position(window, &x, &y);
        box.x += x;
        box.y += y;
    }
    const int scale = std::max(_gdk_window_get_scale_factor(around), 1);
    return {box.y * scale, box.x * scale, box.height * scale, box.width * scale};
}

/// The same for what the windows on the way do not cut off; nothing when they cut off all.
std::optional<Rect> clippedBoxIn(_GdkDrawable* around, _GdkDrawable* window, _GtkAllocation box)
{
    for (_GdkDrawable* next = window; next; next = _gdk_window_get_parent(next)) {
        int x = 0, y = 0, width = 0, height = 0, depth = 0;
        _gdk_window_get_geometry(next, &x, &y, &width, &height, &depth);
        const Rect part = clipped(Rect(box.y, box.x, box.height, box.width), width, height);
        if (part.isZero())
            return std::nullopt;
        box = {part.getLeft(), part.getTop(), part.getWidth(), part.getHeight()};
        if (next == around)
            break;
        _gdk_window_get_position(next, &x, &y);
        box.x += x;
        box.y += y;
    }
    return boxIn(around, around, box);
}

std::vector<_GtkWidget*> itemsOf(Window menu)
{
    _GtkWidget* const widget = menuOf(menu);
    return widget ? childrenOf(widget) : std::vector<_GtkWidget*>();
}

_GtkWidget* itemOf(Window menu, int index)
{
    const auto items = itemsOf(menu);
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

Window submenuOf(_GtkWidget* item)
{
    _GtkWidget* const submenu = _gtk_menu_item_get_submenu(reinterpret_cast<_GtkMenuItem*>(item));
    return submenu ? xWindowOf(_gtk_widget_get_window(submenu)) : 0;
}

std::optional<bool> checkedOf(_GtkWidget* item)
{
    const bool isCheckable = isGtkInstance(item, _gtk_check_menu_item_get_type());
    return isCheckable ? std::optional(_gtk_check_menu_item_get_active(item) != 0) : std::nullopt;
}

/// A menu that is too long for the screen scrolls in a window of its own, between the two arrows.
GxMenu::ItemView viewOf(_GtkWidget* item, _GdkDrawable* around)
{
    GxMenu::ItemView view{.shown = _gtk_widget_get_visible(item) != 0,
                          .enabled = _gtk_widget_is_sensitive(item) != 0,
                          .checked = checkedOf(item),
                          .submenu = submenuOf(item)};
    _GtkAllocation box{};
    _gtk_widget_get_allocation(item, &box);
    if (view.shown)
        view.seenPart = clippedBoxIn(around, _gtk_widget_get_window(item), box).value_or(Rect());
    return view;
}

class CGtkMenus final : public IMenuToolkit {
public:
    void publish() const override;
    Display* published(Display* other) const override
    {
        publish();
        return other;
    }
    Window menuBarIn(Display* display, Window start) const override;
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
    unsigned long widgetIdOf(Window menu) const override
    {
        return reinterpret_cast<unsigned long>(menuOf(menu));
    }
    std::optional<Rect> partOfWindow(Window menu) const override;
    std::optional<Rect> itemBox(Window menu, int index) const override;
    Window submenuWindow(Window menu, int index) const override;
    std::vector<std::string> wholeTexts(Window menu) const override;
    std::vector<GxMenu::ItemView> itemViews(Window menu) const override;
    int msUntilClickIsTaken(Window, Time (*)()) const override { return 0; }
    void whenIdle(void (*seenTo)(long), long mark) const override;
};

/// GTK 3 keeps events back while a frame is made, and does not tell of them then. Frames and events come
/// before this priority.
void CGtkMenus::whenIdle(void (*seenTo)(long), long mark) const
{
    struct CCall {
        void (*seenTo)(long);
        long mark;
    };
    const auto call = [](void* data) {
        const std::unique_ptr<CCall> owner(static_cast<CCall*>(data));
        owner->seenTo(owner->mark);
        return 0; // once
    };
    constexpr int defaultIdle = 200; // G_PRIORITY_DEFAULT_IDLE
    _g_idle_add_full(defaultIdle, call, new CCall{seenTo, mark}, nullptr);
}

void CGtkMenus::publish() const
{
    if (_GdkDisplay* const display = _gdk_display_get_default())
        _gdk_display_sync(display);
}

/// The window itself counts, too: a menu bar is drawn into the window that it is in.
Window CGtkMenus::menuBarIn(Display* display, Window start) const
{
    auto windows = windowsOf(wholeTree(display, start));
    windows.insert(windows.begin(), start);
    const auto isBar = [](Window window) { return widgetIn(window, _gtk_menu_bar_get_type()) != nullptr; };
    const auto found = std::find_if(windows.begin(), windows.end(), isBar);
    return found == windows.end() ? 0 : *found;
}

std::vector<Window> CGtkMenus::panesIn(CWindowTree tree) const
{
    std::vector<Window> panes;
    tree.visitSiblingsFirst([&](const CTreeWindow& entry) {
        if (isGtkMenu(entry.window))
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

/// A pane or bar that is drawn into the window that it is named by.
std::optional<Rect> CGtkMenus::partOfWindow(Window menu) const
{
    _GtkWidget* const widget = menuOf(menu);
    _GdkDrawable* const window = widget ? _gtk_widget_get_window(widget) : nullptr;
    _GdkDrawable* const around = _gdk_window_lookup(menu);
    if (!window || window == around)
        return std::nullopt;
    int x = 0, y = 0, width = 0, height = 0, depth = 0;
    _gdk_window_get_geometry(window, &x, &y, &width, &height, &depth);
    return boxIn(around, window, {0, 0, width, height});
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
    return boxIn(_gdk_window_lookup(menu), _gtk_widget_get_window(item), box);
}

Window CGtkMenus::submenuWindow(Window menu, int index) const
{
    _GtkWidget* const item = itemOf(menu, index);
    return item ? submenuOf(item) : 0;
}

std::vector<std::string> CGtkMenus::wholeTexts(Window menu) const
{
    std::vector<std::string> texts;
    for (_GtkWidget* const item : itemsOf(menu)) {
        const char* const text = textOf(item);
        texts.emplace_back(text ? text : "");
    }
    return texts;
}

std::vector<GxMenu::ItemView> CGtkMenus::itemViews(Window menu) const
{
    std::vector<GxMenu::ItemView> views;
    for (_GtkWidget* const item : itemsOf(menu))
        views.push_back(viewOf(item, _gdk_window_lookup(menu)));
    return views;
}
} // namespace

bool isGtkMenu(Window window)
{
    return widgetIn(window, _gtk_menu_get_type()) != nullptr;
}

const IMenuToolkit& gtkMenus()
{
    static const CGtkMenus s_menus;
    return s_menus;
}
