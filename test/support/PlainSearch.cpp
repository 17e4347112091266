#include "PlainSearch.h"

#include <algorithm>
#include <optional>
#include <string>

#include <X11/Xutil.h>

namespace PlainSearch {
struct CHint {
    std::string instance, name;
    bool given() const { return !instance.empty() || !name.empty(); }
};

static CHint hintOf(Display* display, Window window)
{
    XClassHint hint{};
    if (!XGetClassHint(display, window, &hint))
        return {};
    CHint found{hint.res_name, hint.res_class};
    XFree(hint.res_name);
    XFree(hint.res_class);
    return found;
}

static Window parentOf(Display* display, Window window, std::vector<Window>* children = nullptr)
{
    Window root = 0, parent = 0, *list = nullptr;
    unsigned count = 0;
    if (!XQueryTree(display, window, &root, &parent, &list, &count))
        return 0;
    if (children)
        children->assign(list, list + count);
    if (list)
        XFree(list);
    return parent;
}

static std::vector<Window> childrenOf(Display* display, Window window)
{
    std::vector<Window> children;
    parentOf(display, window, &children);
    return children;
}

static std::vector<Window> topFirst(Display* display, Window window)
{
    auto children = childrenOf(display, window);
    std::reverse(children.begin(), children.end());
    return children;
}

static std::optional<XWindowAttributes> attributesOf(Display* display, Window window)
{
    XWindowAttributes attributes;
    return XGetWindowAttributes(display, window, &attributes) ? std::optional(attributes) : std::nullopt;
}

static std::optional<XWindowAttributes> viewable(Display* display, Window window)
{
    const auto attributes = attributesOf(display, window);
    return attributes && attributes->map_state == IsViewable ? attributes : std::nullopt;
}

static bool covers(Display* display, Window window, const XWindowAttributes& attributes, const CBox& box)
{
    int left = 0, top = 0;
    Window child;
    return XTranslateCoordinates(display, window, DefaultRootWindow(display), 0, 0, &left, &top, &child) &&
           left == box.x && top == box.y && attributes.width == box.width && attributes.height == box.height;
}

static Window topLevelParent(Display* display, Window window)
{
    Window above = parentOf(display, window);
    for (; above != DefaultRootWindow(display); above = parentOf(display, above))
        if (hintOf(display, above).given())
            return above;
    return window;
}

Window windowAtPoint(Display* display, Window window, int originX, int originY, int x, int y)
{
    for (const Window child : topFirst(display, window)) {
        if (hintOf(display, child).name == "VTXHighlighter")
            continue;
        const auto attributes = attributesOf(display, child);
        if (!attributes)
            return window;
        const int left = originX + attributes->x, top = originY + attributes->y;
        if (attributes->map_state == IsViewable && left <= x && x <= left + attributes->width && top <= y &&
            y <= top + attributes->height)
            return windowAtPoint(display, child, left, top, x, y);
    }
    return window;
}

void windowsAtRect(Display* display, Window window, const CBox& box, std::vector<Window>& found)
{
    for (const Window child : childrenOf(display, window))
        if (const auto attributes = viewable(display, child)) {
            if (covers(display, child, *attributes, box))
                found.push_back(child);
            windowsAtRect(display, child, box, found);
        }
}

std::vector<Window> childWindows(Display* display, Window window)
{
    std::vector<Window> found;
    for (const Window child : childrenOf(display, window))
        if (const auto attributes = viewable(display, child); attributes && attributes->c_class != InputOnly)
            found.push_back(child);
    return found;
}

void topLevelWindows(Display* display, Window window, std::vector<Window>& found)
{
    for (const Window child : childrenOf(display, window)) {
        if (!viewable(display, child))
            continue;
        const Window named = hintOf(display, child).given() ? child : topLevelParent(display, child);
        if (named == child && !hintOf(display, child).given())
            topLevelWindows(display, child, found);
        else
            found.push_back(named);
    }
}

void topLevelWindowsAtRect(Display* display, Window window, const CBox& box, std::vector<Window>& found)
{
    for (const Window child : topFirst(display, window)) {
        const auto attributes = viewable(display, child);
        if (!attributes)
            continue;
        const CHint hint = hintOf(display, child);
        if (!covers(display, child, *attributes, box))
            topLevelWindowsAtRect(display, child, box, found);
        else if (hint.given() && hint.instance != "kwin" && hint.name != "Kwin")
            found.push_back(child);
        else if (hint.given())
            continue;
        else if (const Window named = topLevelParent(display, child); named == child)
            topLevelWindowsAtRect(display, child, box, found);
        else
            found.push_back(named);
    }
}

void transients(Display* display, Window window, Window owner, std::vector<Window>& found)
{
    for (const Window child : topFirst(display, window)) {
        const auto attributes = attributesOf(display, child);
        if (!attributes || attributes->override_redirect)
            continue;
        Window leader = 0;
        if (!hintOf(display, child).given())
            transients(display, child, owner, found);
        else if (attributes->map_state == IsViewable && XGetTransientForHint(display, child, &leader) &&
                 leader == owner)
            found.push_back(child);
    }
}
} // namespace PlainSearch
