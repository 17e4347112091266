#include "unix/window/Toolkit.h"

#include "unix/window/gtkfuncs.h"

#include <cstddef>
#include <cstdint>

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>

namespace {
/// A widget of GTK 2 as far as its window. GTK 2 has no function for it in all of its versions.
struct CGtk2Widget {
    void* type; // GObject
    uint32_t references;
    void* data;
    uint32_t objectFlags; // GtkObject
    alignas(8) uint16_t privateFlags;
    uint8_t state;
    uint8_t savedState;
    char* name;
    void* style;
    int32_t requisition[2];
    int32_t allocation[4];
    void* window;
};
static_assert(offsetof(CGtk2Widget, window) == 80);
} // namespace

unsigned long CToolkit::xtWindow(unsigned long widget)
{
    return widget ? reinterpret_cast<Widget>(widget)->core.window : 0;
}

unsigned long CToolkit::gtkWidgetWindow(unsigned long widget)
{
    return widget ? reinterpret_cast<unsigned long>(reinterpret_cast<const CGtk2Widget*>(widget)->window) : 0;
}

unsigned long CToolkit::gdkWindowXid(unsigned long gdkWindow)
{
    auto* const window = reinterpret_cast<_GdkDrawable*>(gdkWindow);
    if (!window)
        return 0;
    return isGTK3() ? _gdk_x11_window_get_xid(window) : _gdk_x11_drawable_get_xid(window);
}
