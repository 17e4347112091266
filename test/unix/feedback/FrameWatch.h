/// What another client of the X server sees of frames and tooltips.
#pragma once

#include "include/Within.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <vector>

#include "../window/Scene.h"

#include <X11/extensions/shape.h>

inline std::string boxText(int x, int y, int width, int height)
{
    return std::to_string(x) + "," + std::to_string(y) + " " + std::to_string(width) + "x" +
           std::to_string(height);
}

/// A second client, which is told of every window below the root.
class CWatcher : public CScene {
public:
    CWatcher()
    {
        XSelectInput(display(), root(), SubstructureNotifyMask);
        sync();
    }

    std::vector<Window> windows()
    {
        Window unused, *list = nullptr;
        unsigned count = 0;
        XQueryTree(display(), root(), &unused, &unused, &list, &count);
        std::vector<Window> all(list, list + count);
        XFree(list);
        return all;
    }
    std::string box(Window window)
    {
        Window unused;
        int x = 0, y = 0;
        unsigned width = 0, height = 0, rest;
        XGetGeometry(display(), window, &unused, &x, &y, &width, &height, &rest, &rest);
        return boxText(x, y, static_cast<int>(width), static_cast<int>(height));
    }
    bool viewable(Window window)
    {
        XWindowAttributes attributes{};
        return XGetWindowAttributes(display(), window, &attributes) && attributes.map_state == IsViewable;
    }
    /// The rectangles of a shape, from top to bottom.
    std::string shape(Window window, int kind)
    {
        int count = 0, order = 0;
        XRectangle* const list = XShapeGetRectangles(display(), window, kind, &count, &order);
        std::string all;
        for (int i = 0; i < count; ++i)
            all += (i ? " | " : "") + boxText(list[i].x, list[i].y, list[i].width, list[i].height);
        XFree(list);
        return all;
    }
    /// What has happened to a window: m mapped, u unmapped, c moved or resized, d destroyed.
    std::string events(Window window)
    {
        sync();
        XEvent event;
        while (XCheckMaskEvent(display(), SubstructureNotifyMask, &event))
            note(event);
        std::string all;
        for (const auto& [who, what] : m_events)
            if (who == window)
                all += what;
        return all;
    }
    bool isGone(Window window, std::chrono::milliseconds limit = std::chrono::seconds(10))
    {
        return within(limit, [&] { return events(window).ends_with('d'); });
    }

private:
    void note(const XEvent& event)
    {
        switch (event.type) {
        case MapNotify:
            m_events.emplace_back(event.xmap.window, 'm');
            break;
        case UnmapNotify:
            m_events.emplace_back(event.xunmap.window, 'u');
            break;
        case ConfigureNotify:
            m_events.emplace_back(event.xconfigure.window, 'c');
            break;
        case DestroyNotify:
            m_events.emplace_back(event.xdestroywindow.window, 'd');
            break;
        default:
            break;
        }
    }

    std::vector<std::pair<Window, char>> m_events;
};

/// Entries of a directory of this process: "fd" or "task".
inline long countOf(const char* what)
{
    return std::distance(std::filesystem::directory_iterator(std::string("/proc/self/") + what), {});
}
