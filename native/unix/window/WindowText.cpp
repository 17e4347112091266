// Class names and captions.
#include "unix/window/WindowManagerUnix.h"

#include "common/text/CodeSet.h"
#include "common/trace/CTracer.h"

#include <algorithm>
#include <cstring>

#include <X11/Xutil.h>

namespace {
struct CStringListFree {
    void operator()(char** list) const noexcept { XFreeStringList(list); }
};

/// A display, and the code set that texts are wanted in.
struct CAsked {
    Display* display;
    const char* codeSet; ///< null: that of the locale
};

/// The first text of a property in the code set asked for, less the characters that it lacks.
///
/// Not XmbTextPropertyToTextList: Xlib asks setlocale for the locale, which in a JVM and in many other hosts
/// is "C" and holds Latin-1 only. The UTF-8 form does not depend on it.
std::string textOf(const CAsked& asked, const XTextProperty& property)
{
    char** list = nullptr;
    int count = 0;
    if (Xutf8TextPropertyToTextList(asked.display, &property, &list, &count) < 0)
        return {};
    const std::unique_ptr<char*, CStringListFree> owner(list);
    if (count == 0 || !list[0])
        return {};
    const CEnvironmentLocale locale;
    std::string text;
    const std::string codeSet = asked.codeSet ? asked.codeSet : locale.codeSet();
    convertText((codeSet + "//IGNORE").c_str(), "UTF-8", list[0], text);
    return text;
}

/// WM_NAME; empty when there is none or it cannot be converted.
std::string fetchWindowName(const CAsked& asked, Window window)
{
    XTextProperty property{};
    if (!XGetWMName(asked.display, window, &property))
        return {};
    const XPtr<unsigned char> owner(property.value);
    return property.nitems == 0 ? std::string() : textOf(asked, property);
}

/// The window inside a frame whose name is the caption: frames of window managers carry none themselves.
/// @param children  of the frame, bottom of the stack first, not empty
Window namedInside(Display* display, std::span<const xcb_window_t> children)
{
    const Window child = children.back();
    if (!classOf(display, children.front()).isKde())
        return child;
    CTracer::debugTrace("kwindow found, looks like KDE");
    const auto inner = childrenOf(display, child);
    return inner.empty() ? child : inner.back();
}

bool mayBeFrame(Display* display, Window window)
{
    const Window root = rootOf(display);
    return window != root && GetParent(display, window) == root && !classOf(display, window).given();
}

/// A window manager may have put the program's window into its frame at any depth, and given the frame a name
/// of its own.
std::string ownOrFramedName(const CAsked& asked, Window window)
{
    Display* const display = asked.display;
    if (mayBeFrame(display, window))
        for (const Window inside : topLevelWindows(display, window))
            if (auto name = fetchWindowName(asked, inside); !name.empty())
                return name;
    return fetchWindowName(asked, window);
}

std::string captionOf(const CAsked& asked, Window window)
{
    Display* const display = asked.display;
    const auto tree = askTree(display, window).take();
    if (tree && tree->parent == rootOf(display)) {
        auto name = fetchWindowName(asked, window);
        if (!name.empty())
            return name;
    }
    CTracer::debugTrace("FetchName failed,picking child");
    const auto children = childrenOf(tree.get());
    const Window named = children.empty() ? window : namedInside(display, children);
    const auto name = fetchWindowName(asked, named);
    // Inside of a window manager's frame it is the program's window that has the name, and no window in it.
    return name.empty() && named != window ? fetchWindowName(asked, window) : name;
}
} // namespace

void copyText(std::string_view text, char* buffer, int size)
{
    if (size < 1)
        return;
    const size_t length = std::min(text.size(), static_cast<size_t>(size - 1));
    std::memcpy(buffer, text.data(), length);
    buffer[length] = '\0';
}

void CWindow::getWindowCaption(char* buffer, int size) const
{
    Display* const display = walkDisplay();
    copyText(display ? captionOf({display, nullptr}, getHandle()) : "", buffer, size);
}

std::string CWindow::name() const
{
    Display* const display = walkDisplay();
    return display ? ownOrFramedName({display, nullptr}, getHandle()) : std::string();
}

std::string CWindow::title() const
{
    Display* const display = walkDisplay();
    if (!display)
        return {};
    const CAsked asked{display, "UTF-8"};
    const std::string own = ownOrFramedName(asked, getHandle());
    return own.empty() ? captionOf(asked, getHandle()) : own;
}

void CWindow::getWindowClassname(char* buffer, int size) const
{
    Display* const display = walkDisplay();
    const CClassHint hint = display ? classOf(display, getHandle()) : CClassHint();
    std::string text = hint.name;
    // The instance comes along whole or not at all, and never without a class.
    if (!text.empty() && !hint.instance.empty() &&
        size > static_cast<int>(text.size() + hint.instance.size() + 1))
        text += ' ' + hint.instance;
    copyText(text, buffer, size);
}
