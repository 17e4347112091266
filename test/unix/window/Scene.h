/// Windows with known geometry, made by a client of its own, and what the library says about them in its
/// trace.
#pragma once

#include "TraceCapture.h"
#include "include/GxGlobals.h"
#include "include/Within.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <X11/Xatom.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>

struct CWindowPlan {
    int x = 0;
    int y = 0;
    unsigned width = 50;
    unsigned height = 50;
    unsigned border = 0;
    bool mapped = true;
    bool inputOnly = false;
    bool overrideRedirect = false;
};

/// A client of the X server whose windows go when it goes.
class CScene {
public:
    CScene() : m_display(XOpenDisplay(nullptr)) {}
    ~CScene() { XCloseDisplay(m_display); }
    CScene(const CScene&) = delete;

    Display* display() const { return m_display; }
    Window root() const { return DefaultRootWindow(m_display); }

    Window add(Window parent, const CWindowPlan& plan)
    {
        XSetWindowAttributes attributes{};
        attributes.override_redirect = plan.overrideRedirect;
        const Window window = XCreateWindow(m_display, parent, plan.x, plan.y, plan.width, plan.height,
                                            plan.inputOnly ? 0 : plan.border, CopyFromParent,
                                            plan.inputOnly ? InputOnly : CopyFromParent, CopyFromParent,
                                            CWOverrideRedirect, &attributes);
        if (plan.mapped)
            XMapWindow(m_display, window);
        sync();
        return window;
    }
    Window add(const CWindowPlan& plan) { return add(root(), plan); }
    void destroy(Window window)
    {
        XDestroyWindow(m_display, window);
        sync();
    }
    /// @param text  may hold zeros
    void setProperty(Window window, Atom name, Atom type, int format, const std::string& text)
    {
        std::vector<long> words(text.begin(), text.end());
        const auto* bytes = reinterpret_cast<const unsigned char*>(text.data());
        XChangeProperty(m_display, window, name, type, format, PropModeReplace,
                        format == 32 ? reinterpret_cast<const unsigned char*>(words.data()) : bytes,
                        static_cast<int>(format == 16 ? text.size() / 2 : text.size()));
        sync();
    }
    void setClass(Window window, const std::string& instance, const std::string& name)
    {
        setProperty(window, XA_WM_CLASS, XA_STRING, 8, instance + '\0' + name + '\0');
    }
    void setName(Window window, const std::string& text, const char* type = "STRING")
    {
        setProperty(window, XA_WM_NAME, atom(type), 8, text);
    }
    Atom atom(const char* name) { return XInternAtom(m_display, name, False); }
    void sync() { XSync(m_display, False); }

    /// The next event of a type that the windows of this client get, within ten seconds.
    std::optional<XEvent> event(int type)
    {
        XEvent event;
        const auto hasCome = [&] { return XCheckTypedEvent(m_display, type, &event) != False; };
        return within(std::chrono::seconds(10), hasCome) ? std::optional(event) : std::nullopt;
    }

private:
    Display* m_display;
};
