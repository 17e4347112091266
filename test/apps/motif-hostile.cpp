// A Motif application that is hard to read: many rows, long texts, and widgets that come and go all the time.
// Arguments: how many rows a list has, and how long texts are.
#include "Asked.h"

#include <cstring>
#include <string>
#include <vector>

#include <Xm/LabelG.h>
#include <Xm/List.h>
#include <Xm/PushB.h>
#include <Xm/PushBG.h>
#include <Xm/RowColumn.h>
#include <Xm/ScrolledW.h>
#include <Xm/Text.h>
#include <Xm/TextF.h>
#include <Xm/Xm.h>

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>
#include <Xm/LabelP.h>
#include <Xm/PrimitiveP.h>

namespace {
XtAppContext s_application;
Widget s_box;
bool s_gnaws = false;

void refill();

/// A label that changes what is around it, itself included, when it is asked what it says, after the order
/// "churn".
struct CGnawerClass {
    CoreClassPart core;
    XmPrimitiveClassPart primitive;
    XmLabelClassPart label;
} s_gnawer = {};

WidgetClass gnawer()
{
    if (!s_gnawer.core.superclass) {
        s_gnawer.core.superclass = xmLabelWidgetClass;
        s_gnawer.core.class_name = const_cast<char*>("GxGnawer");
        s_gnawer.core.widget_size = sizeof(XmLabelRec);
        s_gnawer.core.xrm_class = NULLQUARK;
        s_gnawer.core.realize = XtInheritRealize;
        s_gnawer.core.resize = XtInheritResize;
        s_gnawer.core.expose = XtInheritExpose;
        s_gnawer.core.query_geometry = XtInheritQueryGeometry;
        s_gnawer.core.tm_table = XtInheritTranslations;
        s_gnawer.core.set_values_almost = XtInheritSetValuesAlmost;
        s_gnawer.core.version = XtVersion;
        s_gnawer.core.compress_exposure = XtExposeCompressMultiple;
        s_gnawer.core.get_values_hook = [](Widget, ArgList asked, Cardinal* count) {
            if (*count == 1 && std::strcmp(asked->name, XmNlabelString) == 0 && s_gnaws)
                refill();
        };
        s_gnawer.primitive.border_highlight = XmInheritBorderHighlight;
        s_gnawer.primitive.border_unhighlight = XmInheritBorderUnhighlight;
        s_gnawer.primitive.translations = XtInheritTranslations;
        s_gnawer.primitive.arm_and_activate = XmInheritArmAndActivate;
        s_gnawer.label.setOverrideCallback = XmInheritSetOverrideCallback;
        s_gnawer.label.translations = XtInheritTranslations;
    }
    return reinterpret_cast<WidgetClass>(&s_gnawer);
}

Widget make(Widget (*create)(Widget, String, ArgList, Cardinal), Widget parent, const char* name)
{
    const Widget widget = create(parent, const_cast<char*>(name), nullptr, 0);
    XtManageChild(widget);
    return widget;
}

/// Destroys what is in the box, and fills it anew.
void refill()
{
    WidgetList children = nullptr;
    Cardinal count = 0;
    XtVaGetValues(s_box, XmNchildren, &children, XmNnumChildren, &count, nullptr);
    for (const Widget child : std::vector<Widget>(children, children + count))
        XtDestroyWidget(child);
    for (int number = 0; number < 5; ++number) {
        const Widget row = make(XmCreateRowColumn, s_box, "row");
        XtVaSetValues(row, XmNorientation, XmHORIZONTAL, nullptr);
        make(XmCreatePushButtonGadget, row, "before");
        XtManageChild(XtCreateWidget("gnawer", gnawer(), row, nullptr, 0));
        make(XmCreatePushButton, row, "behind");
    }
}

void refillAgain(XtPointer, XtIntervalId*)
{
    refill();
    XtAppAddTimeOut(s_application, 1, refillAgain, nullptr);
}

Widget s_status;

void sayLater(XtPointer text, XtIntervalId*)
{
    XmTextFieldSetString(s_status, static_cast<char*>(text));
    XtFree(static_cast<char*>(text));
}

void obeyOrder(const std::string& order)
{
    s_gnaws = s_gnaws || order == "churn";
    if (order == "churn")
        XtAppAddTimeOut(s_application, 1, refillAgain, nullptr);
    else
        XtAppAddTimeOut(s_application, std::strtoul(order.c_str(), nullptr, 10), sayLater,
                        XtNewString(order.c_str()));
}

void addList(Widget parent, int rows)
{
    const Widget list = make(XmCreateScrolledList, parent, "list");
    std::vector<XmString> items;
    for (int number = 0; number < rows; ++number)
        items.push_back(
            XmStringCreateLocalized(const_cast<char*>(("row " + std::to_string(number)).c_str())));
    XtVaSetValues(list, XmNvisibleItemCount, 6, XmNitems, items.data(), XmNitemCount, rows, nullptr);
}

/// Motif shows no line of a million: the program would end by an X error.
void addTexts(Widget parent, std::string text)
{
    const Widget field = XmCreateTextField(parent, const_cast<char*>("field"), nullptr, 0);
    XmTextFieldSetString(field, const_cast<char*>(text.c_str()));
    const XmString label = XmStringCreateLocalized(const_cast<char*>(text.c_str()));
    XtVaSetValues(XmCreateLabelGadget(parent, const_cast<char*>("label"), nullptr, 0), XmNlabelString, label,
                  nullptr);
    for (size_t end = 999; end < text.size(); end += 1000)
        text[end] = '\n';
    const Widget area = make(XmCreateScrolledText, parent, "area");
    XtVaSetValues(area, XmNeditMode, XmMULTI_LINE_EDIT, XmNrows, 4, nullptr);
    XmTextSetString(area, const_cast<char*>(text.c_str()));
}
} // namespace

int main(int argc, char** argv)
{
    XtSetLanguageProc(nullptr, nullptr, nullptr);
    const Widget shell =
        XtVaAppInitialize(&s_application, "GxHostile", nullptr, 0, &argc, argv, nullptr, nullptr);
    const Widget box = make(XmCreateRowColumn, shell, "box");
    addList(box, std::atoi(argv[1]));
    addTexts(box, std::string(static_cast<size_t>(std::atoi(argv[2])), 'x'));
    s_status = make(XmCreateTextField, box, "status");
    s_box = make(XmCreateRowColumn, box, "churned");
    refill();
    XtRealizeWidget(shell);
    XtAppAddInput(
        s_application, STDIN_FILENO, reinterpret_cast<XtPointer>(XtInputReadMask),
        [](XtPointer, int*, XtInputId*) { obey(obeyOrder); }, nullptr);
    XSync(XtDisplay(shell), False);
    say("ready", std::to_string(XtWindow(shell)).c_str());
    XtAppMainLoop(s_application);
}
