// Creates and destroys windows all the time, nested and named, some hundred a second, until it is killed.
#include <cstdio>
#include <deque>
#include <unistd.h>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

int main()
{
    Display* const display = XOpenDisplay(nullptr);
    if (!display)
        return 1;
    XClassHint hint{const_cast<char*>("churn"), const_cast<char*>("Churn")};
    std::deque<Window> windows;
    for (unsigned i = 0;; ++i) {
        const int x = static_cast<int>(i % 40) * 10;
        const Window frame =
            XCreateSimpleWindow(display, DefaultRootWindow(display), x, x, 100, 100, 0, 0, 0);
        const Window client = XCreateSimpleWindow(display, frame, 5, 5, 50, 50, 0, 0, 0);
        XSetClassHint(display, i % 2 ? client : frame, &hint);
        XMapWindow(display, client);
        XMapWindow(display, frame);
        windows.push_back(frame);
        if (windows.size() > 60) {
            XDestroyWindow(display, windows.front());
            windows.pop_front();
        }
        XSync(display, False);
        if (i == 60)
            std::printf("ready 0x%lx\n", frame), std::fflush(stdout);
        usleep(1000);
    }
}
