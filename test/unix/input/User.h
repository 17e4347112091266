/// Somebody at keyboard and mouse.
#pragma once

#include "EventWindow.h"
#include "session/Program.h"

#include <X11/extensions/XInput.h>
#include <X11/extensions/XTest.h>

/// Presses or releases a key of the keyboard that an Xvfb has beside that of XTest.
inline void pressOnKeyboardOfUser(KeyCode key, bool down)
{
    const ScopedDisplay display(XOpenDisplay(nullptr));
    XDevice keyboard{7, 0, nullptr};
    XTestFakeDeviceKeyEvent(display.get(), &keyboard, key, down, nullptr, 0, 0);
    XSync(display.get(), False);
}

/// The whole of the keyboards that clients see, of XTest and of the user.
inline std::string keyboards()
{
    std::string all;
    for (const char* id : {"3", "5", "7"}) {
        CProgram compiler({"xkbcomp", "-w0", "-i", id, getenv("DISPLAY"), "-"});
        while (const auto line = compiler.line())
            all += *line + '\n';
    }
    return all;
}

/// A client that knows nothing of the library. The server has done what it did when a call returns.
class CUser {
public:
    Display* display() const { return m_display.get(); }
    KeyCode code(KeySym keysym) const { return XKeysymToKeycode(display(), keysym); }
    void press(KeySym keysym, bool down) const
    {
        XTestFakeKeyEvent(display(), code(keysym), down, 0);
        XSync(display(), False);
    }
    void tap(KeySym keysym) const
    {
        press(keysym, true);
        press(keysym, false);
    }
    /// Moves the pointer ("12,34"), presses (+) and releases (-) buttons: "+1 12,34 -1".
    void handle(const std::string& mouse) const
    {
        for (size_t at = 0, end; at < mouse.size(); at = end + 1) {
            end = std::min(mouse.find(' ', at), mouse.size());
            handleOne(mouse.substr(at, end - at));
        }
        XSync(display(), False);
    }

private:
    void handleOne(const std::string& action) const
    {
        const size_t comma = action.find(',');
        if (comma == std::string::npos)
            XTestFakeButtonEvent(display(), static_cast<unsigned>(std::stoi(action.substr(1))),
                                 action[0] == '+', 0);
        else
            XTestFakeMotionEvent(display(), -1, std::stoi(action), std::stoi(action.substr(comma + 1)), 0);
    }

    ScopedDisplay m_display{XOpenDisplay(nullptr)};
};
