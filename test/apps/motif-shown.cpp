// A Motif application with one of each widget, which says what a user does to it.
#include "Asked.h"

#include <poll.h>
#include <string>

#include <Xm/CascadeB.h>
#include <Xm/FileSB.h>
#include <Xm/Form.h>
#include <Xm/Frame.h>
#include <Xm/Label.h>
#include <Xm/LabelG.h>
#include <Xm/List.h>
#include <Xm/MessageB.h>
#include <Xm/Notebook.h>
#include <Xm/PushB.h>
#include <Xm/PushBG.h>
#include <Xm/RowColumn.h>
#include <Xm/Scale.h>
#include <Xm/ScrollBar.h>
#include <Xm/ScrolledW.h>
#include <Xm/TabStack.h>
#include <Xm/Text.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>
#include <Xm/ToggleBG.h>
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

void sayName(Widget widget, XtPointer, XtPointer)
{
    say("clicked", XtName(widget));
}

Widget button(Create create, Widget parent, const char* name)
{
    const Widget made = make(create, parent, name);
    XtAddCallback(made, XmNactivateCallback, sayName, nullptr);
    return made;
}

Widget toggle(Create create, Widget parent, const char* name)
{
    const Widget made = make(create, parent, name);
    XtAddCallback(made, XmNvalueChangedCallback, sayName, nullptr);
    return made;
}

Widget line(Widget parent, const char* label)
{
    const Widget row = make(XmCreateRowColumn, parent, "row");
    XtVaSetValues(row, XmNorientation, XmHORIZONTAL, nullptr);
    if (*label)
        make(XmCreateLabelGadget, row, label);
    return row;
}

Widget field(Widget parent, const char* label, const char* text)
{
    const Widget made = make(XmCreateTextField, line(parent, label), "field");
    XmTextFieldSetString(made, const_cast<char*>(text));
    return made;
}

/// What is typed is painted in the colour of its ground.
void addFields(Widget parent)
{
    field(parent, "Name:", "Anna");
    field(parent, "City", "Gr\303\274nau");
    const Widget secret = field(parent, "Password:", "secret-word");
    Pixel ground = 0;
    XtVaGetValues(secret, XmNbackground, &ground, nullptr);
    XtVaSetValues(secret, XmNforeground, ground, nullptr);
    const Widget notes = make(XmCreateText, parent, "notes");
    XtVaSetValues(notes, XmNeditMode, XmMULTI_LINE_EDIT, XmNrows, 3, XmNcolumns, 20, nullptr);
    XmTextSetString(notes, const_cast<char*>("one\ntwo"));
}

void addButtons(Widget parent)
{
    const Widget row = line(parent, "");
    const XmString tip = XmStringCreateLocalized(const_cast<char*>("keeps it"));
    XtVaSetValues(button(XmCreatePushButton, row, "Save"), XmNtoolTipString, tip, nullptr);
    XmStringFree(tip);
    XtSetSensitive(button(XmCreatePushButtonGadget, row, "Grey"), False);
    XtVaSetValues(toggle(XmCreateToggleButton, row, "Bold"), XmNindicatorOn, XmINDICATOR_NONE, nullptr);
    toggle(XmCreateToggleButtonGadget, row, "Agree");
    const Widget frame = make(XmCreateFrame, row, "frame");
    XtVaSetValues(make(XmCreateLabelGadget, frame, "Colour"), XmNframeChildType, XmFRAME_TITLE_CHILD,
                  nullptr);
    const Widget colours = make(XmCreateRadioBox, frame, "colours");
    XmToggleButtonGadgetSetState(toggle(XmCreateToggleButtonGadget, colours, "Red"), True, False);
    toggle(XmCreateToggleButton, colours, "Green");
}

void sayChosen(Widget item, XtPointer, XtPointer)
{
    say("chosen", XtName(item));
}

void openFiles(Widget, XtPointer, XtPointer)
{
    const Widget box = XmCreateFileSelectionDialog(s_shell, const_cast<char*>("files"), nullptr, 0);
    XtAddCallback(
        box, XmNokCallback,
        [](Widget dialog, XtPointer, XtPointer data) {
            const auto* const chosen = static_cast<XmFileSelectionBoxCallbackStruct*>(data);
            char* const file = static_cast<char*>(XmStringUnparse(chosen->value, nullptr, XmCHARSET_TEXT,
                                                                  XmCHARSET_TEXT, nullptr, 0, XmOUTPUT_ALL));
            say("file", file);
            XtFree(file);
            XtUnmanageChild(dialog);
        },
        nullptr);
    XtManageChild(box);
}

void ask(Widget, XtPointer, XtPointer)
{
    const XmString text = XmStringCreateLocalized(const_cast<char*>("Really?"));
    Arg arguments[] = {{const_cast<char*>(XmNmessageString), reinterpret_cast<XtArgVal>(text)},
                       {const_cast<char*>(XmNdialogStyle), XmDIALOG_FULL_APPLICATION_MODAL}};
    const Widget box = XmCreateQuestionDialog(s_shell, const_cast<char*>("question"), arguments, 2);
    XtAddCallback(
        box, XmNokCallback, [](Widget, XtPointer, XtPointer) { say("answer", "Yes"); }, nullptr);
    XtManageChild(box);
    XmStringFree(text);
}

Widget item(Create create, Widget menu, const char* name, XtCallbackProc chosen)
{
    const Widget made = make(create, menu, name);
    XtAddCallback(made, create == XmCreateToggleButton ? XmNvalueChangedCallback : XmNactivateCallback,
                  chosen, nullptr);
    return made;
}

Widget submenu(Widget menu, const char* name)
{
    const Widget pane = XmCreatePulldownMenu(menu, const_cast<char*>("pane"), nullptr, 0);
    XtVaSetValues(make(XmCreateCascadeButton, menu, name), XmNsubMenuId, pane, nullptr);
    return pane;
}

void addMenus(Widget parent)
{
    const Widget bar = make(XmCreateMenuBar, parent, "bar");
    const Widget file = submenu(bar, "File");
    item(XmCreatePushButton, file, "Open...", openFiles);
    item(XmCreatePushButtonGadget, file, "Ask...", ask);
    const Widget view = submenu(bar, "View");
    XtVaSetValues(view, XmNtearOffModel, XmTEAR_OFF_ENABLED, nullptr);
    XmToggleButtonSetState(item(XmCreateToggleButton, view, "Ruler", sayChosen), True, False);
    XtSetSensitive(item(XmCreatePushButton, view, "Grid", sayChosen), False);
}

void addContextMenu(Widget widget)
{
    Arg arguments[] = {{const_cast<char*>(XmNpopupEnabled), XmPOPUP_AUTOMATIC}};
    const Widget menu = XmCreatePopupMenu(widget, const_cast<char*>("context"), arguments, 1);
    item(XmCreatePushButtonGadget, menu, "Cut", sayChosen);
    item(XmCreatePushButton, submenu(menu, "Special"), "As text", sayChosen);
}

Widget tabPage(Widget stack, const char* label)
{
    const XmString text = XmStringCreateLocalized(const_cast<char*>(label));
    const Widget page =
        XtVaCreateManagedWidget(label, xmFormWidgetClass, stack, XmNtabLabelString, text, nullptr);
    XmStringFree(text);
    return page;
}

/// In which a click adds a row to those that are selected, or takes it away.
void addList(Widget parent)
{
    const Widget list = make(XmCreateList, parent, "many");
    XtVaSetValues(list, XmNselectionPolicy, XmMULTIPLE_SELECT, XmNvisibleItemCount, 3, nullptr);
    for (const char* const name : {"red", "green", "blue"}) {
        const XmString text = XmStringCreateLocalized(const_cast<char*>(name));
        XmListAddItemUnselected(list, text, 0);
        XmStringFree(text);
    }
}

/// Four tabs, behind which are nothing, a long list, a notebook of two pages with tabs, and a short list.
void addTabs(Widget parent, int rows)
{
    const Widget stack = make(XmCreateTabStack, parent, "stack");
    make(XmCreateLabelGadget, tabPage(stack, "First"), "in front");
    const Widget list = make(XmCreateScrolledList, tabPage(stack, "Rows"), "table");
    XtVaSetValues(list, XmNvisibleItemCount, 6, nullptr);
    for (int number = 0; number < rows; ++number) {
        const std::string name = "row " + std::to_string(number);
        const XmString text = XmStringCreateLocalized(const_cast<char*>(name.c_str()));
        XmListAddItemUnselected(list, text, 0);
        XmStringFree(text);
    }
    const Widget book = make(XmCreateNotebook, tabPage(stack, "Book"), "book");
    for (const char* const name : {"Alpha", "Beta"}) {
        const Widget page = make(XmCreateLabel, book, (std::string("page ") + name).c_str());
        XtVaSetValues(page, XmNrecomputeSize, False, XmNwidth, 120, XmNheight, 60, nullptr);
        XtVaSetValues(button(XmCreatePushButton, book, name), XmNnotebookChildType, XmMAJOR_TAB, nullptr);
    }
    addList(tabPage(stack, "Many"));
}

void sayNumber(Widget widget, XtPointer, XtPointer)
{
    say("size", XtName(widget));
}

void addChoices(Widget parent)
{
    const Widget pane = XmCreatePulldownMenu(parent, const_cast<char*>("sizes"), nullptr, 0);
    XtAddCallback(make(XmCreatePushButtonGadget, pane, "small"), XmNactivateCallback, sayNumber, nullptr);
    const Widget large = make(XmCreatePushButtonGadget, pane, "large");
    XtAddCallback(large, XmNactivateCallback, sayNumber, nullptr);
    const XmString label = XmStringCreateLocalized(const_cast<char*>("Size:"));
    const Widget menu = XmCreateOptionMenu(parent, const_cast<char*>("size"), nullptr, 0);
    XtVaSetValues(menu, XmNsubMenuId, pane, XmNlabelString, label, XmNmenuHistory, large, nullptr);
    XtManageChild(menu);
    XmStringFree(label);
    const Widget scale = make(XmCreateScale, parent, "scale");
    const XmString title = XmStringCreateLocalized(const_cast<char*>("Loudness:"));
    XtVaSetValues(scale, XmNorientation, XmHORIZONTAL, XmNdecimalPoints, 1, XmNvalue, 15, XmNtitleString,
                  title, nullptr);
    XmStringFree(title);
    const Widget list = make(XmCreateScrolledList, parent, "list");
    for (const char* const name : {"alpha", "beta", "gamma", "delta"}) {
        const XmString text = XmStringCreateLocalized(const_cast<char*>(name));
        XmListAddItemUnselected(list, text, 0);
        XmStringFree(text);
    }
    XtVaSetValues(list, XmNvisibleItemCount, 3, nullptr);
    XmListSelectPos(list, 2, False);
    XtAddCallback(
        list, XmNdefaultActionCallback,
        [](Widget, XtPointer, XtPointer data) {
            const int position = static_cast<XmListCallbackStruct*>(data)->item_position;
            say("activated", std::to_string(position - 1).c_str());
        },
        nullptr);
    addContextMenu(list);
}

/// Two shells that no toolkit calls modal, of which the second never shows.
void addBareShells()
{
    for (const char* const name : {"bare", "hidden"})
        XtVaCreatePopupShell(name, transientShellWidgetClass, s_shell, XmNtitle, name, XmNx, 1000, XmNy, 500,
                             XmNwidth, 60, XmNheight, 60, nullptr);
}

/// Has the widget of that name take all presses instead of the last one; any other name ends it.
void hold(const std::string& name)
{
    static Widget s_holder = nullptr;
    if (s_holder)
        XtRemoveGrab(s_holder);
    s_holder = XtNameToWidget(s_shell, ("*" + name).c_str());
    if (name == "bare")
        XtPopup(s_holder, XtGrabNone); // Motif gives one that comes later a grab as well, for good
    if (s_holder)
        XtAddGrab(s_holder, True, False);
    say("held by", name.c_str());
}

void addPage(Widget parent, int count)
{
    const Widget scrolled = make(
        [](Widget around, String name, ArgList, Cardinal) {
            return XtVaCreateWidget(name, xmScrolledWindowWidgetClass, around, XmNscrollingPolicy,
                                    XmAUTOMATIC, XmNwidth, 200, XmNheight, 120, nullptr);
        },
        parent, "scrolled");
    const Widget column = make(XmCreateRowColumn, scrolled, "column");
    for (int number = 0; number < count; ++number)
        button(XmCreatePushButtonGadget, column, ("number " + std::to_string(number)).c_str());
}

/// From right to left.
void addScrollBar(Widget parent)
{
    XtVaCreateManagedWidget("across", xmScrollBarWidgetClass, parent, XmNorientation, XmHORIZONTAL,
                            XmNmaximum, 110, XmNsliderSize, 10, XmNprocessingDirection, XmMAX_ON_LEFT,
                            XmNheight, 16, nullptr);
}

/// As programs do that draw in between: Xt never finds out that there is nothing left to do, and what it
/// watches beside the display does not wake the loop.
void runLoopOfItsOwn(XtAppContext application, int milliseconds)
{
    pollfd display = {ConnectionNumber(XtDisplay(s_shell)), POLLIN, 0};
    for (;;) {
        while (XtAppPending(application))
            XtAppProcessEvent(application, XtIMAll);
        poll(&display, 1, milliseconds);
    }
}
} // namespace

int main(int argc, char** argv)
{
    XtSetLanguageProc(nullptr, nullptr, nullptr);
    XtAppContext application;
    s_shell = XtVaAppInitialize(&application, "GxShown", nullptr, 0, &argc, argv, nullptr, XmNtitle,
                                "what Xt knows", XmNtoolTipEnable, True, nullptr);
    const Widget box = make(XmCreateRowColumn, s_shell, "box");
    addMenus(box);
    addButtons(box);
    addFields(box);
    addChoices(box);
    addTabs(box, argc > 2 ? std::atoi(argv[2]) : 300);
    addPage(box, argc > 1 ? std::atoi(argv[1]) : 30);
    addScrollBar(box);
    addBareShells();
    XtRealizeWidget(s_shell);
    XStoreName(XtDisplay(s_shell), XtWindow(s_shell), "All of them");
    XtAppAddInput(
        application, STDIN_FILENO, reinterpret_cast<XtPointer>(XtInputReadMask),
        [](XtPointer, int*, XtInputId*) { obey(hold); }, nullptr);
    XSync(XtDisplay(s_shell), False);
    say("ready", std::to_string(XtWindow(s_shell)).c_str());
    if (argc > 3)
        runLoopOfItsOwn(application, std::atoi(argv[3]));
    XtAppMainLoop(application);
}
