/// GTK, GDK and GLib as the application has loaded them. The library serves Motif, GTK 2 and GTK 3
/// applications and links none of them: each function here finds the real one of the same name, less the
/// underscore, in a library that the process has loaded already, keeps it, and calls it. As long as there is
/// none it answers 0 and looks again at the next call. Nothing is ever loaded.
///
/// Any thread may ask; what GTK itself allows on which thread holds for the calls. None of this blocks.
#pragma once

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
bool isGTK(); ///< GTK 1.2
bool isGTK2();
bool isGTK3();

void _g_list_free(_GList* list);
unsigned _g_list_length(_GList* list);
void* _g_list_nth_data(_GList* list, int index);
unsigned _g_idle_add_full(int priority, int (*function)(void*), void* data, void (*destroy)(void*));
/// @return not 0 when `type` is `ancestor` or derived from it
int _g_type_is_a(unsigned long type, unsigned long ancestor);

/// @param data  receives the widget that the window belongs to
void _gdk_window_get_user_data(_GdkDrawable* window, void** data);
void _gdk_window_get_geometry(_GdkDrawable* window, int* x, int* y, int* width, int* height, int* depth);
unsigned long _gdk_x11_window_get_xid(_GdkDrawable* window);   ///< GTK 3
unsigned long _gdk_x11_drawable_get_xid(_GdkDrawable* window); ///< GTK 2; GTK 3 has no such function
/// The GdkWindow of an X window; null when GDK does not know it. Looked up anew at every call.
_GdkDrawable* _gdk_window_lookup(unsigned long xid);
_GList* _gdk_window_peek_children(_GdkDrawable* window); ///< topmost first; the list is GDK's
int _gdk_window_has_native(_GdkDrawable* window); ///< not 0 when it has an X window of its own; GTK 2.18
_GdkDrawable* _gdk_window_get_parent(_GdkDrawable* window);
void _gdk_window_get_position(_GdkDrawable* window, int* x, int* y); ///< in the parent
int _gdk_window_get_scale_factor(_GdkDrawable* window); ///< pixels of X11 for one of GTK 3; 0 under GTK 2
_GdkDisplay* _gdk_display_get_default();
void _gdk_display_sync(_GdkDisplay* display);

_GtkWidget* _gtk_bin_get_child(_GtkBin* bin);
unsigned long _gtk_check_menu_item_get_type();
int _gtk_check_menu_item_get_active(_GtkWidget* item);         ///< not 0 when it is ticked
unsigned long _gtk_combo_get_type();                           ///< under GTK 3 the type of combo boxes
_GList* _gtk_container_get_children(_GtkContainer* container); ///< the caller frees the list
unsigned long _gtk_container_get_type();
unsigned long _gtk_frame_get_type();
const char* _gtk_label_get_text(_GtkLabel* label); ///< UTF-8; the label's own
unsigned long _gtk_label_get_type();
void _gtk_list_scroll_vertical(_GtkList* list, GtkScrollType type, float position); ///< GTK 2
unsigned long _gtk_menu_get_type();
unsigned long _gtk_menu_bar_get_type();
_GtkWidget* _gtk_menu_item_get_submenu(_GtkMenuItem* item);
unsigned long _gtk_menu_shell_get_type(); ///< of menus and menu bars
void _gtk_widget_get_allocation(_GtkWidget* widget, _GtkAllocation* allocation);
int _gtk_widget_get_visible(_GtkWidget* widget);  ///< not 0 when it is not hidden; GTK 2.18
int _gtk_widget_is_sensitive(_GtkWidget* widget); ///< not 0 when it and all around it react; GTK 2.18
/// The GdkWindow that the widget is drawn into, its own or an ancestor's; null before it is realized.
_GdkDrawable* _gtk_widget_get_window(_GtkWidget* widget);
/// Has `function(data)` called every `milliseconds` until it answers 0.
/// @return a number greater than 0
unsigned _gtk_timeout_add(unsigned milliseconds, int (*function)(void*), void* data);
/// Ends such calls. Under GTK 3 nothing happens: let the function answer 0 there.
/// @return 0
int _gtk_timeout_remove(int timeout);

/// Whether a GObject is of a type or of one derived from it. False for null.
bool isGtkInstance(const void* object, unsigned long type);
