// A Motif application that an engine asks for its menus, its list and its file dialog.
#include "Asked.h"

#include <string>

#include <Xm/CascadeB.h>
#include <Xm/FileSB.h>
#include <Xm/List.h>
#include <Xm/MainW.h>
#include <Xm/PushB.h>
#include <Xm/PushBG.h>
#include <Xm/RowColumn.h>
#include <Xm/SeparatoG.h>
#include <Xm/Xm.h>

namespace {
using Create = Widget (*)(Widget, String, ArgList, Cardinal);

Widget s_shell;

Widget make(Create create, Widget parent, const char* name)
{
    const Widget widget = create(parent, const_cast<char*>(name), nullptr, 0);
    XtManageChild(widget);
    return widget;
}

std::string textOf(XmString string)
{
    char* const text = static_cast<char*>(
        XmStringUnparse(string, nullptr, XmCHARSET_TEXT, XmCHARSET_TEXT, nullptr, 0, XmOUTPUT_ALL));
    const std::string copy = text ? text : "";
    XtFree(text);
    return copy;
}

void openDialog(Widget, XtPointer, XtPointer)
{
    const Widget dialog = XmCreateFileSelectionDialog(s_shell, const_cast<char*>("files"), nullptr, 0);
    XtAddCallback(
        dialog, XmNokCallback,
        [](Widget box, XtPointer, XtPointer data) {
            say("file", textOf(static_cast<XmFileSelectionBoxCallbackStruct*>(data)->value).c_str());
            XtUnmanageChild(box);
        },
        nullptr);
    XtManageChild(dialog);
}

void choose(Widget item, XtPointer, XtPointer)
{
    say("chosen", XtName(item));
}

void addItem(Create create, Widget menu, const char* name, XtCallbackProc chosen)
{
    XtAddCallback(make(create, menu, name), XmNactivateCallback, chosen, nullptr);
}

Widget addMenu(Widget menu, const char* name)
{
    const Widget pulldown = XmCreatePulldownMenu(menu, const_cast<char*>("pane"), nullptr, 0);
    XtVaSetValues(make(XmCreateCascadeButton, menu, name), XmNsubMenuId, pulldown, nullptr);
    return pulldown;
}

Widget menuBar(Widget main)
{
    const Widget bar = make(XmCreateMenuBar, main, "bar");
    const Widget file = addMenu(bar, "File");
    addItem(XmCreatePushButton, file, "New", choose);
    make(XmCreateSeparatorGadget, file, "line");
    const Widget recent = addMenu(file, "Recent");
    addItem(XmCreatePushButton, recent, "one", choose);
    addItem(XmCreatePushButtonGadget, recent, "two", choose);
    addItem(XmCreatePushButtonGadget, file, "Gr\303\274\303\237e", choose);
    addItem(XmCreatePushButton, file, "Open...", openDialog);
    XtUnmanageChild(make(XmCreatePushButton, file, "Hidden"));
    XtSetSensitive(make(XmCreatePushButton, file, "Grey"), False);
    XtUnmanageChild(make(XmCreateCascadeButton, bar, "Secret"));
    addItem(XmCreateCascadeButton, bar, "Help", choose);
    return bar;
}

/// An option menu, and a context menu in the whole window: both are posted by the press of a click.
Widget postedMenus(Widget main)
{
    const Widget sizes = XmCreatePulldownMenu(main, const_cast<char*>("sizes"), nullptr, 0);
    addItem(XmCreatePushButton, sizes, "small", choose);
    addItem(XmCreatePushButtonGadget, sizes, "large", choose);
    Arg arguments[] = {{const_cast<char*>(XmNsubMenuId), reinterpret_cast<XtArgVal>(sizes)},
                       {const_cast<char*>(XmNpopupEnabled), XmPOPUP_AUTOMATIC_RECURSIVE}};
    const Widget context = XmCreatePopupMenu(main, const_cast<char*>("context"), arguments + 1, 1);
    addItem(XmCreatePushButtonGadget, context, "Cut", choose);
    addItem(XmCreatePushButton, context, "Paste", choose);
    const Widget option = XmCreateOptionMenu(main, const_cast<char*>("option"), arguments, 1);
    XtManageChild(option);
    return option;
}

Widget scrolledList(Widget main)
{
    const Widget list = make(XmCreateScrolledList, main, "list");
    for (int item = 0; item < 30; ++item) {
        const std::string name = "item " + std::to_string(item) + (item == 5 ? std::string(150, 'i') : "");
        const XmString text = XmStringCreateLocalized(const_cast<char*>(name.c_str()));
        XmListAddItemUnselected(list, text, 0);
        XmStringFree(text);
    }
    XtVaSetValues(list, XmNvisibleItemCount, 8, nullptr);
    return XtParent(list);
}
} // namespace

int main(int argc, char** argv)
{
    XtSetLanguageProc(nullptr, nullptr, nullptr);
    XtAppContext application;
    s_shell = XtVaAppInitialize(&application, "GxAsked", nullptr, 0, &argc, argv, nullptr, nullptr);
    const Widget main = make(XmCreateMainWindow, s_shell, "main");
    const Widget bar = menuBar(main);
    const Widget work = scrolledList(main);
    XtVaSetValues(main, XmNmenuBar, bar, XmNcommandWindow, postedMenus(main), XmNworkWindow, work, nullptr);
    XtRealizeWidget(s_shell);
    XtAppAddInput(
        application, STDIN_FILENO, reinterpret_cast<XtPointer>(XtInputReadMask),
        [](XtPointer, int*, XtInputId*) { obey(); }, nullptr);
    XSync(XtDisplay(s_shell), False);
    say("ready", std::to_string(XtWindow(s_shell)).c_str());
    XtAppMainLoop(application);
}
