/// More of GTK, GDK and GLib as the application has loaded them, for reading widgets: see gtkfuncs.h. The
/// functions have their own names less the prefix; one that the loaded version lacks answers 0. GUI thread
/// only.
#pragma once

#include "unix/window/gtkfuncs.h"

/// A node of a list, as GLib lays it out.
struct _GList {
    void* data;
    _GList* next;
};

/// A typed value, as GLib lays it out. All zero before g::initValue.
struct GxGValue {
    unsigned long type = 0;
    long data[2] = {};
};

/// A row of a model, as GTK lays it out.
struct GxTreeIter {
    int stamp = 0;
    void* data[3] = {};
};

/// A place in a text: opaque, with room to spare.
struct GxTextIter {
    alignas(16) unsigned char data[256] = {};
};

namespace g {
GX_LATE(void, (void*), free, "g_free", late::GLIB)
GX_LATE(void*, (void*), ref, "g_object_ref", late::GOBJECT)
GX_LATE(void, (void*), unref, "g_object_unref", late::GOBJECT)
GX_LATE(const char*, (unsigned long), typeName, "g_type_name", late::GOBJECT)
GX_LATE(unsigned long, (unsigned long), parentType, "g_type_parent", late::GOBJECT)
GX_LATE(unsigned long, (const char*), typeFromName, "g_type_from_name", late::GOBJECT)
GX_LATE(void*, (void*, const char*), findProperty, "g_object_class_find_property", late::GOBJECT)
GX_LATE(void, (void*, const char*, GxGValue*), getProperty, "g_object_get_property", late::GOBJECT)
GX_LATE(void*, (GxGValue*, unsigned long), initValue, "g_value_init", late::GOBJECT)
GX_LATE(void, (GxGValue*), unsetValue, "g_value_unset", late::GOBJECT)
GX_LATE(const char*, (const GxGValue*), stringOf, "g_value_get_string", late::GOBJECT)
GX_LATE(int, (const GxGValue*), truthOf, "g_value_get_boolean", late::GOBJECT)
GX_LATE(int, (const GxGValue*), intOf, "g_value_get_int", late::GOBJECT)
GX_LATE(double, (const GxGValue*), doubleOf, "g_value_get_double", late::GOBJECT)
GX_LATE(void*, (const GxGValue*), objectOf, "g_value_get_object", late::GOBJECT)
GX_LATE(void*, (void*, const char*), dataOf, "g_object_get_data", late::GOBJECT)
GX_LATE(_GList*, (void*), keysOf, "g_hash_table_get_keys", late::GLIB)
GX_LATE(void, (GxGValue*, void*), setObject, "g_value_set_object", late::GOBJECT)
GX_LATE(void, (GxGValue*, const char*), setString, "g_value_set_string", late::GOBJECT)
GX_LATE(unsigned, (const char*, unsigned long), signalNamed, "g_signal_lookup", late::GOBJECT)
GX_LATE(void, (const GxGValue*, unsigned, unsigned, GxGValue*), emit, "g_signal_emitv", late::GOBJECT)
GX_LATE(void*, (void*, unsigned), newSource, "g_source_new", late::GLIB)
GX_LATE(void, (void*, int), setPriority, "g_source_set_priority", late::GLIB)
GX_LATE(unsigned, (void*, void*), attachSource, "g_source_attach", late::GLIB)
} // namespace g

namespace gdk {
GX_LATE(void, (_GdkDrawable*, int*, int*), origin, "gdk_window_get_origin", late::GDK2, late::GDK3)
GX_LATE(int, (_GdkDrawable*), isVisible, "gdk_window_is_visible", late::GDK2, late::GDK3)
GX_LATE(int, (_GdkDrawable*), state, "gdk_window_get_state", late::GDK2, late::GDK3)
GX_LATE(int, (_GdkDrawable*), letsPass, "gdk_window_get_pass_through", late::GDK3)
GX_LATE(void*, (), xDisplay, "gdk_x11_get_default_xdisplay", late::GDK2, late::GDK3)
} // namespace gdk

namespace atk {
GX_LATE(const char*, (void*), name, "atk_object_get_name", late::ATK)
} // namespace atk

#define LATE_GTK(Result, Arguments, name, symbol)                                                            \
    GX_LATE(Result, Arguments, name, symbol, late::GTK2, late::GTK3)
using GxWidgetCallback = void (*)(_GtkWidget*, void*);

namespace gtk {
LATE_GTK(_GList*, (), toplevels, "gtk_window_list_toplevels")
LATE_GTK(void, (_GtkWidget*, GxWidgetCallback, void*), forAll, "gtk_container_forall")
LATE_GTK(_GtkWidget*, (_GtkWidget*), parent, "gtk_widget_get_parent")
LATE_GTK(_GtkWidget*, (_GtkWidget*), toplevel, "gtk_widget_get_toplevel")
LATE_GTK(int, (_GtkWidget*), isMapped, "gtk_widget_get_mapped")
LATE_GTK(int, (_GtkWidget*), hasFocus, "gtk_widget_has_focus")
LATE_GTK(int, (_GtkWidget*), hasWindow, "gtk_widget_get_has_window")
LATE_GTK(int, (_GtkWidget*, _GtkWidget*, int, int, int*, int*), translate, "gtk_widget_translate_coordinates")
LATE_GTK(const char*, (_GtkWidget*), name, "gtk_widget_get_name")
LATE_GTK(const char*, (_GtkWidget*), builderName, "gtk_buildable_get_name")
LATE_GTK(void*, (_GtkWidget*), accessible, "gtk_widget_get_accessible")
GX_LATE(int, (_GtkWidget*), stateFlags, "gtk_widget_get_state_flags", late::GTK3)
LATE_GTK(char*, (_GtkWidget*), tooltip, "gtk_widget_get_tooltip_text")
LATE_GTK(_GList*, (_GtkWidget*), mnemonicLabels, "gtk_widget_list_mnemonic_labels")
LATE_GTK(_GtkWidget*, (), currentGrab, "gtk_grab_get_current")
LATE_GTK(void*, (_GtkWidget*), groupOf, "gtk_window_get_group")
LATE_GTK(_GtkWidget*, (void*), grabOf, "gtk_window_group_get_current_grab")

LATE_GTK(int, (_GtkWidget*), pageCount, "gtk_notebook_get_n_pages")
LATE_GTK(_GtkWidget*, (_GtkWidget*, int), page, "gtk_notebook_get_nth_page")
LATE_GTK(int, (_GtkWidget*), currentPage, "gtk_notebook_get_current_page")
LATE_GTK(void, (_GtkWidget*, int), turnToPage, "gtk_notebook_set_current_page")
LATE_GTK(_GtkWidget*, (_GtkWidget*, _GtkWidget*), tabLabel, "gtk_notebook_get_tab_label")

LATE_GTK(void*, (_GtkWidget*), textBuffer, "gtk_text_view_get_buffer")
LATE_GTK(int, (_GtkWidget*), isTextEditable, "gtk_text_view_get_editable")
LATE_GTK(int, (void*), characters, "gtk_text_buffer_get_char_count")
LATE_GTK(void, (void*, GxTextIter*, int), textPlace, "gtk_text_buffer_get_iter_at_offset")
LATE_GTK(char*, (void*, GxTextIter*, GxTextIter*, int), bufferText, "gtk_text_buffer_get_text")

LATE_GTK(void*, (_GtkWidget*), adjustment, "gtk_range_get_adjustment")
LATE_GTK(void, (_GtkWidget*, _GtkAllocation*), rangeBox, "gtk_range_get_range_rect")
LATE_GTK(void, (_GtkWidget*, int*, int*), thumbOf, "gtk_range_get_slider_range")
LATE_GTK(int, (_GtkWidget*), isInverted, "gtk_range_get_inverted")
LATE_GTK(int, (_GtkWidget*), orientation, "gtk_orientable_get_orientation")
LATE_GTK(int, (_GtkWidget*), direction, "gtk_widget_get_direction")
LATE_GTK(void*, (_GtkWidget*), horizontal, "gtk_scrolled_window_get_hadjustment")
LATE_GTK(void*, (_GtkWidget*), vertical, "gtk_scrolled_window_get_vadjustment")
LATE_GTK(void, (void*, double, double), clampPage, "gtk_adjustment_clamp_page")

LATE_GTK(void*, (_GtkWidget*), treeModel, "gtk_tree_view_get_model")
LATE_GTK(_GList*, (_GtkWidget*), columns, "gtk_tree_view_get_columns")
LATE_GTK(void*, (_GtkWidget*), treeSelection, "gtk_tree_view_get_selection")
LATE_GTK(int, (_GtkWidget*), showsHeaders, "gtk_tree_view_get_headers_visible")
LATE_GTK(int, (_GtkWidget*, void**, void**), visibleRange, "gtk_tree_view_get_visible_range")
LATE_GTK(int, (_GtkWidget*, void*), isExpanded, "gtk_tree_view_row_expanded")
LATE_GTK(_GdkDrawable*, (_GtkWidget*), binWindow, "gtk_tree_view_get_bin_window")
LATE_GTK(void, (_GtkWidget*, void*, void*, _GtkAllocation*), cellArea, "gtk_tree_view_get_background_area")
LATE_GTK(void, (_GtkWidget*, void*, void*, _GtkAllocation*), contentArea, "gtk_tree_view_get_cell_area")
LATE_GTK(void*, (_GtkWidget*), expanderColumn, "gtk_tree_view_get_expander_column")
LATE_GTK(void, (_GtkWidget*, int, int, int*, int*), toTreePlace,
         "gtk_tree_view_convert_bin_window_to_tree_coords")
LATE_GTK(void, (_GtkWidget*, int, int), scrollToTreePlace, "gtk_tree_view_scroll_to_point")
LATE_GTK(int, (void*, void*), isPathSelected, "gtk_tree_selection_path_is_selected")
LATE_GTK(const char*, (void*), columnTitle, "gtk_tree_view_column_get_title")
LATE_GTK(int, (void*), isColumnVisible, "gtk_tree_view_column_get_visible")
LATE_GTK(void, (void*, void*, GxTreeIter*, int, int), setCellData, "gtk_tree_view_column_cell_set_cell_data")
LATE_GTK(_GList*, (void*), cells, "gtk_cell_layout_get_cells")
GX_LATE(void*, (void*), cellArea3, "gtk_cell_layout_get_area", late::GTK3)
GX_LATE(void, (void*, void*, GxTreeIter*, int, int), applyAttributes, "gtk_cell_area_apply_attributes",
        late::GTK3)
LATE_GTK(void*, (_GtkWidget*), displayedRow, "gtk_cell_view_get_displayed_row")

LATE_GTK(void, (_GtkWidget*, int, int, int*, int*), fromBinWindow,
         "gtk_tree_view_convert_bin_window_to_widget_coords")
LATE_GTK(void, (_GtkWidget*, void*, void*, int, float, float), scrollToCell, "gtk_tree_view_scroll_to_cell")

LATE_GTK(void*, (_GtkWidget*), iconModel, "gtk_icon_view_get_model")
LATE_GTK(int, (_GtkWidget*, void**, void**), iconsInSight, "gtk_icon_view_get_visible_range")
LATE_GTK(int, (_GtkWidget*, void*), isIconSelected, "gtk_icon_view_path_is_selected")
GX_LATE(int, (_GtkWidget*, void*, void*, _GtkAllocation*), iconArea, "gtk_icon_view_get_cell_rect",
        late::GTK3)
LATE_GTK(void, (_GtkWidget*, int, int, int*, int*), toIconWindow,
         "gtk_icon_view_convert_widget_to_bin_window_coords")
LATE_GTK(void*, (_GtkWidget*, int, int), iconAt, "gtk_icon_view_get_path_at_pos")
LATE_GTK(void, (_GtkWidget*, void*, int, float, float), scrollToIcon, "gtk_icon_view_scroll_to_path")

LATE_GTK(int, (void*), modelFlags, "gtk_tree_model_get_flags")
LATE_GTK(int, (void*), modelColumns, "gtk_tree_model_get_n_columns")
LATE_GTK(unsigned long, (void*, int), modelColumnType, "gtk_tree_model_get_column_type")
LATE_GTK(int, (void*, GxTreeIter*, void*), modelRow, "gtk_tree_model_get_iter")
LATE_GTK(int, (void*, GxTreeIter*), nextRow, "gtk_tree_model_iter_next")
LATE_GTK(int, (void*, GxTreeIter*, GxTreeIter*), firstBelow, "gtk_tree_model_iter_children")
LATE_GTK(int, (void*, GxTreeIter*, GxTreeIter*), rowAbove, "gtk_tree_model_iter_parent")
LATE_GTK(int, (void*, GxTreeIter*), hasRowsBelow, "gtk_tree_model_iter_has_child")
LATE_GTK(int, (void*, GxTreeIter*), rowsBelow, "gtk_tree_model_iter_n_children")
LATE_GTK(void, (void*, GxTreeIter*, int, GxGValue*), modelValue, "gtk_tree_model_get_value")
LATE_GTK(char*, (void*), pathText, "gtk_tree_path_to_string")
LATE_GTK(void*, (const char*), pathOf, "gtk_tree_path_new_from_string")
LATE_GTK(void*, (void*), copyPath, "gtk_tree_path_copy")
LATE_GTK(void, (void*), freePath, "gtk_tree_path_free")
LATE_GTK(int, (void*, void*), comparePaths, "gtk_tree_path_compare")
LATE_GTK(void, (void*), pathDown, "gtk_tree_path_down")
LATE_GTK(void, (void*), pathNext, "gtk_tree_path_next")
LATE_GTK(int, (void*), pathUp, "gtk_tree_path_up")
LATE_GTK(int, (void*), pathDepth, "gtk_tree_path_get_depth")
GX_LATE(int, (_GtkWidget*), isRowSelected, "gtk_list_box_row_is_selected", late::GTK3)
GX_LATE(int, (_GtkWidget*), isChildSelected, "gtk_flow_box_child_is_selected", late::GTK3)

GX_LATE(void, (_GtkWidget*, _GtkAllocation*), textArea, "gtk_entry_get_text_area", late::GTK3)
LATE_GTK(void*, (_GtkWidget*), completion, "gtk_entry_get_completion")
LATE_GTK(void, (void*, int), setCompletionPopup, "gtk_entry_completion_set_popup_completion")
LATE_GTK(int, (_GtkWidget*), chooserAction, "gtk_file_chooser_get_action")
LATE_GTK(void, (_GtkWidget*), unselectFiles, "gtk_file_chooser_unselect_all")
LATE_GTK(void, (_GtkWidget*, const char*), setFileName, "gtk_file_chooser_set_current_name")
LATE_GTK(void, (_GtkWidget*, _GtkWidget*), selectItem, "gtk_menu_shell_select_item")
LATE_GTK(_GtkWidget*, (_GtkWidget*, int), responseButton, "gtk_dialog_get_widget_for_response")
LATE_GTK(_GtkWidget*, (_GtkWidget*), defaultWidget, "gtk_window_get_default_widget")
} // namespace gtk

#undef LATE_GTK
