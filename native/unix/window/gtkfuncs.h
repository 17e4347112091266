/// GTK, GDK and GLib as the application has loaded them. The library serves Motif, GTK 2 and GTK 3
/// applications and links none of them: each function here finds the real one of the same name, less the
/// Underscore, in a library that the process has loaded already, keeps it, and calls it. As long as there is
/// none it answers 0 and looks again at the next call. Nothing is ever loaded.
///
/// Any thread may ask; what GTK itself allows on which thread holds for the calls. None of this blocks. For
/// reading widgets there are more in GtkCalls.h.
#pragma once

#include "unix/window/LoadedLibrary.h"

struct _GList;
struct _GdkDisplay;
struct _GdkDrawable; ///< a GdkWindow, under GTK 3 as well
struct _GtkBin;
struct _GtkContainer;
struct _GtkLabel;
struct _GtkList;
struct _GtkMenuItem;
struct _GtkWidget;
enum GtkScrollType : unsigned;

/// Place and size of a widget, in GTK's pixels (see _gdk_window_get_scale_factor).
struct _GtkAllocation {
    int x; ///< from the corner of the GdkWindow that the widget is drawn into
    int y;
    int width;
    int height;
};

/// Which GTK the process runs. Decided by the first call and never again, even if another is loaded later.
bool isGTK(); ///< GTK 1.2 alone, whose widgets nobody here reads
bool isGTK2();
bool isGTK3();
bool isGTK2or3(); ///< whose widgets this library reads
bool isAnyGTK();  ///< one of the three

namespace late {
inline constexpr const char* GTK12 = "libgtk-1.2.so.0";
inline constexpr const char* GTK2 = "libgtk-x11-2.0.so.0";
inline constexpr const char* GTK3 = "libgtk-3.so.0";
inline constexpr const char* GDK2 = "libgdk-x11-2.0.so.0";
inline constexpr const char* GDK3 = "libgdk-3.so.0";
inline constexpr const char* GLIB = "libglib-2.0.so.0";
inline constexpr const char* ATK = "libatk-1.0.so.0";
inline constexpr const char* GOBJECT = "libgobject-2.0.so.0";
} // namespace late

/// One line a function: result, arguments, name here, symbol, libraries of which the first that is loaded has
/// it. Kept in the library also where only tests call it.
#define GX_LATE(Result, Arguments, name, symbol, ...)                                                        \
    [[gnu::used]] inline constinit CLateFunction<Result Arguments> name{symbol, __VA_ARGS__};

GX_LATE(void, (_GList*), _g_list_free, "g_list_free", late::GLIB)
GX_LATE(unsigned, (_GList*), _g_list_length, "g_list_length", late::GLIB)
GX_LATE(void*, (_GList*, int), _g_list_nth_data, "g_list_nth_data", late::GLIB)
GX_LATE(unsigned, (int, int (*)(void*), void*, void (*)(void*)), _g_idle_add_full, "g_idle_add_full",
        late::GLIB)
/// Not 0 when the first type is the second or derived from it.
GX_LATE(int, (unsigned long, unsigned long), _g_type_is_a, "g_type_is_a", late::GOBJECT)

/// The second receives the widget that the window belongs to.
GX_LATE(void, (_GdkDrawable*, void**), _gdk_window_get_user_data, "gdk_window_get_user_data", late::GDK2,
        late::GDK3)
/// x, y, width, height, depth.
GX_LATE(void, (_GdkDrawable*, int*, int*, int*, int*, int*), _gdk_window_get_geometry,
        "gdk_window_get_geometry", late::GDK2, late::GDK3)
/// GTK 3
GX_LATE(unsigned long, (_GdkDrawable*), _gdk_x11_window_get_xid, "gdk_x11_window_get_xid", late::GDK3)
/// GTK 2; GTK 3 has no such function
GX_LATE(unsigned long, (_GdkDrawable*), _gdk_x11_drawable_get_xid, "gdk_x11_drawable_get_xid", late::GDK2,
        late::GDK3)
/// The GdkWindow of an X window; null when GDK does not know it. Looked up anew at every call.
_GdkDrawable* _gdk_window_lookup(unsigned long xid);
/// Topmost first; the list is GDK's
GX_LATE(_GList*, (_GdkDrawable*), _gdk_window_peek_children, "gdk_window_peek_children", late::GDK2,
        late::GDK3)
/// Not 0 when it has an X window of its own; GTK 2.18
GX_LATE(int, (_GdkDrawable*), _gdk_window_has_native, "gdk_window_has_native", late::GDK2, late::GDK3)
GX_LATE(_GdkDrawable*, (_GdkDrawable*), _gdk_window_get_parent, "gdk_window_get_parent", late::GDK2,
        late::GDK3)
/// x and y in the parent.
GX_LATE(void, (_GdkDrawable*, int*, int*), _gdk_window_get_position, "gdk_window_get_position", late::GDK2,
        late::GDK3)
/// Pixels of X11 for one of GTK 3; 0 under GTK 2
GX_LATE(int, (_GdkDrawable*), _gdk_window_get_scale_factor, "gdk_window_get_scale_factor", late::GDK3)
GX_LATE(_GdkDisplay*, (), _gdk_display_get_default, "gdk_display_get_default", late::GDK2, late::GDK3)
GX_LATE(void, (_GdkDisplay*), _gdk_display_sync, "gdk_display_sync", late::GDK2, late::GDK3)

GX_LATE(_GtkWidget*, (_GtkBin*), _gtk_bin_get_child, "gtk_bin_get_child", late::GTK2, late::GTK3)
GX_LATE(unsigned long, (), _gtk_check_menu_item_get_type, "gtk_check_menu_item_get_type", late::GTK2,
        late::GTK3)
/// Not 0 when it is ticked
GX_LATE(int, (_GtkWidget*), _gtk_check_menu_item_get_active, "gtk_check_menu_item_get_active", late::GTK2,
        late::GTK3)
/// Under GTK 3 the type of combo boxes
[[gnu::used]] inline constinit CLateFunction<unsigned long()> _gtk_combo_get_type{
    {late::GTK2, "gtk_combo_get_type"}, {late::GTK3, "gtk_combo_box_get_type"}};
/// The caller frees the list
GX_LATE(_GList*, (_GtkContainer*), _gtk_container_get_children, "gtk_container_get_children", late::GTK2,
        late::GTK3)
GX_LATE(unsigned long, (), _gtk_container_get_type, "gtk_container_get_type", late::GTK2, late::GTK3)
GX_LATE(unsigned long, (), _gtk_frame_get_type, "gtk_frame_get_type", late::GTK2, late::GTK3)
/// UTF-8; the label's own
GX_LATE(const char*, (_GtkLabel*), _gtk_label_get_text, "gtk_label_get_text", late::GTK2, late::GTK3)
GX_LATE(unsigned long, (), _gtk_label_get_type, "gtk_label_get_type", late::GTK2, late::GTK3)
/// GTK 2
GX_LATE(void, (_GtkList*, GtkScrollType, float), _gtk_list_scroll_vertical, "gtk_list_scroll_vertical",
        late::GTK2)
GX_LATE(unsigned long, (), _gtk_menu_get_type, "gtk_menu_get_type", late::GTK2, late::GTK3)
GX_LATE(unsigned long, (), _gtk_menu_bar_get_type, "gtk_menu_bar_get_type", late::GTK2, late::GTK3)
GX_LATE(_GtkWidget*, (_GtkMenuItem*), _gtk_menu_item_get_submenu, "gtk_menu_item_get_submenu", late::GTK2,
        late::GTK3)
/// Of menus and menu bars
GX_LATE(unsigned long, (), _gtk_menu_shell_get_type, "gtk_menu_shell_get_type", late::GTK2, late::GTK3)
GX_LATE(void, (_GtkWidget*, _GtkAllocation*), _gtk_widget_get_allocation, "gtk_widget_get_allocation",
        late::GTK2, late::GTK3)
/// Not 0 when it is not hidden; GTK 2.18
GX_LATE(int, (_GtkWidget*), _gtk_widget_get_visible, "gtk_widget_get_visible", late::GTK2, late::GTK3)
/// Not 0 when it and all around it react; GTK 2.18
GX_LATE(int, (_GtkWidget*), _gtk_widget_is_sensitive, "gtk_widget_is_sensitive", late::GTK2, late::GTK3)
/// The GdkWindow that the widget is drawn into, its own or an ancestor's; null before it is realized.
GX_LATE(_GdkDrawable*, (_GtkWidget*), _gtk_widget_get_window, "gtk_widget_get_window", late::GTK2, late::GTK3)
/// Of these three, _gtk_timeout_add and _gtk_timeout_remove take what the GTK of the process has.
namespace late {
GX_LATE(unsigned, (unsigned, int (*)(void*), void*), g_timeout_add, "g_timeout_add", GTK3)
GX_LATE(unsigned, (unsigned, int (*)(void*), void*), gtk_timeout_add, "gtk_timeout_add", GTK2, GTK12)
GX_LATE(void, (int), gtk_timeout_remove, "gtk_timeout_remove", GTK2, GTK12)
} // namespace late
/// Has `function(data)` called every `milliseconds` until it answers 0.
/// @return a number greater than 0
unsigned _gtk_timeout_add(unsigned milliseconds, int (*function)(void*), void* data);
/// Ends such calls. Under GTK 3 nothing happens: let the function answer 0 there.
/// @return 0
int _gtk_timeout_remove(int timeout);

/// Whether a GObject is of a type or of one derived from it. False for null.
bool isGtkInstance(const void* object, unsigned long type);
