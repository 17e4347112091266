#include "gx/Seen.h"

#include "common/text/CodeSet.h"
#include "gx/CommandLine.h"
#include "unix/window/ServerComplaint.h"
#include "unix/window/WindowManagerUnix.h"
#include "unix/window/WindowOwner.h"

#include <algorithm>
#include <functional>

namespace {
Rect boxOf(const CWindowState& state, const CPlace& place)
{
    return state.readable && place.known ? Rect(place.y, place.x, state.height, state.width) : Rect();
}

struct CWindowAnswer {
    CWindowAnswer(Display* display, Window window)
        : hint(askClass(display, window)), state(display, window), place(askPlace(display, window))
    {
    }
    CAnswer<xcb_get_property_reply_t> hint;
    CStateAnswer state;
    CAnswer<xcb_translate_coordinates_reply_t> place;
};

std::vector<CSeenWindow> described(Display* display, const std::vector<unsigned long>& ids)
{
    std::vector<CSeenWindow> windows;
    windows.reserve(ids.size());
    askAll(
        ids, [&](unsigned long id) { return CWindowAnswer(display, id); },
        [&](unsigned long id, CWindowAnswer& answer) {
            const CClassHint hint = classOf(answer.hint.take().get());
            const CWindowState state = answer.state.take();
            const Rect box = boxOf(state, placeOf(answer.place.take().get()));
            windows.push_back({id, 0, hint.name, hint.instance, {}, state.overrideRedirect, box});
        });
    for (CSeenWindow& window : windows)
        window.caption = CWindow(static_cast<long>(window.id)).title();
    return windows;
}

bool isBesideDash(const std::string& caption, const std::string& text)
{
    return !text.empty() && (caption.starts_with(text + " - ") || caption.ends_with(" - " + text));
}

std::string inUtf8(const std::string& argument)
{
    const CEnvironmentLocale locale;
    std::string text;
    return convertText("UTF-8", locale.codeSet(), argument, text) == Conversion::complete ? text : argument;
}
} // namespace

void Seen::requireServer()
{
    if (const std::string why = ServerComplaint::text(); !why.empty())
        throw CNotSo(why);
}

std::vector<CSeenWindow> Seen::all()
{
    requireServer();
    Display* const display = walkDisplay();
    const std::vector<unsigned long> ids = topLevelWindows(display, rootOf(display));
    std::vector<CSeenWindow> windows = described(display, ids);
    const std::vector<int> processes = WindowOwner::processesOf(ids);
    for (size_t at = 0; at < windows.size(); ++at)
        windows[at].process = processes[at];
    return windows;
}

CSeenWindow Seen::of(unsigned long window)
{
    return described(walkDisplay(), {window}).front();
}

const CSeenWindow* Seen::called(const std::string& caption, const std::vector<CSeenWindow>& windows)
{
    const std::string wanted = inUtf8(caption);
    const std::function<bool(const CSeenWindow&)> ways[] = {
        [&](const CSeenWindow& each) { return each.caption == wanted; },
        [&](const CSeenWindow& each) { return isBesideDash(each.caption, wanted); },
        [&](const CSeenWindow& each) { return idOf(each.id) == wanted; },
    };
    for (const bool amongPopups : {false, true})
        for (const auto& way : ways) {
            const auto found = std::find_if(windows.rbegin(), windows.rend(), [&](const CSeenWindow& each) {
                return each.isPopup == amongPopups && way(each);
            });
            if (found != windows.rend())
                return &*found;
        }
    return nullptr;
}

CSeenWindow Seen::demand(const std::string& caption)
{
    const std::vector<CSeenWindow> windows = all();
    if (const CSeenWindow* const found = called(caption, windows))
        return *found;
    throw CNotSo("no window of this display is called \"" + caption + "\"", list(windows),
                 "gx windows has more of each");
}

std::string Seen::list(const std::vector<CSeenWindow>& windows)
{
    std::string text;
    for (const CSeenWindow& window : windows)
        text += (text.empty() ? "there are: \"" : ", \"") + shown(window.caption) + "\"";
    return text.empty() ? "there is no window at all" : text;
}

std::string Seen::idOf(unsigned long window)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%lx", window);
    return text;
}

std::string Seen::placeOf(const Rect& box)
{
    char text[64];
    std::snprintf(text, sizeof text, "%dx%d%+d%+d", box.getWidth(), box.getHeight(), box.getLeft(),
                  box.getTop());
    return text;
}

std::string Seen::lineOf(const CSeenWindow& window, size_t classWidth)
{
    std::string names = window.className + (window.instance.empty() ? "" : " " + window.instance);
    names.resize(std::max(names.size(), classWidth), ' ');
    char start[48];
    std::snprintf(start, sizeof start, "%-10s %8s ", idOf(window.id).c_str(),
                  window.process ? std::to_string(window.process).c_str() : "-");
    return start + placeOf(window.box) + "\t" + names + "  \"" + shown(window.caption) + "\"";
}

void Seen::write(CJson& json, const CSeenWindow& window)
{
    json.member("id", idOf(window.id)).memberIfKnown("pid", window.process).member("class", window.className);
    json.member("instance", window.instance).member("caption", window.caption);
    json.member("popup", window.isPopup);
    json.member("x", window.box.getLeft()).member("y", window.box.getTop());
    json.member("width", window.box.getWidth()).member("height", window.box.getHeight());
}

std::string Seen::shown(const std::string& text)
{
    return inLocale(text);
}
