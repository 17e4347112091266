// A Motif application with the library inside, which is asked for the application's menus. Exit status 0 when
// all answers agree with what clicks do.
#include "MenuChecks.h"

#include "include/GxGlobals.h"

#include <Xm/CascadeB.h>
#include <Xm/DrawingA.h>
#include <Xm/MainW.h>
#include <Xm/PushB.h>
#include <Xm/PushBG.h>
#include <Xm/RowColumn.h>
#include <Xm/SeparatoG.h>
#include <Xm/Xm.h>

#include <X11/Xutil.h>

namespace {
char* text(const std::string& value)
{
    return const_cast<char*>(value.c_str());
}

void note(Widget item, XtPointer, XtPointer)
{
    g_activated = XtName(item);
}

/// Widgets and gadgets in turn. @param cascade  the sub-menu of its item "more" or "first"
Widget fill(Widget menu, const ItemNames& names, Widget cascade)
{
    for (const std::string& name : names) {
        Arg submenu[1];
        XtSetArg(submenu[0], XmNsubMenuId, cascade);
        if (name.empty()) {
            XtManageChild(XmCreateSeparatorGadget(menu, text("line"), nullptr, 0));
        } else if (cascade && (name == "more" || name == "first")) {
            XtManageChild(XmCreateCascadeButton(menu, text(name), submenu, 1));
        } else if (&names == &barNames) {
            XtManageChild(XmCreateCascadeButton(menu, text(name), nullptr, 0));
        } else {
            const auto create = name.size() % 2 ? XmCreatePushButton : XmCreatePushButtonGadget;
            const Widget item = create(menu, text(name), nullptr, 0);
            XtAddCallback(item, XmNactivateCallback, note, nullptr);
            XtManageChild(item);
        }
    }
    return menu;
}

XtAppContext s_application;

void iterate()
{
    while (XtAppPending(s_application))
        XtAppProcessEvent(s_application, XtIMAll);
}

/// The KDE window manager's frames have a window of its own beside the client's.
void checkKdeFrame(Display* display, Window shell, Window pane)
{
    const Window root = DefaultRootWindow(display);
    const Window frame = XCreateSimpleWindow(display, root, 0, 0, 300, 200, 0, 0, 0);
    const Window own = XCreateSimpleWindow(display, frame, 0, 0, 10, 10, 0, 0, 0);
    XReparentWindow(display, shell, frame, 0, 20);
    XSync(display, False);
    CHECK(CWindow(static_cast<long>(pane)).getMenuParentWindow() == frame);
    XClassHint hint{const_cast<char*>("other"), const_cast<char*>("KWIN")};
    XSetClassHint(display, own, &hint);
    XSync(display, False);
    const Window parent = CWindow(static_cast<long>(pane)).getMenuParentWindow();
    const Window third = XCreateSimpleWindow(display, frame, 0, 0, 10, 10, 0, 0, 0);
    XSync(display, False);
    CHECK(CWindow(static_cast<long>(pane)).getMenuParentWindow() == frame); // no such frame after all
    Window parentOfParent = 0, ignored = 0, *children = nullptr;
    unsigned count = 0;
    XQueryTree(display, parent, &ignored, &parentOfParent, &children, &count);
    XFree(children);
    CHECK(parentOfParent == shell); // the only child of the client's window
    XDestroyWindow(display, third);
    XReparentWindow(display, shell, root, 0, 0);
    XDestroyWindow(display, frame);
}
} // namespace

int main(int argc, char** argv)
{
    const Widget shell =
        XtAppInitialize(&s_application, "GxMotif", nullptr, 0, &argc, argv, nullptr, nullptr, 0);
    const Widget work = XmCreateMainWindow(shell, text("work"), nullptr, 0);
    const Widget bar = XmCreateMenuBar(work, text("bar"), nullptr, 0);
    const Widget first = XmCreatePulldownMenu(bar, text("pulldown"), nullptr, 0);
    const Widget more = XmCreatePulldownMenu(first, text("cascaded"), nullptr, 0);
    fill(more, moreNames, nullptr);
    fill(first, firstNames, more);
    fill(bar, barNames, first);
    XtManageChild(bar);
    Arg size[2];
    XtSetArg(size[0], XmNwidth, 300);
    XtSetArg(size[1], XmNheight, 100);
    const Widget area = XmCreateDrawingArea(work, text("area"), size, 2);
    Arg byMouse[1];
    XtSetArg(byMouse[0], XmNpopupEnabled, XmPOPUP_AUTOMATIC);
    const Widget context = fill(XmCreatePopupMenu(area, text("context"), byMouse, 1), contextNames, nullptr);
    const Widget choices = fill(XmCreatePulldownMenu(area, text("choices"), nullptr, 0), moreNames, nullptr);
    Arg list[1];
    XtSetArg(list[0], XmNsubMenuId, choices);
    const Widget option = XmCreateOptionMenu(area, text("option"), list, 1);
    XtManageChild(option);
    XtManageChild(area);
    XtManageChild(work);
    XtRealizeWidget(shell);

    CHECK(CWindow(static_cast<long>(XtWindow(shell))).getMenuBar() == 0); // the display is not known yet
    gx_app_display = XtDisplay(shell);
    CMenuChecks checks(XtWindow(shell), false, iterate);
    checks.run(Rect(100, 20, 20, 20));
    checks.checkPane(moreNames, [&] { // an option menu's list is no child of a menu bar
        Position x = 0, y = 0;
        CHECK(checks.pointerIsFree());
        XtTranslateCoords(XmOptionButtonGadget(option), 0, 0, &x, &y);
        checks.click(Rect(y, x, 20, 20));
        CHECK(checks.within([] { return CWindow::getTopContextMenu() != 0; }));
        return CWindow::getTopContextMenu();
    });
    checks.checkNoMenu(XtWindow(shell));
    checks.checkNoMenu(XtWindow(area));
    checkKdeFrame(gx_app_display, XtWindow(shell), XtWindow(first));

    const Window contextWindow = XtWindow(context);
    // Not shown any more, but still there.
    CHECK(GxMenu(static_cast<long>(contextWindow), 0).getItemCount() == 3);
    XtDestroyWidget(XtParent(context));
    checks.checkNoMenu(contextWindow);

    // A display that Xt does not know: every lookup is an Xt error.
    gx_app_display = XOpenDisplay(nullptr);
    checks.checkNoMenu(XtWindow(first));
    CHECK(checks.bar().isNullMenu() && CWindow::getPopupWindows().empty());
    return g_failures != 0;
}
