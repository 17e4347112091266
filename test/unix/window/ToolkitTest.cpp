// The binding to toolkits, in processes that run one and in this one, which runs none.
#include "session/Program.h"

#include <gtest/gtest.h>

#include <cstring>
#include <link.h>
#include <utility>

#include "unix/window/Toolkit.h"
#include "unix/window/WindowManager.h"
#include "unix/window/dladdons.h"
#include "unix/window/gtkfuncs.h"

namespace {
class InsideOf : public testing::TestWithParam<const char*> {};

TEST_P(InsideOf, TheLibraryKnowsItsToolkit)
{
    CProgram application({std::string(GX_APPS_DIR) + "/" + GetParam()});
    std::string output;
    while (const auto line = application.line(std::chrono::seconds(60)))
        output += *line + "\n";
    EXPECT_EQ(0, application.wait()) << output;
}
INSTANTIATE_TEST_SUITE_P(Applications, InsideOf,
                         testing::Values("motif_toolkit", "motif_lists_toolkit", "motif_dialogs_toolkit",
                                         "gtk2_toolkit", "gtk3_toolkit", "motif_menus", "gtk2_menus",
                                         "gtk3_menus"),
                         [](const auto& info) { return std::string(info.param); });

TEST(WithoutGtk, EveryFunctionAnswersNothingAndLoadsNothing)
{
    void* data = &data;
    int x = 1;
    EXPECT_FALSE(isAnyGTK());
    const struct {
        const char* function;
        unsigned long answer;
    } answers[] = {
        {"gtk_combo_get_type", _gtk_combo_get_type()},
        {"gtk_frame_get_type", _gtk_frame_get_type()},
        {"gtk_menu_get_type", _gtk_menu_get_type()},
        {"gtk_menu_bar_get_type", _gtk_menu_bar_get_type()},
        {"gdk_x11_window_get_xid", _gdk_x11_window_get_xid(nullptr)},
        {"gdk_x11_drawable_get_xid", _gdk_x11_drawable_get_xid(nullptr)},
        {"g_list_length", _g_list_length(nullptr)},
        {"g_type_is_a", static_cast<unsigned long>(_g_type_is_a(1, 1))},
        {"gtk_timeout_add", _gtk_timeout_add(1, nullptr, nullptr)},
    };
    for (const auto& row : answers)
        EXPECT_EQ(0u, row.answer) << row.function;
    const std::pair<const char*, const void*> found[] = {
        {"gdk_window_lookup", _gdk_window_lookup(1)},
        {"g_list_nth_data", _g_list_nth_data(nullptr, 0)},
        {"gtk_bin_get_child", _gtk_bin_get_child(nullptr)},
        {"gtk_label_get_text", _gtk_label_get_text(nullptr)},
        {"gtk_container_get_children", _gtk_container_get_children(nullptr)},
        {"gtk_menu_item_get_submenu", _gtk_menu_item_get_submenu(nullptr)},
    };
    for (const auto& [function, object] : found)
        EXPECT_EQ(nullptr, object) << function;
    _g_list_free(nullptr);
    _gdk_window_get_user_data(nullptr, &data);
    _gdk_window_get_geometry(nullptr, &x, &x, &x, &x, &x);
    _gtk_list_scroll_vertical(nullptr, {}, 0);
    EXPECT_EQ(0, _gtk_timeout_remove(1));
    EXPECT_EQ(&data, data);
    EXPECT_EQ(1, x);
    EXPECT_EQ(nullptr, GetModuleHandle("libglib-2.0"));
    EXPECT_FALSE(CWindow(1).isMenu());
    EXPECT_EQ(0u, CToolkit::xtWindow(0));
    EXPECT_EQ(0u, CToolkit::gtkWidgetWindow(0));
    EXPECT_EQ(0u, CToolkit::gdkWindowXid(0));
}

TEST(Modules, AreFoundByAPartOfTheirPath)
{
    const link_map* const module = GetModuleHandle("libX11.so");
    ASSERT_TRUE(module);
    EXPECT_NE(nullptr, strstr(module->l_name, "libX11.so"));
    EXPECT_EQ(nullptr, GetModuleHandle("no such module"));
    EXPECT_EQ(nullptr, GetModuleHandle(nullptr));
    void* map = &map;
    EXPECT_EQ(-1, rtdlinfo(nullptr, 1, &map));
    EXPECT_EQ(&map, map);
}
} // namespace
