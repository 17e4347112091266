/// The part that the programs of both GTK versions share.
#pragma once

#include "Witness.h"

#include <gdk/gdkx.h>
#include <glib-unix.h>
#include <gtk/gtk.h>

inline gboolean onReport(gint, GIOCondition, gpointer)
{
    Witness::report(GDK_DISPLAY_XDISPLAY(gdk_display_get_default()));
    return FALSE;
}

/// An argument makes it run modal loops only, which are nested in none.
inline int runWitness(int argc, char** argv)
{
    gtk_init(&argc, &argv);
    XSetErrorHandler(Witness::onXError);
    g_unix_fd_add(Witness::begin(), G_IO_IN, onReport, nullptr);
    if (argc > 1)
        for (;;) {
            GtkWidget* const dialog = gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_INFO,
                                                             GTK_BUTTONS_OK, "Witness");
            gtk_dialog_run(GTK_DIALOG(dialog));
            gtk_widget_destroy(dialog);
        }
    gtk_widget_show_all(gtk_window_new(GTK_WINDOW_TOPLEVEL));
    gtk_main();
    return 0;
}
