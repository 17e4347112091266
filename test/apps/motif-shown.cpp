// A Motif application with one of each widget, which says what a user does to it.
#include "Asked.h"

#include <string>

#include <Xm/LabelG.h>
#include <Xm/List.h>
#include <Xm/PushB.h>
#include <Xm/PushBG.h>
#include <Xm/RowColumn.h>
#include <Xm/Scale.h>
#include <Xm/ScrolledW.h>
#include <Xm/Text.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>
#include <Xm/ToggleBG.h>
#include <Xm/Xm.h>

namespace {
using Create = Widget (*)(Widget, String, ArgList, Cardinal);

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
    button(XmCreatePushButton, row, "Save");
    XtSetSensitive(button(XmCreatePushButtonGadget, row, "Grey"), False);
    XtVaSetValues(toggle(XmCreateToggleButton, row, "Bold"), XmNindicatorOn, XmINDICATOR_NONE, nullptr);
    toggle(XmCreateToggleButtonGadget, row, "Agree");
    const Widget colours = make(XmCreateRadioBox, row, "colours");
    XmToggleButtonGadgetSetState(toggle(XmCreateToggleButtonGadget, colours, "Red"), True, False);
    toggle(XmCreateToggleButton, colours, "Green");
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
    const Widget scale = make(XmCreateScale, line(parent, "Loudness:"), "scale");
    XtVaSetValues(scale, XmNorientation, XmHORIZONTAL, XmNdecimalPoints, 1, XmNvalue, 15, nullptr);
    const Widget list = make(XmCreateScrolledList, parent, "list");
    for (const char* const name : {"alpha", "beta", "gamma", "delta"}) {
        const XmString text = XmStringCreateLocalized(const_cast<char*>(name));
        XmListAddItemUnselected(list, text, 0);
        XmStringFree(text);
    }
    XtVaSetValues(list, XmNvisibleItemCount, 3, nullptr);
    XmListSelectPos(list, 2, False);
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
} // namespace

int main(int argc, char** argv)
{
    XtSetLanguageProc(nullptr, nullptr, nullptr);
    XtAppContext application;
    const Widget shell = XtVaAppInitialize(&application, "GxShown", nullptr, 0, &argc, argv, nullptr,
                                           XmNtitle, "All of them", nullptr);
    const Widget box = make(XmCreateRowColumn, shell, "box");
    addButtons(box);
    addFields(box);
    addChoices(box);
    addPage(box, argc > 1 ? std::atoi(argv[1]) : 30);
    XtRealizeWidget(shell);
    XtAppAddInput(
        application, STDIN_FILENO, reinterpret_cast<XtPointer>(XtInputReadMask),
        [](XtPointer, int*, XtInputId*) { obey(); }, nullptr);
    XSync(XtDisplay(shell), False);
    say("ready", std::to_string(XtWindow(shell)).c_str());
    XtAppMainLoop(application);
}
