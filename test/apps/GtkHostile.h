/// An application of GTK 2 or 3 that is hard to read: many rows, long texts, and widgets that come and go all
/// the time. Include it after GTK.
#pragma once

#include "Asked.h"

#include <string>

namespace Hostile {
inline GtkWidget* s_box;
inline bool s_gnaws = false;

/// A field that after the order "churn" changes what is around it, itself included, when it is asked whether
/// it can be typed into.
struct Gnawer {
    GtkEntry parent;
};
struct GnawerClass {
    GtkEntryClass parent;
};
G_DEFINE_TYPE(Gnawer, gnawer, GTK_TYPE_ENTRY)

inline void refill();

inline void get(GObject*, guint, GValue* value, GParamSpec*)
{
    if (s_gnaws)
        refill();
    g_value_set_boolean(value, TRUE);
}

inline void gnawer_init(Gnawer*) {}
inline void gnawer_class_init(GnawerClass* made)
{
    G_OBJECT_CLASS(made)->get_property = get;
    G_OBJECT_CLASS(made)->set_property = [](GObject*, guint, const GValue*, GParamSpec*) {};
    g_object_class_override_property(G_OBJECT_CLASS(made), 1, "editable");
}

/// Destroys what is in the box, and fills it anew.
inline void refill()
{
    gtk_container_foreach(
        GTK_CONTAINER(s_box), [](GtkWidget* child, gpointer) { gtk_widget_destroy(child); }, nullptr);
    for (int number = 0; number < 5; ++number) {
        GtkWidget* const row = gtk_hbox_new(FALSE, 0);
        gtk_box_pack_start(GTK_BOX(row), gtk_button_new_with_label("before"), FALSE, FALSE, 0);
        gtk_box_pack_start(GTK_BOX(row), GTK_WIDGET(g_object_new(gnawer_get_type(), nullptr)), FALSE, FALSE,
                           0);
        gtk_box_pack_start(GTK_BOX(row), gtk_button_new_with_label("behind"), FALSE, FALSE, 0);
        gtk_box_pack_start(GTK_BOX(s_box), row, FALSE, FALSE, 0);
    }
    gtk_widget_show_all(s_box);
}

inline GtkWidget* scrolled(GtkWidget* box, GtkWidget* view, const char* name)
{
    GtkWidget* const around = gtk_scrolled_window_new(nullptr, nullptr);
    gtk_widget_set_size_request(around, 200, 100);
    gtk_widget_set_name(view, name);
    gtk_container_add(GTK_CONTAINER(around), view);
    gtk_box_pack_start(GTK_BOX(box), around, FALSE, FALSE, 0);
    return view;
}

/// @param store  a list or a tree
template <class Add> void addRows(GtkWidget* box, GtkTreeModel* store, const char* name, int count, Add add)
{
    for (int number = 0; number < count; ++number)
        add(store, ("row " + std::to_string(number)).c_str());
    GtkWidget* const view = scrolled(box, gtk_tree_view_new_with_model(store), name);
    gtk_tree_view_insert_column_with_attributes(GTK_TREE_VIEW(view), -1, "Row", gtk_cell_renderer_text_new(),
                                                "text", 0, nullptr);
}

inline gboolean refillAgain(gpointer)
{
    refill();
    return TRUE;
}

inline GtkWidget* s_status;
inline GtkListStore* s_list;

/// Moves the first row to the end.
inline gboolean shift(gpointer)
{
    GtkTreeIter first;
    if (gtk_tree_model_get_iter_first(GTK_TREE_MODEL(s_list), &first))
        gtk_list_store_move_before(s_list, &first, nullptr);
    return TRUE;
}

inline gboolean sayLater(gpointer text)
{
    gtk_entry_set_text(GTK_ENTRY(s_status), static_cast<char*>(text));
    g_free(text);
    return FALSE;
}

inline gboolean onOrder(GIOChannel*, GIOCondition, gpointer)
{
    obey([](const std::string& order) {
        s_gnaws = s_gnaws || order == "churn";
        if (order == "churn")
            g_timeout_add(1, refillAgain, nullptr);
        else if (order == "shift")
            g_timeout_add(1, shift, nullptr);
        else
            g_timeout_add(static_cast<guint>(std::atoi(order.c_str())), sayLater, g_strdup(order.c_str()));
    });
    return TRUE;
}
} // namespace Hostile

/// Arguments: how many rows a list has, and a tenth of them a tree, and how long texts are.
inline int runHostile(int argc, char** argv)
{
    gtk_init(&argc, &argv);
    const int rows = std::atoi(argv[1]);
    std::string text(static_cast<size_t>(std::atoi(argv[2])), 'x');
    for (size_t end = 999; end < text.size(); end += 1000)
        text[end] = '\n'; // GTK takes minutes to lay out one line of a million
    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    GtkWidget* const box = gtk_vbox_new(FALSE, 2);
    gtk_container_add(GTK_CONTAINER(window), box);
    Hostile::s_list = gtk_list_store_new(1, G_TYPE_STRING);
    Hostile::addRows(box, GTK_TREE_MODEL(Hostile::s_list), "list", rows,
                     [](GtkTreeModel* store, const char* name) {
                         gtk_list_store_insert_with_values(GTK_LIST_STORE(store), nullptr, 0, 0, name, -1);
                     });
    Hostile::addRows(box, GTK_TREE_MODEL(gtk_tree_store_new(1, G_TYPE_STRING)), "tree",
                     rows / 10, // which GTK takes the square of their number to lay out
                     [](GtkTreeModel* store, const char* name) {
                         gtk_tree_store_insert_with_values(GTK_TREE_STORE(store), nullptr, nullptr, 0, 0,
                                                           name, -1);
                     });
    GtkWidget* const area = Hostile::scrolled(box, gtk_text_view_new(), "area");
    gtk_text_buffer_set_text(gtk_text_view_get_buffer(GTK_TEXT_VIEW(area)), text.c_str(), -1);
    GtkWidget* const label = gtk_label_new(text.c_str());
    gtk_widget_set_name(label, "label");
    gtk_widget_set_no_show_all(label, TRUE); // to lay it out takes GTK seconds
    gtk_box_pack_start(GTK_BOX(box), label, FALSE, FALSE, 0);
    Hostile::s_status = gtk_entry_new();
    gtk_widget_set_name(Hostile::s_status, "status");
    gtk_box_pack_start(GTK_BOX(box), Hostile::s_status, FALSE, FALSE, 0);
    Hostile::s_box = gtk_vbox_new(FALSE, 0);
    gtk_box_pack_start(GTK_BOX(box), Hostile::s_box, FALSE, FALSE, 0);
    Hostile::refill();
    g_signal_connect(window, "map-event", G_CALLBACK(+[](GtkWidget*, GdkEvent*, gpointer) {
                         say("ready", "0");
                         return FALSE;
                     }),
                     nullptr);
    gtk_widget_show_all(window);
    g_io_add_watch(g_io_channel_unix_new(STDIN_FILENO), GIOCondition(G_IO_IN | G_IO_HUP), Hostile::onOrder,
                   nullptr);
    gtk_main();
    return 0;
}
