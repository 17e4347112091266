// A GTK 3 application with the library inside: the late binding of GTK is compared with GTK itself. Exit
// status 0 when everything agrees.
#include <gtk/gtk.h>
#include <gtk/gtkx.h>

#include "Checks.h"
#include "unix/window/Toolkit.h"
#include "unix/window/WindowManager.h"

#define GtkScrollType GxScrollType
#include "unix/window/gtkfuncs.h"
#undef GtkScrollType

int main(int argc, char** argv)
{
    gtk_init(&argc, &argv);
    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWidget* const frame = gtk_frame_new("frame");
    GtkWidget* const label = gtk_label_new("a label");
    GtkWidget* const menu = gtk_menu_new();
    GtkWidget* const item = gtk_menu_item_new_with_label("item");
    GtkWidget* const submenu = gtk_menu_new();
    gtk_menu_item_set_submenu(GTK_MENU_ITEM(item), submenu);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
    gtk_container_add(GTK_CONTAINER(frame), label);
    gtk_container_add(GTK_CONTAINER(window), frame);
    gtk_widget_show_all(window);
    gtk_widget_show_all(menu);
    gtk_widget_realize(menu);
    // GTK 3 draws a menu into the window of its toplevel; give it one of its own, as the accessible modes do.
    gdk_window_ensure_native(gtk_widget_get_window(menu));
    gdk_display_sync(gdk_display_get_default());

    CHECK(isGTK3() && !isGTK2() && !isGTK() && isAnyGTK());
    CHECK(_gtk_combo_get_type() == GTK_TYPE_COMBO_BOX);
    CHECK(_gtk_frame_get_type() == GTK_TYPE_FRAME);
    CHECK(_gtk_menu_get_type() == GTK_TYPE_MENU);
    CHECK(_gtk_menu_bar_get_type() == GTK_TYPE_MENU_BAR);
    CHECK(_g_type_is_a(GTK_TYPE_MENU, GTK_TYPE_MENU_SHELL) && !_g_type_is_a(GTK_TYPE_FRAME, GTK_TYPE_MENU));
    CHECK(_gtk_bin_get_child(reinterpret_cast<_GtkBin*>(window)) == reinterpret_cast<_GtkWidget*>(frame));
    CHECK(g_str_equal(_gtk_label_get_text(reinterpret_cast<_GtkLabel*>(label)), "a label"));
    CHECK(_gtk_menu_item_get_submenu(reinterpret_cast<_GtkMenuItem*>(item)) ==
          reinterpret_cast<_GtkWidget*>(submenu));
    _GList* const children = _gtk_container_get_children(reinterpret_cast<_GtkContainer*>(window));
    CHECK(_g_list_length(children) == 1 && _g_list_nth_data(children, 0) == frame);
    _g_list_free(children);

    GdkWindow* const gdkWindow = gtk_widget_get_window(window);
    const unsigned long xid = gdk_x11_window_get_xid(gdkWindow);
    auto* const drawable = reinterpret_cast<_GdkDrawable*>(gdkWindow);
    CHECK(_gdk_window_lookup(xid) == drawable);
    CHECK(_gdk_window_lookup(1) == nullptr);
    CHECK(_gdk_x11_window_get_xid(drawable) == xid);
    CHECK(_gdk_x11_drawable_get_xid(drawable) == 0); // GTK 3 has no such function
    CHECK(CToolkit::gdkWindowXid(reinterpret_cast<unsigned long>(gdkWindow)) == xid);
    void* owner = nullptr;
    _gdk_window_get_user_data(drawable, &owner);
    CHECK(owner == window);
    int x = 0, y = 0, width = 0, height = 0, depth = 0;
    _gdk_window_get_geometry(drawable, &x, &y, &width, &height, &depth);
    CHECK(width == gdk_window_get_width(gdkWindow) && height == gdk_window_get_height(gdkWindow));

    CHECK(CWindow(static_cast<long>(gdk_x11_window_get_xid(gtk_widget_get_window(menu)))).isMenu());
    CHECK(!CWindow(static_cast<long>(xid)).isMenu());

    static int s_calls = 0;
    const auto count = [](void*) { return ++s_calls < 2 ? 1 : 0; };
    const unsigned timeout = _gtk_timeout_add(1, count, nullptr);
    CHECK(timeout > 0);
    CHECK(_gtk_timeout_remove(static_cast<int>(timeout)) == 0);
    while (s_calls < 2) // removing it did nothing
        gtk_main_iteration();
    return g_failures != 0;
}
