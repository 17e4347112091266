// A GTK 2 application with the library inside, which is asked for the application's menus. Exit status 0 when
// all answers agree with what clicks do.
#include <gdk/gdkx.h>
#include <gtk/gtk.h>

#include "GtkMenus.h"

int main(int argc, char** argv)
{
    gtk_init(&argc, &argv);
    return checkGtkMenus([](GdkWindow* window) -> unsigned long { return gdk_x11_drawable_get_xid(window); });
}
