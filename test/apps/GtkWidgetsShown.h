/// An application of GTK 2 or 3 with one of each widget, which says what a user does to it. Include it after
/// GTK.
#pragma once

#include "GtkRowsShown.h"

#include <string>

namespace Shown {
inline GtkWidget* added(GtkWidget* box, GtkWidget* widget)
{
    gtk_box_pack_start(GTK_BOX(box), widget, FALSE, FALSE, 0);
    return widget;
}

inline void sayButton(GtkButton* button, gpointer what)
{
    GtkWidget* const inside = gtk_bin_get_child(GTK_BIN(button));
    say(static_cast<const char*>(what), gtk_label_get_text(GTK_LABEL(inside)));
}

inline GtkWidget* button(GtkWidget* box, GtkWidget* made)
{
    g_signal_connect(made, "clicked", G_CALLBACK(sayButton), const_cast<char*>("clicked"));
    return added(box, made);
}

/// A field behind a label, whose mnemonic leads to it or not.
inline GtkWidget* field(GtkWidget* box, const char* label, bool isMnemonic, GtkWidget* made)
{
    GtkWidget* const row = added(box, gtk_hbox_new(FALSE, 4));
    GtkWidget* const text =
        added(row, isMnemonic ? gtk_label_new_with_mnemonic(label) : gtk_label_new(label));
    if (isMnemonic)
        gtk_label_set_mnemonic_widget(GTK_LABEL(text), made);
    return added(row, made);
}

inline GtkWidget* entry(const char* text)
{
    GtkWidget* const made = gtk_entry_new();
    gtk_entry_set_text(GTK_ENTRY(made), text);
    return made;
}

inline void addFields(GtkWidget* box)
{
    field(box, "_Name:", true, entry("Anna"));
    field(box, "City", false, entry("Gr\303\274nau"));
    GtkWidget* const password = field(box, "Password:", false, entry("secret-word"));
    gtk_entry_set_visibility(GTK_ENTRY(password), FALSE);
#if GTK_MAJOR_VERSION >= 3
    GtkWidget* const pin = field(box, "PIN:", false, entry("secret-pin"));
    gtk_entry_set_input_purpose(GTK_ENTRY(pin), GTK_INPUT_PURPOSE_PIN);
#endif
    GtkWidget* const spin = field(box, "Count:", false, gtk_spin_button_new_with_range(0, 100, 1));
    gtk_spin_button_set_value(GTK_SPIN_BUTTON(spin), 42);
    GtkWidget* const scale = field(box, "Loudness:", false, gtk_hscale_new_with_range(0, 10, 0.1));
    gtk_range_set_value(GTK_RANGE(scale), 1.5);
#if GTK_MAJOR_VERSION >= 3
    GtkWidget* const combo = gtk_combo_box_text_new();
    for (const char* const text : {"small", "large"})
        gtk_combo_box_text_append_text(GTK_COMBO_BOX_TEXT(combo), text);
#else
    GtkWidget* const combo = gtk_combo_box_new_text();
    for (const char* const text : {"small", "large"})
        gtk_combo_box_append_text(GTK_COMBO_BOX(combo), text);
#endif
    gtk_combo_box_set_active(GTK_COMBO_BOX(combo), 1);
    g_signal_connect(combo, "changed", G_CALLBACK(+[](GtkComboBox* changed, gpointer) {
                         say("size", gtk_combo_box_get_active(changed) == 0 ? "small" : "large");
                     }),
                     nullptr);
    field(box, "_Size:", true, combo);
    GtkWidget* const view = added(box, gtk_text_view_new());
    gtk_widget_set_name(view, "notes");
    gtk_text_buffer_set_text(gtk_text_view_get_buffer(GTK_TEXT_VIEW(view)), "one\ntwo", -1);
}

inline void addButtons(GtkWidget* box)
{
    GtkWidget* const row = added(box, gtk_hbox_new(FALSE, 0));
    gtk_widget_set_tooltip_text(button(row, gtk_button_new_with_mnemonic("_Save")), "keeps it");
    gtk_widget_set_sensitive(button(row, gtk_button_new_with_label("Grey")), FALSE);
    button(row, gtk_toggle_button_new_with_label("Bold"));
    button(row, gtk_check_button_new_with_mnemonic("_Agree"));
    GtkWidget* const red = button(row, gtk_radio_button_new_with_label(nullptr, "Red"));
    button(row, gtk_radio_button_new_with_label_from_widget(GTK_RADIO_BUTTON(red), "Green"));
}

inline void sayTool(GtkToolButton*, gpointer what)
{
    say("clicked", static_cast<const char*>(what));
}

/// Of the two tool buttons one says nothing, and the other has a menu.
inline void addTools(GtkWidget* box)
{
    GtkWidget* const bar = added(box, gtk_toolbar_new());
    gtk_toolbar_set_style(GTK_TOOLBAR(bar), GTK_TOOLBAR_ICONS);
    GtkToolItem* const cut = gtk_tool_button_new(gtk_image_new(), nullptr);
    GtkToolItem* const print = gtk_menu_tool_button_new(gtk_image_new(), "_Print");
    gtk_tool_button_set_use_underline(GTK_TOOL_BUTTON(print), TRUE);
    gtk_menu_tool_button_set_menu(GTK_MENU_TOOL_BUTTON(print), gtk_menu_new());
    for (GtkToolItem* const tool : {cut, print}) {
        const char* const says = tool == cut ? "cuts it" : "prints it";
        gtk_tool_item_set_tooltip_text(tool, says);
        g_signal_connect(tool, "clicked", G_CALLBACK(sayTool), const_cast<char*>(says));
        gtk_toolbar_insert(GTK_TOOLBAR(bar), tool, -1);
    }
}

/// Far wider than its title, and when it is open the button fills its middle.
inline void addExpander(GtkWidget* box)
{
    GtkWidget* const more = added(box, gtk_expander_new_with_mnemonic("_More"));
    GtkWidget* const inside = gtk_vbox_new(FALSE, 0);
    button(inside, gtk_button_new_with_label("Rare"));
    gtk_container_add(GTK_CONTAINER(more), inside);
}

inline void addTable(GtkWidget* box)
{
    GtkListStore* const store = gtk_list_store_new(2, G_TYPE_STRING, G_TYPE_BOOLEAN);
    for (const char* const name : {"alpha", "beta", "gamma"}) {
        GtkTreeIter row;
        gtk_list_store_append(store, &row);
        gtk_list_store_set(store, &row, 0, name, 1, *name == 'b', -1);
    }
    GtkWidget* const view = added(box, gtk_tree_view_new_with_model(GTK_TREE_MODEL(store)));
    gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(view), -1, "Name", gtk_cell_renderer_text_new(),
                                                "text", 0, nullptr);
    gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(view), -1, "On", gtk_cell_renderer_toggle_new(),
                                                "active", 1, nullptr);
    gtk_tree_view_set_reorderable(GTK_TREE_VIEW(view), TRUE);
    g_signal_connect(view, "row-activated",
                     G_CALLBACK(+[](GtkTreeView*, GtkTreePath* path, GtkTreeViewColumn*, gpointer) {
                         say("activated", gtk_tree_path_to_string(path));
                     }),
                     nullptr);
    addContextMenu(view);
    GtkTreeSelection* const selection = gtk_tree_view_get_selection(GTK_TREE_VIEW(view));
    GtkTreePath* const second = gtk_tree_path_new_from_indices(1, -1);
    gtk_tree_selection_select_path(selection, second);
    gtk_tree_path_free(second);
}

inline GtkWidget* manyButtons(int count)
{
    GtkWidget* const column = gtk_vbox_new(FALSE, 0);
    for (int number = 0; number < count; ++number)
        button(column, gtk_button_new_with_label(("number " + std::to_string(number)).c_str()));
    return column;
}

inline void addPages(GtkWidget* box, int count, int rows)
{
    GtkWidget* const pages = added(box, gtk_notebook_new());
    gtk_notebook_set_scrollable(GTK_NOTEBOOK(pages), TRUE);
    GtkWidget* const scrolled = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_widget_set_name(scrolled, "scrolled");
    gtk_widget_set_size_request(scrolled, 200, 120);
    gtk_scrolled_window_add_with_viewport(GTK_SCROLLED_WINDOW(scrolled), manyButtons(count));
    gtk_notebook_append_page(GTK_NOTEBOOK(pages), scrolled, gtk_label_new("First"));
    gtk_notebook_append_page(GTK_NOTEBOOK(pages), gtk_label_new("behind"), gtk_label_new("Second"));
    gtk_notebook_append_page(GTK_NOTEBOOK(pages), rowsPage(rows), gtk_label_new("Rows"));
    gtk_notebook_append_page(GTK_NOTEBOOK(pages), treesPage(), gtk_label_new("Trees"));
    for (int number = 4; number <= 40; ++number)
        gtk_notebook_append_page(GTK_NOTEBOOK(pages), gtk_label_new("empty"),
                                 gtk_label_new(("Page " + std::to_string(number)).c_str()));
}

/// From right to left.
inline void addScrollBar(GtkWidget* box)
{
    GtkAdjustment* const numbers = GTK_ADJUSTMENT(gtk_adjustment_new(0, 0, 110, 1, 10, 10));
    GtkWidget* const across = added(box, gtk_hscrollbar_new(numbers));
    gtk_widget_set_name(across, "across");
    gtk_range_set_inverted(GTK_RANGE(across), TRUE);
}

inline gboolean onOrder(GIOChannel*, GIOCondition, gpointer)
{
    obey();
    return TRUE;
}
} // namespace Shown

/// Arguments: how many buttons a page that scrolls has, and how many rows the table behind it.
inline int runShown(int argc, char** argv)
{
    gtk_init(&argc, &argv);
    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_title(GTK_WINDOW(window), "All of them");
    GtkWidget* const box = gtk_vbox_new(FALSE, 2);
    gtk_container_add(GTK_CONTAINER(window), box);
    gtk_box_pack_start(GTK_BOX(box), Shown::menuBar(), FALSE, FALSE, 0);
    Shown::addButtons(box);
    Shown::addTools(box);
    Shown::addExpander(box);
#if GTK_MAJOR_VERSION >= 3
    Shown::addPopover(box, window);
#endif
    Shown::addFields(box);
    Shown::addTable(box);
    Shown::addPages(box, argc > 1 ? std::atoi(argv[1]) : 30, argc > 2 ? std::atoi(argv[2]) : 300);
    Shown::addScrollBar(box);
    g_signal_connect(window, "map-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, gpointer) {
                         say("ready", "0");
                         return FALSE;
                     }),
                     nullptr);
    gtk_widget_show_all(window);
    gtk_status_icon_new_from_icon_name("shown"); // nobody takes it in
    g_io_add_watch(g_io_channel_unix_new(STDIN_FILENO), GIOCondition(G_IO_IN | G_IO_HUP), Shown::onOrder,
                   nullptr);
    gtk_main();
    return 0;
}
