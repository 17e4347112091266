/// A form as programs of GTK 2 or 3 have them, with labels in uncommon places. Include it after GTK.
#pragma once

#include "Asked.h"

#include <utility>

namespace Shown {
inline void labelled(GtkWidget* form, int row, const char* label, GtkWidget* widget)
{
    gtk_table_attach_defaults(GTK_TABLE(form), gtk_label_new(label), 0, 1, row, row + 1);
    gtk_table_attach_defaults(GTK_TABLE(form), widget, 1, 2, row, row + 1);
}

/// Its label stands half down beside it.
inline GtkWidget* highText()
{
    GtkWidget* const around = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_widget_set_size_request(around, 200, 160);
    gtk_container_add(GTK_CONTAINER(around), gtk_text_view_new());
    return around;
}

/// Has no text of its own.
inline GtkWidget* onOff()
{
#if GTK_MAJOR_VERSION >= 3
    GtkWidget* const made = gtk_switch_new();
#else
    GtkWidget* const made = gtk_check_button_new();
#endif
    g_signal_connect(made, "notify::active",
                     G_CALLBACK(+[](GObject*, GParamSpec*, gpointer) { say("switched", "it"); }), nullptr);
    return made;
}

/// Opens at its arrow alone, as the rest of it is to be typed into.
inline GtkWidget* openCombo()
{
#if GTK_MAJOR_VERSION >= 3
    GtkWidget* const made = gtk_combo_box_text_new_with_entry();
    for (const char* const text : {"21", "22"})
        gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(made), text);
#else
    GtkWidget* const made = gtk_combo_box_entry_new_text();
    for (const char* const text : {"21", "22"})
        gtk_combo_box_append_text(GTK_COMBO_BOX(made), text);
#endif
    return made;
}

inline GtkWidget* twoLabels(const char* first, const char* second)
{
    GtkWidget* const both = gtk_vbox_new(FALSE, 0);
    for (const char* const text : {first, second})
        gtk_box_pack_start(GTK_BOX(both), gtk_label_new(text), FALSE, FALSE, 0);
    return both;
}

inline GtkWidget* element(const char* number, const char* symbol)
{
    GtkWidget* const made = gtk_button_new();
    gtk_container_add(GTK_CONTAINER(made), twoLabels(number, symbol));
    g_signal_connect(made, "clicked", G_CALLBACK(+[](GtkButton*, gpointer what) {
                         say("clicked", static_cast<const char*>(what));
                     }),
                     const_cast<char*>(symbol));
    return made;
}

inline void addFirst(GtkListStore* store, const char* text)
{
    gtk_list_store_insert_with_values(store, nullptr, 0, 0, text, -1);
}

/// Its rows move a fifth of a second after the first of them was selected.
inline GtkWidget* queue()
{
    GtkListStore* const store = gtk_list_store_new(1, G_TYPE_STRING);
    for (const char* const text : {"third", "second", "first"})
        addFirst(store, text);
    GtkWidget* const made = gtk_tree_view_new_with_model(GTK_TREE_MODEL(store));
    gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(made), -1, "Queue",
                                                gtk_cell_renderer_text_new(), "text", 0, nullptr);
    gtk_widget_set_name(made, "queue");
    gtk_tree_selection_set_mode(gtk_tree_view_get_selection(GTK_TREE_VIEW(made)), GTK_SELECTION_MULTIPLE);
    g_signal_connect(made, "button-release-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, gpointer rows) {
                         static bool s_hasMoved = false;
                         if (!std::exchange(s_hasMoved, true))
                             g_timeout_add(200, GSourceFunc(+[](gpointer moved) {
                                               addFirst(GTK_LIST_STORE(moved), "new");
                                               return FALSE;
                                           }),
                                           rows);
                         return FALSE;
                     }),
                     store);
    return made;
}

/// A field behind the box that has it enabled.
inline GtkWidget* optionalField()
{
    GtkWidget* const both = gtk_hbox_new(FALSE, 4);
    gtk_box_pack_start(GTK_BOX(both), gtk_check_button_new_with_label("Folder:"), FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(both), gtk_entry_new(), FALSE, FALSE, 0);
    return both;
}

inline GtkWidget* calendar()
{
    GtkWidget* const made = gtk_calendar_new();
    gtk_calendar_select_month(GTK_CALENDAR(made), 1, 2024);
    gtk_calendar_select_day(GTK_CALENDAR(made), 29);
    return made;
}

inline void onForm(GtkMenuItem*, gpointer)
{
    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), "Form \342\200\224 Shown");
    GtkWidget* const form = gtk_table_new(2, 10, FALSE);
    labelled(form, 0, "Remarks", highText());
    labelled(form, 1, "Wireless", onOff());
    labelled(form, 2, "Port", openCombo());
    labelled(form, 3, "Gold", element("79", "Au"));
    labelled(form, 4, "Silver", element("47", "Ag"));
    labelled(form, 5, "Day", calendar());
    gtk_table_attach_defaults(GTK_TABLE(form), optionalField(), 0, 2, 6, 7);
    labelled(form, 8, "Waiting", queue());
    GtkWidget* const mirrored = openCombo();
    gtk_widget_set_direction(mirrored, GTK_TEXT_DIR_RTL);
    labelled(form, 9, "Mirrored", mirrored);
#if GTK_MAJOR_VERSION >= 3
    GtkWidget* const lines = gtk_list_box_new();
    gtk_container_add(GTK_CONTAINER(lines), twoLabels("Anna", "at home"));
    gtk_container_add(GTK_CONTAINER(lines), twoLabels("Bert", "away"));
    labelled(form, 7, "People", lines);
#endif
    gtk_container_add(GTK_CONTAINER(window), form);
    gtk_widget_show_all(window);
}
} // namespace Shown
