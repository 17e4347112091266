/// A window that reports every key and button event and every motion, on a connection of its own.
#pragma once

#include "include/GxGlobals.h"

#include <memory>
#include <string>
#include <vector>

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/keysym.h>

struct CCloseDisplay {
    void operator()(Display* display) const noexcept { XCloseDisplay(display); }
};
using ScopedDisplay = std::unique_ptr<Display, CCloseDisplay>;

class CEventWindow {
public:
    /// An override-redirect window, mapped and with the keyboard focus. Pixels of the root window, or of the
    /// parent.
    CEventWindow(int x, int y, int width, int height, Window parent = 0) : m_display(XOpenDisplay(nullptr))
    {
        XSetWindowAttributes attributes{};
        attributes.override_redirect = True;
        attributes.event_mask = KeyPressMask | KeyReleaseMask | ButtonPressMask | ButtonReleaseMask |
                                PointerMotionMask | StructureNotifyMask;
        m_window =
            XCreateWindow(m_display.get(), parent ? parent : DefaultRootWindow(m_display.get()), x, y,
                          static_cast<unsigned>(width), static_cast<unsigned>(height), 0, CopyFromParent,
                          InputOutput, nullptr, CWOverrideRedirect | CWEventMask, &attributes);
        XMapRaised(m_display.get(), m_window);
        XEvent event;
        XWindowEvent(m_display.get(), m_window, StructureNotifyMask, &event);
        XSetInputFocus(m_display.get(), m_window, RevertToPointerRoot, CurrentTime);
        XSync(m_display.get(), False);
    }
    CEventWindow(const CEventWindow&) = delete;

    long id() const { return static_cast<long>(m_window); }
    Display* display() const { return m_display.get(); }
    void destroy()
    {
        XDestroyWindow(m_display.get(), m_window);
        XSync(m_display.get(), False);
    }

    /// What has come since the last call: "+1 -1" for buttons, "+a -a" for keys, after letters for the
    /// modifiers that are down (S, C, A; L for Caps Lock); motions only if wanted, as "x,y" in pixels of the
    /// window.
    std::string events(bool motions = false)
    {
        std::string all;
        m_presses.clear();
        m_releases.clear();
        XSync(m_display.get(), False);
        while (XPending(m_display.get())) {
            XEvent event;
            XNextEvent(m_display.get(), &event);
            const std::string text = describe(event, motions);
            all += (all.empty() || text.empty() ? "" : " ") + text;
        }
        return all;
    }
    /// Server times of the presses and releases of the last events(), in milliseconds.
    const std::vector<Time>& presses() const { return m_presses; }
    const std::vector<Time>& releases() const { return m_releases; }

private:
    static std::string modifiers(unsigned state)
    {
        return std::string(state & LockMask ? "L" : "") + (state & ShiftMask ? "S" : "") +
               (state & ControlMask ? "C" : "") + (state & Mod1Mask ? "A" : "");
    }
    /// A key that a player had borrowed may have none again by now.
    std::string name(unsigned keycode)
    {
        const char* const known =
            XKeysymToString(XkbKeycodeToKeysym(m_display.get(), static_cast<KeyCode>(keycode), 0, 0));
        return known ? known : "key" + std::to_string(keycode);
    }
    std::string describe(XEvent& event, bool motions)
    {
        switch (event.type) {
        case ButtonPress:
            m_presses.push_back(event.xbutton.time);
            return modifiers(event.xbutton.state) + "+" + std::to_string(event.xbutton.button);
        case ButtonRelease:
            m_releases.push_back(event.xbutton.time);
            return modifiers(event.xbutton.state) + "-" + std::to_string(event.xbutton.button);
        case KeyPress:
        case KeyRelease:
            (event.type == KeyPress ? m_presses : m_releases).push_back(event.xkey.time);
            return modifiers(event.xkey.state) + (event.type == KeyPress ? "+" : "-") +
                   name(event.xkey.keycode);
        case MotionNotify:
            return motions ? std::to_string(event.xmotion.x) + "," + std::to_string(event.xmotion.y) : "";
        case MappingNotify:
            XRefreshKeyboardMapping(&event.xmapping);
            return "";
        default:
            return "";
        }
    }

    ScopedDisplay m_display;
    Window m_window = 0;
    std::vector<Time> m_presses;
    std::vector<Time> m_releases;
};

/// g_display is another connection while it lives; null for none.
class COtherDisplay {
public:
    explicit COtherDisplay(Display* display) : m_before(g_display) { g_display = display; }
    ~COtherDisplay() { g_display = m_before; }
    COtherDisplay(const COtherDisplay&) = delete;

private:
    Display* m_before;
};
