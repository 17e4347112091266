/// The menus of MenuChecks.h in GTK 2 and GTK 3. Include it after GTK.
#pragma once

#include "MenuChecks.h"

#include <cstdlib>

inline GtkWidget* newItem(const std::string& name)
{
    if (name.empty())
        return gtk_separator_menu_item_new();
    GtkWidget* const item = gtk_menu_item_new_with_label(name.c_str());
    const auto note = +[](GtkMenuItem* sender, gpointer) { g_activated = gtk_menu_item_get_label(sender); };
    g_signal_connect(item, "activate", G_CALLBACK(note), nullptr);
    return item;
}

/// @param cascade  the sub-menu of its item "more" or "first"
inline GtkWidget* fill(GtkWidget* menu, const ItemNames& names, GtkWidget* cascade)
{
    for (const std::string& name : names) {
        GtkWidget* const item = newItem(name);
        gtk_menu_shell_append(GTK_MENU_SHELL(menu), item);
        if (cascade && (name == "more" || name == "first"))
            gtk_menu_item_set_submenu(GTK_MENU_ITEM(item), cascade);
    }
    gtk_widget_show_all(menu);
    return menu;
}

inline gboolean openContextMenu(GtkWidget*, GdkEventButton* event, gpointer menu)
{
    if (event->button == 3)
        gtk_menu_popup(GTK_MENU(menu), nullptr, nullptr, nullptr, nullptr, event->button, event->time);
    return event->button == 3;
}

/// @param xidOf  the X window of a GdkWindow
inline int checkGtkMenus(unsigned long (*xidOf)(GdkWindow*))
{
    // A warning of GTK means that it was asked something that does not fit.
    g_log_set_always_fatal(static_cast<GLogLevelFlags>(G_LOG_LEVEL_CRITICAL | G_LOG_LEVEL_WARNING));
    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWidget* const box = gtk_vbox_new(FALSE, 0);
    GtkWidget* const more = fill(gtk_menu_new(), moreNames, nullptr);
    GtkWidget* const bar = fill(gtk_menu_bar_new(), barNames, fill(gtk_menu_new(), firstNames, more));
    GtkWidget* const area = gtk_event_box_new();
    GtkWidget* const context = fill(gtk_menu_new(), contextNames, nullptr);
    g_signal_connect(area, "button-press-event", G_CALLBACK(openContextMenu), context);
    gtk_widget_set_size_request(area, 200, 100);
    gtk_box_pack_start(GTK_BOX(box), bar, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), area, TRUE, TRUE, 0);
    gtk_container_add(GTK_CONTAINER(window), box);
    gtk_window_move(GTK_WINDOW(window), 100, 50);
    gtk_widget_show_all(window);

    CMenuChecks checks(xidOf(gtk_widget_get_window(window)), true, [] {
        while (gtk_events_pending())
            gtk_main_iteration();
    });
    int x = 0, y = 0;
    gdk_window_get_origin(gtk_widget_get_window(window), &x, &y);
    checks.run(Rect(y + 60, x + 20, 20, 20));

    // The application's windows stay as GDK made them.
    CHECK(!gdk_window_has_native(gtk_widget_get_window(bar)));
    CHECK(!gdk_window_has_native(gtk_widget_get_window(context)));
    const unsigned long contextWindow = xidOf(gtk_widget_get_window(gtk_widget_get_toplevel(context)));
    // Not shown any more, but still there.
    CHECK(GxMenu(static_cast<long>(contextWindow), 0).getItemCount() == 3);
    gtk_widget_destroy(context);
    gtk_widget_destroy(bar);
    CMenuChecks::checkNoMenu(contextWindow);
    CHECK(checks.bar().isNullMenu());
    return g_failures != 0;
}
