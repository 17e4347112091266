// motif-witness WAY: opens its display in one of the ways that Xt offers, and tells what Witness.h says.
#include "Witness.h"

#include <Xm/Xm.h>

namespace {
Display* s_display;

void onReport(XtPointer, int*, XtInputId*)
{
    Witness::report(s_display);
}

/// @return a shell on a new display
Widget open(const std::string& way, XtAppContext& app, int& argc, char** argv)
{
    const auto name = const_cast<char*>("Witness");
    const auto shellOn = [&](Display* display) {
        return display ? XtVaAppCreateShell(name, name, applicationShellWidgetClass, display, nullptr)
                       : nullptr;
    };
    if (way == "XtInitialize") {
        const Widget shell = XtInitialize(name, name, nullptr, 0, &argc, argv);
        app = XtWidgetToApplicationContext(shell);
        return shell;
    }
    if (way == "XtAppInitialize")
        return XtAppInitialize(&app, name, nullptr, 0, &argc, argv, nullptr, nullptr, 0);
    if (way == "XtVaAppInitialize")
        return XtVaAppInitialize(&app, name, nullptr, 0, &argc, argv, nullptr, nullptr);
    if (way == "XtOpenApplication")
        return XtOpenApplication(&app, name, nullptr, 0, &argc, argv, nullptr, applicationShellWidgetClass,
                                 nullptr, 0);
    if (way == "XtVaOpenApplication")
        return XtVaOpenApplication(&app, name, nullptr, 0, &argc, argv, nullptr, applicationShellWidgetClass,
                                   nullptr);
    XtToolkitInitialize();
    app = XtCreateApplicationContext();
    if (way == "XtDisplayInitialize") {
        Display* const display = XOpenDisplay(nullptr);
        XtDisplayInitialize(app, display, name, name, nullptr, 0, &argc, argv);
        return shellOn(display);
    }
    if (way == "dlsym") {
        void* const libXt = dlopen("libXt.so.6", RTLD_LAZY);
        const auto found = reinterpret_cast<decltype(&XtOpenDisplay)>(dlsym(libXt, "XtOpenDisplay"));
        return shellOn(found(app, nullptr, name, name, nullptr, 0, &argc, argv));
    }
    if (way == "second display") // the first one is closed before the loop runs
        XtCloseDisplay(XtOpenDisplay(app, nullptr, name, name, nullptr, 0, &argc, argv));
    return shellOn(XtOpenDisplay(app, nullptr, name, name, nullptr, 0, &argc, argv));
}
} // namespace

int main(int argc, char** argv)
{
    XtAppContext app;
    const Widget shell = open(argc > 1 ? argv[1] : "XtOpenDisplay", app, argc, argv);
    XtVaSetValues(shell, XmNwidth, 200, XmNheight, 100, nullptr);
    XtRealizeWidget(shell);
    s_display = XtDisplay(shell);
    XSetErrorHandler(Witness::onXError);
    XtAppAddInput(app, Witness::begin(), reinterpret_cast<XtPointer>(XtInputReadMask), onReport, nullptr);
    for (;;) { // a loop of its own, as editors have
        XEvent event;
        XtAppNextEvent(app, &event);
        XtDispatchEvent(&event);
    }
}
