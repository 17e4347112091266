// A Motif application with the library inside: every kind of widget that the library tells apart is asked for
// what it is. Exit status 0 when all answers are right.
#include "Checks.h"

#include "include/GxGlobals.h"
#include "unix/window/Toolkit.h"
#include "unix/window/WindowManager.h"
#include "unix/window/gtkfuncs.h"

#include <Xm/DialogS.h>
#include <Xm/FileSB.h>
#include <Xm/Form.h>
#include <Xm/PushB.h>
#include <Xm/RowColumn.h>
#include <Xm/Text.h>
#include <Xm/Xm.h>

namespace {
Widget menuWithItem(Widget (*create)(Widget, String, ArgList, Cardinal), Widget parent, const char* name)
{
    const Widget menu = create(parent, const_cast<char*>(name), nullptr, 0);
    XtManageChild(XmCreatePushButton(menu, const_cast<char*>("item"), nullptr, 0));
    XtRealizeWidget(XtParent(menu));
    XtRealizeWidget(menu);
    return menu;
}

CWindow windowOf(Widget widget)
{
    return CWindow(static_cast<long>(CToolkit::xtWindow(reinterpret_cast<unsigned long>(widget))));
}

struct CKind {
    Widget widget;
    bool menu, popup, comboListBox, fileDialog;
};

void checkKind(const CKind& kind)
{
    const CWindow window = windowOf(kind.widget);
    std::printf("%s 0x%lx\n", XtName(kind.widget), window.getHandle());
    CHECK(!window.isNullWindow() && window.getHandle() == XtWindow(kind.widget));
    CHECK(window.isMenu() == kind.menu);
    CHECK(window.isPopup() == kind.popup);
    CHECK(window.isComboListBox() == kind.comboListBox);
    CHECK(window.isFileDialog() == kind.fileDialog);
}

int s_xtErrors = 0;

void countXtError(String, String, String, String, String*, Cardinal*)
{
    ++s_xtErrors;
}
} // namespace

int main(int argc, char** argv)
{
    XtAppContext application;
    const Widget shell =
        XtAppInitialize(&application, "GxMotif", nullptr, 0, &argc, argv, nullptr, nullptr, 0);
    const Widget form = XmCreateRowColumn(shell, const_cast<char*>("work"), nullptr, 0);
    const Widget text = XmCreateText(form, const_cast<char*>("text"), nullptr, 0);
    XtManageChild(text);
    const Widget pulldown = menuWithItem(XmCreatePulldownMenu, form, "pulldown");
    const Widget popup = menuWithItem(XmCreatePopupMenu, form, "popup");
    const Widget list = menuWithItem(XmCreatePulldownMenu, form, "list");
    Arg submenu[1];
    XtSetArg(submenu[0], XmNsubMenuId, list);
    const Widget option = XmCreateOptionMenu(form, const_cast<char*>("option"), submenu, 1);
    XtManageChild(option);
    XtManageChild(form);
    XtRealizeWidget(shell);
    const Widget files = XmCreateFileSelectionDialog(shell, const_cast<char*>("files"), nullptr, 0);
    XtManageChild(files);
    const Widget otherDialog = XmCreateFormDialog(shell, const_cast<char*>("other"), nullptr, 0);
    XtRealizeWidget(XtParent(otherDialog));
    XSync(XtDisplay(shell), False);

    CHECK(!isAnyGTK());
    CHECK(!windowOf(pulldown).isMenu()); // the application's display is not known yet
    gx_app_display = XtDisplay(shell);
    const CKind kinds[] = {
        {pulldown, true, true, false, false},
        {popup, false, true, false, false},
        {list, true, true, true, false},
        {option, false, false, false, false},
        {form, false, false, false, false},
        {text, false, false, false, false},
        {XtParent(files), false, false, false, true},
        {files, false, false, false, false},
        {XtParent(otherDialog), false, false, false, false},
    };
    for (const CKind& kind : kinds)
        checkKind(kind);
    const CWindow stranger(static_cast<long>(DefaultRootWindow(gx_app_display)));
    CHECK(!stranger.isMenu() && !stranger.isFileDialog());

    // Xt does not know this display and reports an error, which must neither end the program nor reach its
    // handler.
    const XtErrorMsgHandler before = XtAppSetErrorMsgHandler(application, countXtError);
    gx_app_display = XOpenDisplay(nullptr);
    CHECK(!windowOf(pulldown).isMenu());
    CHECK(!windowOf(pulldown).isPopup());
    CHECK(!windowOf(list).isComboListBox());
    CHECK(s_xtErrors == 0);
    CHECK(XtAppSetErrorMsgHandler(application, before) == countXtError);
    return g_failures != 0;
}
