/// The one reader of windows: what the X server knows of many windows, asked for all at once.
///
/// A waiting round trip a window makes a search of some hundred managed windows last seconds. Here the
/// requests for a whole level of the window tree are under way together, through XCB on Xlib's own
/// connection, and the answers are taken in the order of the requests. A window that vanishes meanwhile has
/// no answers; its error is written to the trace as the Xlib call of the same name would have it written.
///
/// One thread at a time for a display. Everything here blocks until the server answers.
#pragma once

#include "include/ScopedX.h"
#include "unix/window/XErrors.h"

#include <cstddef>
#include <optional>
#include <numeric>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include <X11/Xlib-xcb.h>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>

/// Drops the answer to a request, whether it has come or not.
void dropAnswer(xcb_connection_t* connection, unsigned sequence);

/// The answer to one request: under way until it is taken. An answer that nobody takes is dropped, its error
/// too.
template <class Reply> class CAnswer {
public:
    CAnswer(Display* display, unsigned sequence) : m_display(display), m_sequence(sequence) {}
    CAnswer(CAnswer&& other) noexcept
        : m_display(std::exchange(other.m_display, nullptr)), m_sequence(other.m_sequence)
    {
    }
    CAnswer& operator=(CAnswer&&) = delete;
    ~CAnswer()
    {
        if (m_display)
            dropAnswer(XGetXCBConnection(m_display), m_sequence);
    }

    /// Waits for the answer; may be called once. Null when the request failed, which is traced.
    MallocPtr<Reply> take()
    {
        Display* const display = m_display;
        MallocPtr<xcb_generic_error_t> error;
        auto reply = takeWith(error);
        if (error)
            traceXError(display, error->error_code, error->full_sequence, error->major_code,
                        error->minor_code);
        return reply;
    }
    /// As take, without a trace line: for a request whose failure leads to the question being asked anew.
    MallocPtr<Reply> takeQuietly()
    {
        MallocPtr<xcb_generic_error_t> error;
        return takeWith(error);
    }

private:
    MallocPtr<Reply> takeWith(MallocPtr<xcb_generic_error_t>& error)
    {
        xcb_generic_error_t* failure = nullptr;
        auto* const connection = XGetXCBConnection(std::exchange(m_display, nullptr));
        MallocPtr<Reply> reply(static_cast<Reply*>(xcb_wait_for_reply(connection, m_sequence, &failure)));
        error.reset(failure);
        return reply;
    }

    Display* m_display;
    unsigned m_sequence;
};

/// Asks one question about each of `items`, all of them at once, and takes the answers in order.
/// @param ask   (item) -> the answer under way
/// @param take  (item, answer)
template <class Items, class Ask, class Take> void askAll(Items&& items, Ask ask, Take take)
{
    std::vector<decltype(ask(*std::begin(items)))> answers;
    answers.reserve(std::size(items));
    for (auto&& item : items)
        answers.push_back(ask(item));
    auto next = answers.begin();
    for (auto&& item : items) {
        auto answer = std::move(*next++); // one that is not taken is dropped here
        take(item, answer);
    }
}

/// State and outer size of a window, as XGetWindowAttributes reports them. `readable` is false when that
/// failed.
struct CWindowState {
    bool readable = false;
    bool viewable = false; ///< mapped, and all its ancestors are
    bool unmapped = false;
    bool inputOnly = false;
    bool overrideRedirect = false;
    int x = 0; ///< pixels from the parent's corner to the corner of this window's border
    int y = 0;
    int width = 0; ///< without the border
    int height = 0;
    int depth = 0; ///< bits a pixel
};

/// WM_CLASS of the KDE window manager's own windows; its frames have one as their first child.
constexpr const char* kdeInstance = "kwin";
constexpr const char* kdeClass = "Kwin";
/// WM_CLASS class of the library's own highlight frames, which no search may find.
constexpr const char* highlighterClass = "VTXHighlighter";

/// The two parts of WM_CLASS. A part that is absent and one that is empty are the same: no name.
struct CClassHint {
    bool present = false; ///< there is a WM_CLASS, even if it names nothing
    std::string instance;
    std::string name;

    bool given() const { return !instance.empty() || !name.empty(); }
    bool isKde() const { return instance == kdeInstance && name == kdeClass; }
};

/// What is sent for XGetWindowAttributes: two requests with one outcome.
class CStateAnswer {
public:
    CStateAnswer(Display* display, Window window);
    CWindowState take();

private:
    CAnswer<xcb_get_window_attributes_reply_t> m_attributes;
    CAnswer<xcb_get_geometry_reply_t> m_geometry;
};

/// The requests that walks make. Each is on its way when the function returns.
CAnswer<xcb_query_tree_reply_t> askTree(Display* display, Window window);
CAnswer<xcb_get_geometry_reply_t> askGeometry(Display* display, Window window);
CAnswer<xcb_translate_coordinates_reply_t> askPlace(Display* display, Window window);
CAnswer<xcb_get_property_reply_t> askClass(Display* display, Window window);
CAnswer<xcb_get_property_reply_t> askTransientFor(Display* display, Window window);

/// Their answers in the terms of a walk; null stands for a request that failed.
struct CPlace {
    bool known = false;
    int x = 0; ///< the window's inner corner in root coordinates
    int y = 0;
};
CPlace placeOf(const xcb_translate_coordinates_reply_t* reply);
/// A property of another type or format counts as none; so does one of a window that has gone.
CClassHint classOf(const xcb_get_property_reply_t* reply);
Window transientForOf(const xcb_get_property_reply_t* reply); ///< 0 when the window names none
/// Bottom of the stack first; none when the query failed. Valid as long as the reply.
std::span<const xcb_window_t> childrenOf(const xcb_query_tree_reply_t* reply);

std::vector<Window> childrenOf(CAnswer<xcb_query_tree_reply_t> answer);

/// The same for one window, each a round trip.
CWindowState stateOf(Display* display, Window window);
CClassHint classOf(Display* display, Window window);
std::vector<Window> childrenOf(Display* display, Window window);

/// A window of a tree that is being read, and what its walk found out about it.
struct CTreeWindow {
    Window window = 0;
    size_t parent = 0;     ///< index in the tree
    size_t firstChild = 0; ///< its children stand one after the other, bottom of the stack first
    size_t children = 0;
    bool descend = false; ///< read the children too
    bool chosen = false;  ///< what the walk looks for
    CWindowState state{};
    std::optional<CClassHint> hint{}; ///< nothing until it was asked for
};

enum class EOrder { bottomFirst, topFirst };

/// The windows below one window, read a level at a time. The first entry is the start itself, of which
/// nothing but the children is asked.
class CWindowTree {
public:
    CWindowTree(Display* display, Window start);

    /// Every window of a level, all those with the same distance from the start, is asked the walk's
    /// questions and for its children in one go; what the walk does not go on into is dropped.
    /// @param ask     (window) -> the answers under way, any type that can be moved
    /// @param take    (entry, answers) sets `descend` where the walk goes on and `chosen` on what it looks for
    /// @param settle  (std::span<CTreeWindow>) may ask more about those of a level that `take` has chosen, and
    ///                take back both of what it has set
    template <class Ask, class Take, class Settle> void read(Ask ask, Take take, Settle settle)
    {
        appendChildren(0, childrenOf(m_display, m_windows[0].window));
        for (size_t begin = 1, end = m_windows.size(); begin < end; begin = end, end = m_windows.size()) {
            std::vector<size_t> level(end - begin);
            std::iota(level.begin(), level.end(), begin);
            std::vector<std::pair<size_t, std::vector<Window>>> below;
            askAll(
                level,
                [&](size_t index) {
                    const Window window = m_windows[index].window;
                    auto answers = ask(window);
                    return std::pair(std::move(answers), askTree(m_display, window));
                },
                [&](size_t index, auto& asked) {
                    take(m_windows[index], asked.first);
                    if (m_windows[index].descend)
                        below.emplace_back(index, childrenOf(std::move(asked.second)));
                });
            settle(std::span(m_windows).subspan(begin));
            for (const auto& [index, children] : below)
                if (m_windows[index].descend)
                    appendChildren(index, children);
        }
    }
    template <class Ask, class Take> void read(Ask ask, Take take)
    {
        read(ask, take, [](std::span<CTreeWindow>) {});
    }

    CTreeWindow& at(size_t index) { return m_windows[index]; }
    /// Calls visit(CTreeWindow&) for every window but the start, each before its children; siblings in the
    /// given order.
    template <class Visit> void visit(EOrder order, Visit visit)
    {
        std::vector<size_t> ahead;
        pushChildren(ahead, 0, order);
        while (!ahead.empty()) {
            const size_t next = ahead.back();
            ahead.pop_back();
            visit(m_windows[next]);
            pushChildren(ahead, next, order);
        }
    }
    /// The same, bottom of the stack first, but all children of a window before what is inside of them.
    template <class Visit> void visitSiblingsFirst(Visit visit)
    {
        std::vector<size_t> ahead{0};
        while (!ahead.empty()) {
            const size_t parent = ahead.back();
            ahead.pop_back();
            for (size_t i = 0; i < m_windows[parent].children; ++i)
                visit(m_windows[m_windows[parent].firstChild + i]);
            pushChildren(ahead, parent, EOrder::bottomFirst);
        }
    }
    /// The windows that are `chosen`, in the order of visit.
    std::vector<CTreeWindow*> chosen(EOrder order);

private:
    void appendChildren(size_t parent, const std::vector<Window>& children);
    void pushChildren(std::vector<size_t>& ahead, size_t parent, EOrder order) const;

    Display* m_display;
    std::vector<CTreeWindow> m_windows;
};

std::vector<Window> windowsOf(const std::vector<CTreeWindow*>& entries);

/// Everything below `start`, mapped or not.
CWindowTree wholeTree(Display* display, Window start);
/// The windows of a tree but its start, each before its children, bottom of the stack first.
std::vector<Window> windowsOf(CWindowTree tree);
