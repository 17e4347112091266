// Typing 200 characters without delays, against the same strokes by bare XTestFakeKeyEvent and XSync each.
#include "Compare.h"
#include "EventManager.h"
#include "GxGlobals.h"
#include "processkey.h"

#include <string>

#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>

namespace {
void stroke(KeySym keysym, bool press)
{
    XTestFakeKeyEvent(g_display, XKeysymToKeycode(g_display, keysym), press, 0);
    XSync(g_display, False);
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
            for (const char16_t character : text) {
                stroke(character, true);
                stroke(character, false);
            }
        });
}
BENCHMARK(typing)->UseManualTime()->Unit(benchmark::kMillisecond);
} // namespace
