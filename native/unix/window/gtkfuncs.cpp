#include "gtkfuncs.h"

#include "LoadedLibrary.h"

namespace {
constexpr const char* GTK12 = "libgtk-1.2.so.0";
constexpr const char* GTK2 = "libgtk-x11-2.0.so.0";
constexpr const char* GTK3 = "libgtk-3.so.0";
constexpr const char* GDK2 = "libgdk-x11-2.0.so.0";
constexpr const char* GDK3 = "libgdk-3.so.0";
constexpr const char* GLIB = "libglib-2.0.so.0";
constexpr const char* GOBJECT = "libgobject-2.0.so.0";

bool isLoaded(const char* library)
{
    return loadedLibrary(library) != nullptr;
}

using Timeout = int (*)(void*);

constinit CLateFunction<void(_GList*)> s_listFree{"g_list_free", GLIB};
constinit CLateFunction<unsigned(_GList*)> s_listLength{"g_list_length", GLIB};
constinit CLateFunction<void*(_GList*, int)> s_listNthData{"g_list_nth_data", GLIB};
constinit CLateFunction<unsigned(int, Timeout, void*, void (*)(void*))> s_addIdle{"g_idle_add_full", GLIB};
constinit CLateFunction<int(unsigned long, unsigned long)> s_typeIsA{"g_type_is_a", GOBJECT};
constinit CLateFunction<void(_GdkDrawable*, void**)> s_userData{"gdk_window_get_user_data", GDK2, GDK3};
constinit CLateFunction<void(_GdkDrawable*, int*, int*, int*, int*, int*)> s_geometry{
    "gdk_window_get_geometry", GDK2, GDK3};
constinit CLateFunction<unsigned long(_GdkDrawable*)> s_windowXid{"gdk_x11_window_get_xid", GDK3};
constinit CLateFunction<unsigned long(_GdkDrawable*)> s_drawableXid{"gdk_x11_drawable_get_xid", GDK2, GDK3};
constinit CLateFunction<_GList*(_GdkDrawable*)> s_windowChildren{"gdk_window_peek_children", GDK2, GDK3};
constinit CLateFunction<int(_GdkDrawable*)> s_hasNative{"gdk_window_has_native", GDK2, GDK3};
constinit CLateFunction<_GdkDrawable*(_GdkDrawable*)> s_parent{"gdk_window_get_parent", GDK2, GDK3};
constinit CLateFunction<void(_GdkDrawable*, int*, int*)> s_position{"gdk_window_get_position", GDK2, GDK3};
constinit CLateFunction<int(_GdkDrawable*)> s_scale{"gdk_window_get_scale_factor", GDK3};
constinit CLateFunction<_GdkDisplay*()> s_defaultDisplay{"gdk_display_get_default", GDK2, GDK3};
constinit CLateFunction<void(_GdkDisplay*)> s_displaySync{"gdk_display_sync", GDK2, GDK3};
constinit CLateFunction<_GtkWidget*(_GtkBin*)> s_binChild{"gtk_bin_get_child", GTK2, GTK3};
constinit CLateFunction<unsigned long()> s_comboType{{GTK2, "gtk_combo_get_type"},
                                                     {GTK3, "gtk_combo_box_get_type"}};
constinit CLateFunction<_GList*(_GtkContainer*)> s_children{"gtk_container_get_children", GTK2, GTK3};
constinit CLateFunction<unsigned long()> s_containerType{"gtk_container_get_type", GTK2, GTK3};
constinit CLateFunction<unsigned long()> s_frameType{"gtk_frame_get_type", GTK2, GTK3};
constinit CLateFunction<const char*(_GtkLabel*)> s_labelText{"gtk_label_get_text", GTK2, GTK3};
constinit CLateFunction<unsigned long()> s_checkItemType{"gtk_check_menu_item_get_type", GTK2, GTK3};
constinit CLateFunction<int(_GtkWidget*)> s_isItemActive{"gtk_check_menu_item_get_active", GTK2, GTK3};
constinit CLateFunction<unsigned long()> s_labelType{"gtk_label_get_type", GTK2, GTK3};
constinit CLateFunction<void(_GtkList*, GtkScrollType, float)> s_scrollVertical{"gtk_list_scroll_vertical",
                                                                                GTK2};
constinit CLateFunction<unsigned long()> s_menuType{"gtk_menu_get_type", GTK2, GTK3};
constinit CLateFunction<unsigned long()> s_menuBarType{"gtk_menu_bar_get_type", GTK2, GTK3};
constinit CLateFunction<_GtkWidget*(_GtkMenuItem*)> s_submenu{"gtk_menu_item_get_submenu", GTK2, GTK3};
constinit CLateFunction<unsigned long()> s_menuShellType{"gtk_menu_shell_get_type", GTK2, GTK3};
constinit CLateFunction<void(_GtkWidget*, _GtkAllocation*)> s_allocation{"gtk_widget_get_allocation", GTK2,
                                                                         GTK3};
constinit CLateFunction<int(_GtkWidget*)> s_isVisible{"gtk_widget_get_visible", GTK2, GTK3};
constinit CLateFunction<int(_GtkWidget*)> s_isSensitive{"gtk_widget_is_sensitive", GTK2, GTK3};
constinit CLateFunction<_GdkDrawable*(_GtkWidget*)> s_widgetWindow{"gtk_widget_get_window", GTK2, GTK3};
constinit CLateFunction<unsigned(unsigned, Timeout, void*)> s_addTimeout3{"g_timeout_add", GTK3};
constinit CLateFunction<unsigned(unsigned, Timeout, void*)> s_addTimeout{"gtk_timeout_add", GTK2, GTK12};
constinit CLateFunction<void(int)> s_removeTimeout{"gtk_timeout_remove", GTK2, GTK12};

/// How the GDK that is loaded finds the window of an X window; finds none where no GDK is.
struct CWindowLookup {
    _GdkDrawable* (*gtk2)(unsigned long) = nullptr;
    _GdkDrawable* (*gtk3)(void*, unsigned long) = nullptr;
    void* (*gtk3Display)() = nullptr;

    _GdkDrawable* operator()(unsigned long xid) const
    {
        if (gtk2)
            return gtk2(xid);
        return gtk3 && gtk3Display ? gtk3(gtk3Display(), xid) : nullptr;
    }
};

template <class Function> void find(Function& function, const LibraryHandle& library, const char* name)
{
    function = reinterpret_cast<Function>(dlsym(library.get(), name));
}

CWindowLookup windowLookup()
{
    CWindowLookup lookup;
    if (const auto gdk2 = loadedLibrary(GDK2)) {
        find(lookup.gtk2, gdk2, "gdk_window_lookup");
    } else if (const auto gdk3 = loadedLibrary(GDK3)) {
        find(lookup.gtk3, gdk3, "gdk_x11_window_lookup_for_display");
        find(lookup.gtk3Display, gdk3, "gdk_display_get_default");
    }
    return lookup;
}
} // namespace

bool isGTK()
{
    static const bool s_loaded = isLoaded(GTK12);
    return s_loaded;
}

bool isGTK2()
{
    static const bool s_loaded = isLoaded(GDK2);
    return s_loaded;
}

bool isGTK3()
{
    static const bool s_loaded = isLoaded(GDK3);
    return s_loaded;
}

void _g_list_free(_GList* list)
{
    s_listFree(list);
}

unsigned _g_list_length(_GList* list)
{
    return s_listLength(list);
}

void* _g_list_nth_data(_GList* list, int index)
{
    return s_listNthData(list, index);
}

unsigned _g_idle_add_full(int priority, int (*function)(void*), void* data, void (*destroy)(void*))
{
    return s_addIdle(priority, function, data, destroy);
}

int _g_type_is_a(unsigned long type, unsigned long ancestor)
{
    return s_typeIsA(type, ancestor);
}

void _gdk_window_get_user_data(_GdkDrawable* window, void** data)
{
    s_userData(window, data);
}

void _gdk_window_get_geometry(_GdkDrawable* window, int* x, int* y, int* width, int* height, int* depth)
{
    s_geometry(window, x, y, width, height, depth);
}

unsigned long _gdk_x11_window_get_xid(_GdkDrawable* window)
{
    return s_windowXid(window);
}

unsigned long _gdk_x11_drawable_get_xid(_GdkDrawable* window)
{
    return s_drawableXid(window);
}

_GdkDrawable* _gdk_window_lookup(unsigned long xid)
{
    static constinit thread_local CWindowLookup t_lookup;
    static constinit thread_local unsigned long long t_changes = 0;
    if (const unsigned long long changes = libraryChanges(); changes != t_changes) {
        t_lookup = windowLookup();
        t_changes = changes;
    }
    return t_lookup(xid);
}

_GList* _gdk_window_peek_children(_GdkDrawable* window)
{
    return s_windowChildren(window);
}

int _gdk_window_has_native(_GdkDrawable* window)
{
    return s_hasNative(window);
}

_GdkDrawable* _gdk_window_get_parent(_GdkDrawable* window)
{
    return s_parent(window);
}

void _gdk_window_get_position(_GdkDrawable* window, int* x, int* y)
{
    s_position(window, x, y);
}

int _gdk_window_get_scale_factor(_GdkDrawable* window)
{
    return s_scale(window);
}

_GdkDisplay* _gdk_display_get_default()
{
    return s_defaultDisplay();
}

void _gdk_display_sync(_GdkDisplay* display)
{
    s_displaySync(display);
}

_GtkWidget* _gtk_bin_get_child(_GtkBin* bin)
{
    return s_binChild(bin);
}

unsigned long _gtk_combo_get_type()
{
    return s_comboType();
}

_GList* _gtk_container_get_children(_GtkContainer* container)
{
    return s_children(container);
}

unsigned long _gtk_container_get_type()
{
    return s_containerType();
}

unsigned long _gtk_frame_get_type()
{
    return s_frameType();
}

const char* _gtk_label_get_text(_GtkLabel* label)
{
    return s_labelText(label);
}

unsigned long _gtk_check_menu_item_get_type()
{
    return s_checkItemType();
}

int _gtk_check_menu_item_get_active(_GtkWidget* item)
{
    return s_isItemActive(item);
}

unsigned long _gtk_label_get_type()
{
    return s_labelType();
}

void _gtk_list_scroll_vertical(_GtkList* list, GtkScrollType type, float position)
{
    s_scrollVertical(list, type, position);
}

unsigned long _gtk_menu_get_type()
{
    return s_menuType();
}

unsigned long _gtk_menu_bar_get_type()
{
    return s_menuBarType();
}

_GtkWidget* _gtk_menu_item_get_submenu(_GtkMenuItem* item)
{
    return s_submenu(item);
}

unsigned long _gtk_menu_shell_get_type()
{
    return s_menuShellType();
}

void _gtk_widget_get_allocation(_GtkWidget* widget, _GtkAllocation* allocation)
{
    s_allocation(widget, allocation);
}

int _gtk_widget_get_visible(_GtkWidget* widget)
{
    return s_isVisible(widget);
}

int _gtk_widget_is_sensitive(_GtkWidget* widget)
{
    return s_isSensitive(widget);
}

_GdkDrawable* _gtk_widget_get_window(_GtkWidget* widget)
{
    return s_widgetWindow(widget);
}

unsigned _gtk_timeout_add(unsigned milliseconds, int (*function)(void*), void* data)
{
    return isGTK3() ? s_addTimeout3(milliseconds, function, data)
                    : s_addTimeout(milliseconds, function, data);
}

int _gtk_timeout_remove(int timeout)
{
    if (!isGTK3())
        s_removeTimeout(timeout);
    return 0;
}

bool isGtkInstance(const void* object, unsigned long type)
{
    // A GObject starts with the address of its class, and a class with its type.
    return object && _g_type_is_a(**static_cast<const unsigned long* const*>(object), type);
}
