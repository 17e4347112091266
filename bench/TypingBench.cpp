// Typing without delays: 200 characters that keys type, against the same strokes by bare XTestFakeKeyEvent
// and XSync each; and 50 that no key types into a plain client, which answers pings or does not, against the
// bare requests for each and the client's word that it has read the key.
#include "ChildProcess.h"
#include "Compare.h"
#include "include/GxGlobals.h"
#include "unix/input/EventManager.h"
#include "unix/input/inputkeyunix.h"

#include <cstdlib>
#include <string>
#include <unistd.h>

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace {
void stroke(KeyCode key)
{
    for (const bool press : {true, false}) {
        XTestFakeKeyEvent(g_display, key, press, 0);
        XSync(g_display, False);
    }
}

void typing(benchmark::State& state)
{
    std::u16string text;
    for (int i = 0; i < 200; ++i)
        text += static_cast<char16_t>(u'a' + i % 26);
    Event::setDelays(0, 0, 0, 0, 0, 0);
    compare(
        state, [&] { SendKeys(text.c_str(), false); },
        [&] {
            for (const char16_t character : text)
                stroke(XKeysymToKeycode(g_display, character));
        });
}
BENCHMARK(typing)->UseManualTime()->Unit(benchmark::kMillisecond);

/// A program with the keyboard focus that looks its keys up and hands the keysyms on.
class CReceiver {
public:
    explicit CReceiver(bool answersPings)
        : m_child([&](CChildProcess& parent) { read(parent, answersPings); })
    {
        close(m_keys[1]);
        m_child.wait();
    }
    ~CReceiver()
    {
        m_child.die();
        close(m_keys[0]);
    }
    CReceiver(const CReceiver&) = delete;

    /// Ends the program when the next key is not the expected one.
    void await(KeySym expected)
    {
        KeySym keysym = NoSymbol;
        if (::read(m_keys[0], &keysym, sizeof keysym) != sizeof keysym || keysym != expected)
            std::abort();
    }

private:
    int open() { return pipe(m_keys); }
    [[noreturn]] void read(CChildProcess& parent, bool answersPings)
    {
        Display* const display = XOpenDisplay(nullptr);
        const Window root = DefaultRootWindow(display);
        Atom ping = XInternAtom(display, "_NET_WM_PING", False);
        XSetWindowAttributes attributes{};
        attributes.override_redirect = True;
        attributes.event_mask = KeyPressMask | StructureNotifyMask;
        const Window window = XCreateWindow(display, root, 0, 0, 50, 50, 0, CopyFromParent, InputOutput,
                                            nullptr, CWOverrideRedirect | CWEventMask, &attributes);
        if (answersPings)
            XSetWMProtocols(display, window, &ping, 1);
        XMapRaised(display, window);
        for (XEvent event;;) {
            XNextEvent(display, &event);
            if (event.type == MapNotify) {
                XSetInputFocus(display, window, RevertToPointerRoot, CurrentTime);
                XSync(display, False);
                parent.pass();
            } else if (event.type == MappingNotify) {
                XRefreshKeyboardMapping(&event.xmapping);
            } else if (event.type == ClientMessage) {
                event.xclient.window = root;
                XSendEvent(display, root, False, SubstructureRedirectMask | SubstructureNotifyMask, &event);
                XFlush(display);
            } else if (event.type == KeyPress) {
                KeySym keysym = NoSymbol;
                XLookupString(&event.xkey, nullptr, 0, &keysym, nullptr);
                if (keysym != XK_Num_Lock && write(m_keys[1], &keysym, sizeof keysym) < 0)
                    std::abort();
            }
        }
    }

    int m_keys[2];
    const int m_opened = open();
    CChildProcess m_child;
};

constexpr KeySym unicodeKeysyms = 0x1000000;

void typingWhatNoKeyTypes(benchmark::State& state)
{
    std::u16string text;
    for (int i = 0; i < 50; ++i)
        text += static_cast<char16_t>(0x4E00 + i);
    CReceiver receiver(state.range(0) != 0);
    int lowest, highest, width;
    XDisplayKeycodes(g_display, &lowest, &highest);
    const auto key = static_cast<KeyCode>(lowest);
    KeySym* const map = XGetKeyboardMapping(g_display, key, highest - lowest + 1, &width);
    const auto change = [&](KeySym keysym) {
        map[0] = keysym;
        XChangeKeyboardMapping(g_display, lowest, width, map, highest - lowest);
        XSync(g_display, False);
    };
    Event::setDelays(0, 0, 0, 0, 0, 0);
    compare(
        state,
        [&] {
            SendKeys(text.c_str(), false);
            for (const char16_t character : text)
                receiver.await(unicodeKeysyms + character);
        },
        [&] {
            for (const char16_t character : text) {
                change(unicodeKeysyms + character);
                stroke(key);
                receiver.await(unicodeKeysyms + character);
                change(NoSymbol);
            }
        });
    XFree(map);
    state.counters["characters_per_s"] = static_cast<double>(text.size()) * 1e6 / state.counters["ours_us"];
}
BENCHMARK(typingWhatNoKeyTypes)
    ->ArgName("pings")
    ->Arg(1)
    ->Arg(0)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
} // namespace
