/// An application of GTK 2 or 3 that an engine asks. Include it after GTK.
#pragma once

#include "Asked.h"

#include <string>

inline GtkWidget* itemIn(GtkWidget* menu, const char* label, GtkWidget* submenu)
{
    GtkWidget* const item = label ? gtk_menu_item_new_with_mnemonic(label) : gtk_separator_menu_item_new();
    if (submenu)
        gtk_menu_item_set_submenu(GTK_MENU_ITEM(item), submenu);
    else if (label)
        g_signal_connect(item, "activate", G_CALLBACK(+[](GtkMenuItem* chosen, gpointer) {
                             GtkWidget* const text = gtk_bin_get_child(GTK_BIN(chosen));
                             say("chosen", gtk_label_get_text(GTK_LABEL(text)));
                         }),
                         nullptr);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
    return menu;
}

inline GtkWidget* lastOf(GtkWidget* menu)
{
    GList* const items = gtk_container_get_children(GTK_CONTAINER(menu));
    GtkWidget* const last = GTK_WIDGET(g_list_last(items)->data);
    g_list_free(items);
    return last;
}

inline GtkWidget* menuBar()
{
    GtkWidget* const recent = itemIn(itemIn(gtk_menu_new(), "one", nullptr), "_two", nullptr);
    GtkWidget* const file = gtk_menu_new();
    itemIn(itemIn(file, "_New", nullptr), nullptr, nullptr);
    itemIn(itemIn(file, "_Recent", recent), "Gr\303\274\303\237e", nullptr);
    gtk_widget_set_no_show_all(lastOf(itemIn(file, "Hidden", nullptr)), TRUE);
    gtk_widget_set_sensitive(lastOf(itemIn(file, "Grey", nullptr)), FALSE);
    GtkWidget* const many = gtk_menu_new();
    for (int number = 0; number < 100; ++number)
        itemIn(many, ("number " + std::to_string(number)).c_str(), nullptr);
    GtkWidget* const bar =
        itemIn(itemIn(itemIn(gtk_menu_bar_new(), "_File", file), "_Help", nullptr), "_Many", many);
    gtk_widget_set_no_show_all(lastOf(itemIn(bar, "Secret", gtk_menu_new())), TRUE);
    return bar;
}

/// Fills the rest of a box with two equal buttons that say when they are clicked.
inline void addButtons(GtkWidget* box)
{
    GtkWidget* const row = gtk_hbox_new(TRUE, 0);
    for (const char* const name : {"left", "right"}) {
        GtkWidget* const button = gtk_button_new_with_label(name);
        g_signal_connect(button, "clicked", G_CALLBACK(+[](GtkButton* clicked, gpointer) {
                             say("clicked", gtk_button_get_label(clicked));
                         }),
                         nullptr);
        gtk_box_pack_start(GTK_BOX(row), button, TRUE, TRUE, 0);
    }
    gtk_box_pack_start(GTK_BOX(box), row, TRUE, TRUE, 0);
}

inline gboolean onOrder(GIOChannel*, GIOCondition, gpointer)
{
    obey();
    return TRUE;
}

inline int runGtk(int argc, char** argv)
{
    gtk_init(&argc, &argv);
    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWidget* const box = gtk_vbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), menuBar(), FALSE, FALSE, 0);
    addButtons(box);
    gtk_container_add(GTK_CONTAINER(window), box);
    gtk_window_set_default_size(GTK_WINDOW(window), 300, 200);
    g_signal_connect(window, "map-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, gpointer) {
                         say("ready", "0");
                         return FALSE;
                     }),
                     nullptr);
    gtk_widget_show_all(window);
    g_io_add_watch(g_io_channel_unix_new(STDIN_FILENO), GIOCondition(G_IO_IN | G_IO_HUP), onOrder, nullptr);
    gtk_main();
    return 0;
}
