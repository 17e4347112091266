// A picture of 1280 by 800 pixels, from Java to an image, against the bare XGetImage, which leaves the pixels
// as the server has them.
#include "Compare.h"
#include "Jvm.h"

#include <cstdlib>
#include <iostream>

#include <X11/Xlib.h>
#include <X11/Xutil.h>

namespace {
void pictureOfTheScreen(benchmark::State& state)
{
    CJvm::startUnchecked(GX_BENCH_JAR);
    JNIEnv* const env = CJvm::env();
    const jclass calls = env->FindClass("ScreenCalls");
    const jmethodID capture = env->GetStaticMethodID(calls, "capture", "()I");
    Display* const display = XOpenDisplay(nullptr);
    compare(
        state,
        [&] {
            if (env->CallStaticIntMethod(calls, capture) == 1)
                return;
            std::cerr << takePendingException(env) << '\n';
            std::exit(1);
        },
        [&] {
            XDestroyImage(
                XGetImage(display, DefaultRootWindow(display), 0, 0, 1280, 800, AllPlanes, ZPixmap));
        });
    XCloseDisplay(display);
}
BENCHMARK(pictureOfTheScreen)->Iterations(200)->UseManualTime();
} // namespace
