/// Lists, tables, trees and menus of GTK 2 or 3, most of them out of sight. Include it after GTK.
#pragma once

#include "Asked.h"
#include "GtkFormShown.h"

#include <initializer_list>
#include <string>

namespace Shown {
inline GtkWidget* scrolled(GtkWidget* box, GtkWidget* view, const char* name)
{
    GtkWidget* const around = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_widget_set_size_request(around, 150, 120);
    gtk_widget_set_name(view, name);
    gtk_container_add(GTK_CONTAINER(around), view);
    gtk_box_pack_start(GTK_BOX(box), around, FALSE, FALSE, 0);
    return view;
}

inline void change(GtkTreeModel* model, const char* path, int column, const GValue* value)
{
    GtkTreeIter row;
    gtk_tree_model_get_iter_from_string(model, &row, path);
    gtk_list_store_set_value(GTK_LIST_STORE(model), &row, column, const_cast<GValue*>(value));
}

inline void onEdited(GtkCellRendererText*, char* path, char* text, gpointer model)
{
    GValue value = G_VALUE_INIT;
    g_value_init(&value, G_TYPE_STRING);
    g_value_set_string(&value, text);
    change(GTK_TREE_MODEL(model), path, 0, &value);
    g_value_unset(&value);
    say("edited", path);
}

inline void onToggled(GtkCellRendererToggle* box, char* path, gpointer model)
{
    GValue value = G_VALUE_INIT;
    g_value_init(&value, G_TYPE_BOOLEAN);
    g_value_set_boolean(&value, !gtk_cell_renderer_toggle_get_active(box));
    change(GTK_TREE_MODEL(model), path, 1, &value);
    say("toggled", path);
}

inline GtkWidget* longTable(int count)
{
    GtkListStore* const store = gtk_list_store_new(2, G_TYPE_STRING, G_TYPE_BOOLEAN);
    for (int number = 0; number < count; ++number)
        gtk_list_store_insert_with_values(store, nullptr, -1, 0, ("row " + std::to_string(number)).c_str(), 1,
                                          FALSE, -1);
    GtkWidget* const view = gtk_tree_view_new_with_model(GTK_TREE_MODEL(store));
    GtkCellRenderer* const text = gtk_cell_renderer_text_new();
    g_object_set(text, "editable", TRUE, nullptr);
    g_signal_connect(text, "edited", G_CALLBACK(onEdited), store);
    GtkCellRenderer* const box = gtk_cell_renderer_toggle_new();
    g_signal_connect(box, "toggled", G_CALLBACK(onToggled), store);
    gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(view), -1, "Row", text, "text", 0, nullptr);
    gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(view), -1, "Done", box, "active", 1, nullptr);
    GtkTreeViewColumn* const done = gtk_tree_view_get_column(GTK_TREE_VIEW(view), 1);
    gtk_tree_view_column_set_clickable(done, TRUE);
    g_signal_connect(done, "clicked", G_CALLBACK(+[](GtkTreeViewColumn* column, gpointer) {
                         say("title", gtk_tree_view_column_get_title(column));
                     }),
                     nullptr);
    return view;
}

inline GtkWidget* treeOf(std::initializer_list<const char*> names)
{
    GtkTreeStore* const store = gtk_tree_store_new(1, G_TYPE_STRING);
    for (const char* const name : names) {
        GtkTreeIter parent, row;
        gtk_tree_store_append(store, &parent, nullptr);
        gtk_tree_store_set(store, &parent, 0, name, -1);
        for (int number = 0; number < 40; ++number) {
            gtk_tree_store_append(store, &row, &parent);
            gtk_tree_store_set(store, &row, 0, (name + std::to_string(number)).c_str(), -1);
        }
        gtk_tree_store_append(store, &parent, &row);
        gtk_tree_store_set(store, &parent, 0, (name + std::to_string(39)).c_str(), -1);
    }
    return gtk_tree_view_new_with_model(GTK_TREE_MODEL(store));
}

inline void addTextColumn(GtkWidget* view, const char* title)
{
    gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(view), -1, title, gtk_cell_renderer_text_new(),
                                                "text", 0, nullptr);
}

inline void onRow(GtkTreeView*, GtkTreeIter*, GtkTreePath* path, gpointer what)
{
    char* const text = gtk_tree_path_to_string(path);
    say(static_cast<const char*>(what), text);
    g_free(text);
}

inline void sayOpening(GtkWidget* view)
{
    g_signal_connect(view, "row-expanded", G_CALLBACK(onRow), const_cast<char*>("expanded"));
    g_signal_connect(view, "row-collapsed", G_CALLBACK(onRow), const_cast<char*>("collapsed"));
}

/// Two rows, the first of which is open and has 40 below it, and the last of those one that says the same.
inline GtkWidget* tree()
{
    GtkWidget* const view = treeOf({"fruit", "bread"});
    addTextColumn(view, "Food");
    gtk_tree_view_expand_row(GTK_TREE_VIEW(view), gtk_tree_path_new_from_string("0"), FALSE);
    sayOpening(view);
    return view;
}

/// What opens its rows stands in the second of two columns, which is wider than what shows of it.
inline GtkWidget* treeOpenedInside()
{
    GtkWidget* const view = treeOf({"north", "south"});
    addTextColumn(view, "Before");
    addTextColumn(view, "Opens");
    GtkTreeViewColumn* const second = gtk_tree_view_get_column(GTK_TREE_VIEW(view), 1);
    gtk_tree_view_column_set_min_width(second, 300);
    gtk_tree_view_set_expander_column(GTK_TREE_VIEW(view), second);
    gtk_tree_view_set_level_indentation(GTK_TREE_VIEW(view), 30);
    sayOpening(view);
    return view;
}

/// Nothing shows that opens its rows.
inline GtkWidget* treeWithoutExpanders()
{
    GtkWidget* const view = treeOf({"spring", "autumn"});
    addTextColumn(view, "Season");
    gtk_tree_view_set_show_expanders(GTK_TREE_VIEW(view), FALSE);
    sayOpening(view);
    return view;
}

inline GtkWidget* icons()
{
    GtkListStore* const store = gtk_list_store_new(1, G_TYPE_STRING);
    for (int number = 0; number < 60; ++number)
        gtk_list_store_insert_with_values(store, nullptr, -1, 0, ("icon " + std::to_string(number)).c_str(),
                                          -1);
    GtkWidget* const view = gtk_icon_view_new_with_model(GTK_TREE_MODEL(store));
    gtk_icon_view_set_text_column(GTK_ICON_VIEW(view), 0);
    return view;
}

inline GtkWidget* rowsPage(int count)
{
    GtkWidget* const page = gtk_hbox_new(FALSE, 2);
    scrolled(page, longTable(count), "table");
    scrolled(page, tree(), "tree");
    scrolled(page, icons(), "icons");
#if GTK_MAJOR_VERSION >= 3
    GtkWidget* const lines = scrolled(page, gtk_list_box_new(), "lines");
    GtkWidget* const flow = scrolled(page, gtk_flow_box_new(), "flow");
    for (int number = 0; number < 30; ++number) {
        const std::string name = std::to_string(number);
        gtk_container_add(GTK_CONTAINER(lines), gtk_label_new(("line " + name).c_str()));
        gtk_container_add(GTK_CONTAINER(flow), gtk_label_new(("card " + name).c_str()));
    }
#endif
    return page;
}

inline GtkWidget* treesPage()
{
    GtkWidget* const page = gtk_hbox_new(FALSE, 2);
    scrolled(page, treeOpenedInside(), "opened inside");
    scrolled(page, treeWithoutExpanders(), "without expanders");
    GtkWidget* const mirrored = scrolled(page, treeOpenedInside(), "mirrored");
    gtk_widget_set_direction(mirrored, GTK_TEXT_DIR_RTL);
    gtk_widget_set_direction(gtk_widget_get_parent(mirrored), GTK_TEXT_DIR_RTL);
    return page;
}

inline void sayItem(GtkMenuItem* item, gpointer)
{
    say("chosen", gtk_menu_item_get_label(item));
}

inline GtkWidget* item(GtkWidget* menu, GtkWidget* made, GCallback chosen)
{
    g_signal_connect(made, "activate", chosen, nullptr);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), made);
    return made;
}

inline GtkWidget* submenu(GtkWidget* menu, const char* label)
{
    GtkWidget* const made = gtk_menu_new();
    GtkWidget* const way = gtk_menu_item_new_with_label(label);
    gtk_menu_item_set_submenu(GTK_MENU_ITEM(way), made);
    gtk_menu_shell_append(GTK_MENU_SHELL(menu), way);
    return made;
}

inline void onFile(GtkDialog* dialog, int answer, gpointer)
{
    char* const file = gtk_file_chooser_get_filename(GTK_FILE_CHOOSER(dialog));
    say(answer == GTK_RESPONSE_ACCEPT ? "file" : "no file", file ? file : "");
    g_free(file);
    gtk_widget_destroy(GTK_WIDGET(dialog));
}

template <GtkFileChooserAction action> void onChooseFile(GtkMenuItem* item, gpointer)
{
    GtkWidget* const dialog =
        gtk_file_chooser_dialog_new(gtk_menu_item_get_label(item), nullptr, action, "_Cancel",
                                    GTK_RESPONSE_CANCEL, "_Go", GTK_RESPONSE_ACCEPT, nullptr);
    gtk_file_chooser_set_do_overwrite_confirmation(GTK_FILE_CHOOSER(dialog), TRUE);
    g_signal_connect(dialog, "response", G_CALLBACK(onFile), nullptr);
    gtk_widget_show(dialog);
}

inline void onAsk(GtkMenuItem*, gpointer)
{
    GtkWidget* const dialog = gtk_message_dialog_new(nullptr, GTK_DIALOG_MODAL, GTK_MESSAGE_QUESTION,
                                                     GTK_BUTTONS_YES_NO, "Really?");
    gtk_message_dialog_format_secondary_text(GTK_MESSAGE_DIALOG(dialog), "For good.");
    g_signal_connect(dialog, "response", G_CALLBACK(+[](GtkDialog* asked, int answer, gpointer) {
                         say("answer", answer == GTK_RESPONSE_YES ? "Yes" : "another");
                         gtk_widget_destroy(GTK_WIDGET(asked));
                     }),
                     nullptr);
    gtk_widget_show(dialog);
}

inline void sayColour(GtkWidget* dialog)
{
#if GTK_MAJOR_VERSION >= 3
    GdkRGBA colour;
    gtk_color_chooser_get_rgba(GTK_COLOR_CHOOSER(dialog), &colour);
    say("colour", gdk_rgba_to_string(&colour));
#else
    GdkColor colour;
    gtk_color_selection_get_current_color(GTK_COLOR_SELECTION(GTK_COLOR_SELECTION_DIALOG(dialog)->colorsel),
                                          &colour);
    say("colour", gdk_color_to_string(&colour));
#endif
}

inline void sayFont(GtkWidget* dialog)
{
#if GTK_MAJOR_VERSION >= 3
    say("font", gtk_font_chooser_get_font(GTK_FONT_CHOOSER(dialog)));
#else
    say("font", gtk_font_selection_dialog_get_font_name(GTK_FONT_SELECTION_DIALOG(dialog)));
#endif
}

template <void (*sayChoice)(GtkWidget*)> void openChooser(GtkWidget* dialog)
{
    g_signal_connect(dialog, "response", G_CALLBACK(+[](GtkWidget* chooser, int, gpointer) {
                         sayChoice(chooser);
                         gtk_widget_destroy(chooser);
                     }),
                     nullptr);
    gtk_widget_show(dialog);
}

inline void onChooseColour(GtkMenuItem*, gpointer)
{
#if GTK_MAJOR_VERSION >= 3
    openChooser<sayColour>(gtk_color_chooser_dialog_new("Colour", nullptr));
#else
    openChooser<sayColour>(gtk_color_selection_dialog_new("Colour"));
#endif
}

inline void onChooseFont(GtkMenuItem*, gpointer)
{
#if GTK_MAJOR_VERSION >= 3
    openChooser<sayFont>(gtk_font_chooser_dialog_new("Font", nullptr));
#else
    openChooser<sayFont>(gtk_font_selection_dialog_new("Font"));
#endif
}

inline GtkWidget* menuBar()
{
    GtkWidget* const bar = gtk_menu_bar_new();
    GtkWidget* const file = submenu(bar, "File");
    item(file, gtk_menu_item_new_with_label("Open..."),
         G_CALLBACK(onChooseFile<GTK_FILE_CHOOSER_ACTION_OPEN>));
    item(file, gtk_menu_item_new_with_label("Save..."),
         G_CALLBACK(onChooseFile<GTK_FILE_CHOOSER_ACTION_SAVE>));
    item(file, gtk_menu_item_new_with_label("Folder..."),
         G_CALLBACK(onChooseFile<GTK_FILE_CHOOSER_ACTION_SELECT_FOLDER>));
    item(file, gtk_menu_item_new_with_label("Ask..."), G_CALLBACK(onAsk));
    item(file, gtk_menu_item_new_with_label("Colour..."), G_CALLBACK(onChooseColour));
    item(file, gtk_menu_item_new_with_label("Font..."), G_CALLBACK(onChooseFont));
    item(file, gtk_menu_item_new_with_label("Form..."), G_CALLBACK(onForm));
    GtkWidget* const view = submenu(bar, "View");
    GtkWidget* const ruler = gtk_check_menu_item_new_with_label("Ruler");
    gtk_check_menu_item_set_active(GTK_CHECK_MENU_ITEM(ruler), TRUE);
    item(view, ruler, G_CALLBACK(sayItem));
    gtk_widget_set_sensitive(item(view, gtk_menu_item_new_with_label("Grid"), G_CALLBACK(sayItem)), FALSE);
    return bar;
}

inline gboolean onPress(GtkWidget* widget, GdkEventButton* press, gpointer menu)
{
    if (press->button != 3)
        return FALSE;
    gtk_menu_popup(GTK_MENU(menu), nullptr, nullptr, nullptr, nullptr, press->button, press->time);
    return widget != nullptr;
}

inline void addContextMenu(GtkWidget* widget)
{
    GtkWidget* const menu = gtk_menu_new();
    item(menu, gtk_menu_item_new_with_label("Cut"), G_CALLBACK(sayItem));
    item(submenu(menu, "Special"), gtk_menu_item_new_with_label("As text"), G_CALLBACK(sayItem));
    gtk_widget_show_all(menu);
    g_signal_connect(widget, "button-press-event", G_CALLBACK(onPress), menu);
}

#if GTK_MAJOR_VERSION >= 3
/// A button of which a popover opens, with an entry to tick and a page behind an entry.
inline void addPopover(GtkWidget* box, GtkWidget* window)
{
    GSimpleActionGroup* const group = g_simple_action_group_new();
    for (GSimpleAction* const action :
         {g_simple_action_new("zoom", nullptr), g_simple_action_new("deep", nullptr)}) {
        g_signal_connect(action, "activate", G_CALLBACK(+[](GSimpleAction* done, GVariant*, gpointer) {
                             say("chosen", g_action_get_name(G_ACTION(done)));
                         }),
                         nullptr);
        g_action_map_add_action(G_ACTION_MAP(group), G_ACTION(action));
    }
    g_action_map_add_action(G_ACTION_MAP(group), G_ACTION(g_simple_action_new_stateful(
                                                     "loud", nullptr, g_variant_new_boolean(FALSE))));
    gtk_widget_insert_action_group(window, "shown", G_ACTION_GROUP(group));
    GMenu* const more = g_menu_new();
    g_menu_append(more, "Deep", "shown.deep");
    GMenu* const menu = g_menu_new();
    g_menu_append(menu, "Zoom", "shown.zoom");
    g_menu_append(menu, "Loud", "shown.loud");
    g_menu_append_submenu(menu, "More", G_MENU_MODEL(more));
    GtkWidget* const button = gtk_menu_button_new();
    gtk_button_set_label(GTK_BUTTON(button), "Options");
    gtk_menu_button_set_menu_model(GTK_MENU_BUTTON(button), G_MENU_MODEL(menu));
    gtk_menu_button_set_use_popover(GTK_MENU_BUTTON(button), TRUE);
    // GTK goes on reading the label that the program has replaced, and that is freed.
    GtkWidget* const changed =
        GTK_WIDGET(g_object_new(gtk_model_button_get_type(), "text", "Theirs", nullptr));
    gtk_container_remove(GTK_CONTAINER(changed), gtk_bin_get_child(GTK_BIN(changed)));
    gtk_container_add(GTK_CONTAINER(changed), gtk_label_new("Ours"));
    GtkWidget* const row = gtk_box_new(GTK_ORIENTATION_HORIZONTAL, 0);
    gtk_box_pack_start(GTK_BOX(row), button, TRUE, TRUE, 0);
    gtk_box_pack_start(GTK_BOX(row), changed, FALSE, FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), row, FALSE, FALSE, 0);
}
#endif
} // namespace Shown
