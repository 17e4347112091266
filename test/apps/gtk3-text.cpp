// A GTK 3 text view. Prints "ready <window id>", and then, on SIGUSR1, "text <what it holds>".
#include <csignal>
#include <cstdio>

#include <glib-unix.h>
#include <gtk/gtk.h>

#include <gdk/gdkx.h>

namespace {
gboolean report(gpointer view)
{
    GtkTextBuffer* buffer = gtk_text_view_get_buffer(GTK_TEXT_VIEW(view));
    GtkTextIter start, end;
    gtk_text_buffer_get_bounds(buffer, &start, &end);
    char* text = gtk_text_buffer_get_text(buffer, &start, &end, FALSE);
    std::printf("text %s\n", text);
    std::fflush(stdout);
    g_free(text);
    return G_SOURCE_CONTINUE;
}

gboolean mapped(GtkWidget* window, GdkEvent*, gpointer)
{
    std::printf("ready %lu\n", gdk_x11_window_get_xid(gtk_widget_get_window(window)));
    std::fflush(stdout);
    return FALSE;
}
} // namespace

int main(int argc, char** argv)
{
    gtk_init(&argc, &argv);
    GtkWidget* window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_default_size(GTK_WINDOW(window), 600, 200);
    GtkWidget* view = gtk_text_view_new();
    gtk_text_view_set_wrap_mode(GTK_TEXT_VIEW(view), GTK_WRAP_CHAR);
    gtk_container_add(GTK_CONTAINER(window), view);
    g_signal_connect(window, "map-event", G_CALLBACK(mapped), nullptr);
    g_unix_signal_add(SIGUSR1, report, view);
    gtk_widget_show_all(window);
    gtk_widget_grab_focus(view);
    gtk_main();
}
