#include "unix/widget/GtkObjects.h"

#include "unix/window/Toolkit.h"
#include "unix/window/WindowLevel.h"
#include "unix/window/XErrors.h"

#include <algorithm>

namespace {
// Types that GLib numbers for good.
constexpr unsigned long truthType = 5 << 2, intType = 6 << 2, doubleType = 15 << 2, objectType = 20 << 2;

/// A property, turned into a type of the reader's choice.
class CPropertyValue {
public:
    CPropertyValue(void* object, const char* property, unsigned long type)
    {
        m_known =
            object && g::findProperty(*static_cast<void**>(object), property) && g::initValue(&m_value, type);
        if (m_known)
            g::getProperty(object, property, &m_value);
    }
    ~CPropertyValue()
    {
        if (m_known)
            g::unsetValue(&m_value);
    }
    CPropertyValue(const CPropertyValue&) = delete;

    explicit operator bool() const { return m_known; }
    const GxGValue* get() const { return &m_value; }

private:
    GxGValue m_value;
    bool m_known = false;
};

void collect(_GtkWidget* child, void* children)
{
    CGHold::keep(child);
    static_cast<std::vector<_GtkWidget*>*>(children)->push_back(child);
}
} // namespace

CGHold::~CGHold()
{
    s_innermost = m_outer;
    for (void* const object : m_objects)
        g::unref(object);
}

void CGHold::keep(void* object)
{
    if (s_innermost)
        s_innermost->m_objects.push_back(g::ref(object));
}

std::string takenText(char* text)
{
    const GPtr owner(text);
    return textOrNone(text);
}

unsigned long typeOf(const void* object)
{
    return **static_cast<const unsigned long* const*>(object);
}

bool isA(const void* object, const char* type)
{
    const unsigned long known = g::typeFromName(type);
    return known && isGtkInstance(object, known);
}

std::vector<_GtkWidget*> childrenOf(_GtkWidget* widget)
{
    std::vector<_GtkWidget*> children;
    if (isA(widget, "GtkContainer"))
        gtk::forAll(widget, collect, &children);
    return children;
}

std::optional<bool> truthOf(void* object, const char* property)
{
    const CPropertyValue value(object, property, truthType);
    return value ? std::optional(g::truthOf(value.get()) != 0) : std::nullopt;
}

std::optional<int> intOf(void* object, const char* property)
{
    const CPropertyValue value(object, property, intType);
    return value ? std::optional(g::intOf(value.get())) : std::nullopt;
}

std::optional<double> numberOf(void* object, const char* property)
{
    const CPropertyValue value(object, property, doubleType);
    return value ? std::optional(g::doubleOf(value.get())) : std::nullopt;
}

std::string textOf(void* object, const char* property)
{
    const CPropertyValue value(object, property, stringType);
    return value ? textOrNone(g::stringOf(value.get())) : "";
}

void* objectOf(void* object, const char* property)
{
    const CPropertyValue value(object, property, objectType);
    return value ? g::objectOf(value.get()) : nullptr;
}

bool isMirrored(_GtkWidget* widget)
{
    constexpr int rightToLeft = 2; // GTK_TEXT_DIR_RTL
    return gtk::direction(widget) == rightToLeft;
}

unsigned long xWindowOf(_GtkWidget* widget)
{
    _GdkDrawable* const window = gtk::hasWindow(widget) ? _gtk_widget_get_window(widget) : nullptr;
    return window && _gdk_window_has_native(window)
               ? CToolkit::gdkWindowXid(reinterpret_cast<unsigned long>(window))
               : 0;
}

namespace {
/// Whoever takes in a plug, as the bar does that takes in icons, maps it: without one GTK alone thinks that it shows.
bool isTakenIn(_GtkWidget* plug)
{
    Display* const display = walkDisplay();
    return display && CStateAnswer(display, xWindowOf(plug)).take().viewable;
}
} // namespace

bool isOnScreen(_GtkWidget* toplevel)
{
    constexpr int withdrawnOrIconified = 1 | 2;
    _GdkDrawable* const window = _gtk_widget_get_window(toplevel);
    return window && gtk::isMapped(toplevel) && (gdk::state(window) & withdrawnOrIconified) == 0 &&
           (!isA(toplevel, "GtkPlug") || isTakenIn(toplevel));
}

/// The position of a top-level window in its parent is the window manager's affair.
CGdkPlaces::COrigin CGdkPlaces::originOf(_GdkDrawable* window)
{
    if (const auto known = m_known.find(window); known != m_known.end())
        return known->second;
    COrigin origin;
    _GdkDrawable* const parent = _gdk_window_get_parent(window);
    if (!parent || !_gdk_window_get_parent(parent)) {
        gdk::origin(window, &origin.x, &origin.y);
    } else {
        _gdk_window_get_position(window, &origin.x, &origin.y);
        const COrigin around = originOf(parent);
        origin = {around.x + origin.x, around.y + origin.y};
    }
    return m_known[window] = origin;
}

Rect CGdkPlaces::onScreen(_GdkDrawable* window, const _GtkAllocation& box)
{
    if (!window)
        return {};
    const COrigin origin = originOf(window);
    const int scale = std::max(_gdk_window_get_scale_factor(window), 1);
    return {(origin.y + box.y) * scale, (origin.x + box.x) * scale, box.height * scale, box.width * scale};
}

/// A widget with a window of its own fills that; its place counts from the window around it.
Rect CGdkPlaces::boxOf(_GtkWidget* widget)
{
    _GtkAllocation box{};
    _gtk_widget_get_allocation(widget, &box);
    if (gtk::hasWindow(widget))
        box.x = box.y = 0;
    return onScreen(_gtk_widget_get_window(widget), box);
}
