#include "unix/window/WindowLevel.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "unix/window/WindowProperty.h"
#include <X11/Xatom.h>

namespace {
/// How much of WM_CLASS is read, in units of four bytes: as much as XGetClassHint reads.
constexpr uint32_t classUnits = BUFSIZ;

/// Cuts the part before the next 0, which need not be there, off `text`.
std::string cutPart(std::string_view& text)
{
    const auto end = std::min(text.find('\0'), text.size());
    std::string part(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
    return part;
}

xcb_connection_t* connection(Display* display)
{
    return XGetXCBConnection(display);
}

CAnswer<xcb_get_property_reply_t> askProperty(Display* display, Window window, Atom name, Atom type,
                                              uint32_t units)
{
    const auto cookie =
        xcb_get_property(connection(display), 0, static_cast<xcb_window_t>(window),
                         static_cast<xcb_atom_t>(name), static_cast<xcb_atom_t>(type), 0, units);
    return {display, cookie.sequence};
}

CAnswer<xcb_get_window_attributes_reply_t> askAttributes(Display* display, Window window)
{
    return {display,
            xcb_get_window_attributes(connection(display), static_cast<xcb_window_t>(window)).sequence};
}
} // namespace

// XCB looks for an answer that has come by its number, but for one that is to be discarded in the list of all
// that are: with thousands under way that takes longer than the server needs for them.
void dropAnswer(xcb_connection_t* connection, unsigned sequence)
{
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    if (xcb_poll_for_reply(connection, sequence, &reply, &error) == 0)
        xcb_discard_reply(connection, sequence);
    std::free(reply);
    std::free(error);
}

CAnswer<xcb_query_tree_reply_t> askTree(Display* display, Window window)
{
    return {display, xcb_query_tree(connection(display), static_cast<xcb_window_t>(window)).sequence};
}

CAnswer<xcb_get_geometry_reply_t> askGeometry(Display* display, Window window)
{
    return {display, xcb_get_geometry(connection(display), static_cast<xcb_drawable_t>(window)).sequence};
}

CAnswer<xcb_translate_coordinates_reply_t> askPlace(Display* display, Window window)
{
    const auto cookie =
        xcb_translate_coordinates(connection(display), static_cast<xcb_window_t>(window),
                                  static_cast<xcb_window_t>(DefaultRootWindow(display)), 0, 0);
    return {display, cookie.sequence};
}

CAnswer<xcb_get_property_reply_t> askClass(Display* display, Window window)
{
    return askProperty(display, window, XA_WM_CLASS, XA_STRING, classUnits);
}

CAnswer<xcb_get_property_reply_t> askTransientFor(Display* display, Window window)
{
    return askProperty(display, window, XA_WM_TRANSIENT_FOR, XA_WINDOW, 1);
}

CStateAnswer::CStateAnswer(Display* display, Window window)
    : m_attributes(askAttributes(display, window)), m_geometry(askGeometry(display, window))
{
}

CWindowState CStateAnswer::take()
{
    // The first failure is the outcome: XGetWindowAttributes swallows the second error of a window that has
    // gone.
    const auto attributes = m_attributes.take();
    if (!attributes)
        return {};
    const auto geometry = m_geometry.take();
    if (!geometry)
        return {};
    return {
        .readable = true,
        .viewable = attributes->map_state == XCB_MAP_STATE_VIEWABLE,
        .unmapped = attributes->map_state == XCB_MAP_STATE_UNMAPPED,
        .inputOnly = attributes->_class == XCB_WINDOW_CLASS_INPUT_ONLY,
        .overrideRedirect = attributes->override_redirect != 0,
        .x = geometry->x,
        .y = geometry->y,
        .width = geometry->width,
        .height = geometry->height,
        .depth = geometry->depth,
    };
}

CPlace placeOf(const xcb_translate_coordinates_reply_t* reply)
{
    if (!reply || !reply->same_screen)
        return {};
    return {.known = true, .x = reply->dst_x, .y = reply->dst_y};
}

CClassHint classOf(const xcb_get_property_reply_t* reply)
{
    if (!isOf(reply, XA_STRING, 8))
        return {};
    auto text = textIn(reply, XA_STRING);
    CClassHint hint{.present = true};
    hint.instance = cutPart(text);
    hint.name = cutPart(text);
    return hint;
}

Window transientForOf(const xcb_get_property_reply_t* reply)
{
    const auto owners = wordsIn(reply, XA_WINDOW);
    return owners.empty() ? 0 : owners.front();
}

std::span<const xcb_window_t> childrenOf(const xcb_query_tree_reply_t* reply)
{
    if (!reply)
        return {};
    // The reply's own length, in units of a window id: the number beside it has 16 bits.
    return {xcb_query_tree_children(reply), size_t{reply->length}};
}

CWindowState stateOf(Display* display, Window window)
{
    return CStateAnswer(display, window).take();
}

CClassHint classOf(Display* display, Window window)
{
    return classOf(askClass(display, window).take().get());
}

std::vector<Window> childrenOf(CAnswer<xcb_query_tree_reply_t> answer)
{
    const auto reply = answer.take();
    const auto children = childrenOf(reply.get());
    return {children.begin(), children.end()};
}

std::vector<Window> childrenOf(Display* display, Window window)
{
    return childrenOf(askTree(display, window));
}

CWindowTree::CWindowTree(Display* display, Window start)
    : m_display(display), m_windows{{.window = start, .descend = true}}
{
}

void CWindowTree::appendChildren(size_t parent, const std::vector<Window>& children)
{
    m_windows[parent].firstChild = m_windows.size();
    m_windows[parent].children = children.size();
    for (const Window child : children)
        m_windows.push_back({.window = child, .parent = parent});
}

void CWindowTree::pushChildren(std::vector<size_t>& ahead, size_t parent, EOrder order) const
{
    const auto& [first, count] = std::pair(m_windows[parent].firstChild, m_windows[parent].children);
    for (size_t i = 0; i < count; ++i)
        ahead.push_back(order == EOrder::topFirst ? first + i : first + count - 1 - i);
}

std::vector<CTreeWindow*> CWindowTree::chosen(EOrder order)
{
    std::vector<CTreeWindow*> found;
    visit(order, [&](CTreeWindow& entry) {
        if (entry.chosen)
            found.push_back(&entry);
    });
    return found;
}

std::vector<Window> windowsOf(const std::vector<CTreeWindow*>& entries)
{
    std::vector<Window> windows;
    windows.reserve(entries.size());
    for (const CTreeWindow* entry : entries)
        windows.push_back(entry->window);
    return windows;
}

CWindowTree wholeTree(Display* display, Window start)
{
    CWindowTree tree(display, start);
    const auto nothing = [](Window) { return 0; };
    tree.read(nothing, [](CTreeWindow& entry, int) { entry.descend = true; });
    return tree;
}

std::vector<Window> windowsOf(CWindowTree tree)
{
    std::vector<Window> windows;
    tree.visit(EOrder::bottomFirst, [&](const CTreeWindow& entry) { windows.push_back(entry.window); });
    return windows;
}
