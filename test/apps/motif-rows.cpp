// A Motif application with notebooks, containers, lists of several columns and outlines, and with the
// choosers of colours and fonts, which says what a user does to them.
#include "Asked.h"

#include <string>
#include <vector>

#include <Xm/ColorS.h>
#include <Xm/ComboBox.h>
#include <Xm/Container.h>
#include <Xm/FontS.h>
#include <Xm/IconButton.h>
#include <Xm/IconG.h>
#include <Xm/Label.h>
#include <Xm/MultiList.h>
#include <Xm/Notebook.h>
#include <Xm/Outline.h>
#include <Xm/PushB.h>
#include <Xm/RowColumn.h>
#include <Xm/ScrolledW.h>
#include <Xm/Tree.h>
#include <Xm/Xm.h>

namespace {
XmString made(const char* text)
{
    return XmStringCreateLocalized(const_cast<char*>(text));
}

void sayName(Widget widget, XtPointer what, XtPointer)
{
    say(static_cast<const char*>(what), XtName(widget));
}

void addNotebook(Widget parent, const char* name, unsigned char corner, unsigned char orientation)
{
    const Widget book = XtVaCreateManagedWidget(name, xmNotebookWidgetClass, parent, XmNbackPagePlacement,
                                                corner, XmNorientation, orientation, nullptr);
    for (const char* const page : {"one", "two", "three"}) {
        XtVaCreateManagedWidget((std::string("page ") + page).c_str(), xmLabelWidgetClass, book,
                                XmNrecomputeSize, False, XmNwidth, 150, XmNheight, 120, nullptr);
        const std::string tab = std::string(name) + " " + page;
        XtAddCallback(XtVaCreateManagedWidget(tab.c_str(), xmPushButtonWidgetClass, book,
                                              XmNnotebookChildType, XmMAJOR_TAB, nullptr),
                      XmNactivateCallback, sayName, const_cast<char*>("clicked"));
    }
}

Widget icon(Widget container, const char* label, const std::vector<const char*>& details, Widget around)
{
    std::vector<XmString> table;
    for (const char* const detail : details)
        table.push_back(made(detail));
    return XtVaCreateManagedWidget(label, xmIconGadgetClass, container, XmNdetail, table.data(),
                                   XmNdetailCount, static_cast<Cardinal>(table.size()), XmNentryParent,
                                   around, nullptr);
}

void addContainer(Widget parent, const char* name, unsigned char layout, int count)
{
    const Widget scrolled =
        XtVaCreateManagedWidget("scrolled", xmScrolledWindowWidgetClass, parent, XmNscrollingPolicy,
                                XmAUTOMATIC, XmNwidth, 190, XmNheight, 110, nullptr);
    XmString titles[] = {made("Name"), made("Size")};
    const Widget container = XtVaCreateManagedWidget(
        name, xmContainerWidgetClass, scrolled, XmNlayoutType, layout, XmNentryViewType, XmSMALL_ICON,
        XmNoutlineButtonPolicy, layout == XmDETAIL ? XmOUTLINE_BUTTON_ABSENT : XmOUTLINE_BUTTON_PRESENT,
        XmNdetailColumnHeading, titles, XmNdetailColumnHeadingCount, 2, nullptr);
    const Widget folder = icon(container, "folder", {"10"}, nullptr);
    for (int number = 0; number < count; ++number)
        icon(container, ("file " + std::to_string(number)).c_str(), {std::to_string(number).c_str()},
             number == 0 ? folder : nullptr);
    XtAddCallback(
        container, XmNdefaultActionCallback,
        [](Widget, XtPointer, XtPointer data) {
            say("opened", XtName(static_cast<XmContainerSelectCallbackStruct*>(data)->selected_items[0]));
        },
        nullptr);
}

void addColumns(Widget parent, int count)
{
    auto* const rows = reinterpret_cast<XmMultiListRowInfo*>(
        XtCalloc(static_cast<Cardinal>(count), sizeof(XmMultiListRowInfo)));
    for (int number = 0; number < count; ++number) {
        rows[number].values = reinterpret_cast<XmString*>(XtCalloc(2, sizeof(XmString)));
        rows[number].values[0] = made(("line " + std::to_string(number)).c_str());
        rows[number].values[1] = made(("is " + std::to_string(number * number)).c_str());
    }
    auto* const titles = reinterpret_cast<XmString*>(XtCalloc(2, sizeof(XmString)));
    titles[0] = made("Number");
    titles[1] = made("Square");
    XtVaCreateManagedWidget("columns", xmMultiListWidgetClass, parent, XmNnumColumns, 2, XmNcolumnTitles,
                            titles, XmNnumRows, count, XmNentryData, rows, XmNvisibleItemCount, 5, nullptr);
}

void addOutline(Widget parent, WidgetClass kind, const char* name)
{
    const Widget outline =
        XtVaCreateManagedWidget(name, kind, parent, XmNwidth, 160, XmNheight, 120, nullptr);
    Widget around = nullptr;
    for (const char* const text : {"root", "left", "right"}) {
        const Widget node =
            XtVaCreateManagedWidget(text, xmIconButtonWidgetClass, outline, XmNparentNode, around, nullptr);
        XtAddCallback(node, XmNactivateCallback, sayName, const_cast<char*>("clicked"));
        around = around ? around : node;
    }
}

void addCombo(Widget parent, const char* name, XmDirection direction)
{
    XmString items[] = {made("22"), made("80")};
    XtVaCreateManagedWidget(name, xmComboBoxWidgetClass, parent, XmNcomboBoxType, XmDROP_DOWN_COMBO_BOX,
                            XmNlayoutDirection, direction, XmNitems, items, XmNitemCount, 2, nullptr);
}

Widget line(Widget parent)
{
    return XtVaCreateManagedWidget("line", xmRowColumnWidgetClass, parent, XmNorientation, XmHORIZONTAL,
                                   nullptr);
}
} // namespace

int main(int argc, char** argv)
{
    XtSetLanguageProc(nullptr, nullptr, nullptr);
    XtAppContext application;
    const Widget shell = XtVaAppInitialize(&application, "GxRows", nullptr, 0, &argc, argv, nullptr, XmNtitle,
                                           "Rows", nullptr);
    const Widget box = XtVaCreateManagedWidget("box", xmRowColumnWidgetClass, shell, nullptr);
    const Widget books = line(box), lists = line(box), choosers = line(box);
    addNotebook(books, "right", XmBOTTOM_RIGHT, XmHORIZONTAL);
    addNotebook(books, "top", XmTOP_RIGHT, XmVERTICAL);
    addColumns(books, 40);
    addContainer(lists, "icons", XmSPATIAL, 3);
    addContainer(lists, "outline", XmOUTLINE, 3);
    addContainer(lists, "details", XmDETAIL, 30);
    addOutline(lists, xmOutlineWidgetClass, "nodes");
    addOutline(lists, xmTreeWidgetClass, "tree");
    XtVaCreateManagedWidget("colours", xmColorSelectorWidgetClass, choosers, nullptr);
    addCombo(choosers, "port", XmLEFT_TO_RIGHT);
    addCombo(choosers, "mirrored", XmRIGHT_TO_LEFT);
    XtVaCreateManagedWidget("fonts", xmFontSelectorWidgetClass, choosers, nullptr);
    XtRealizeWidget(shell);
    XtAppAddInput(
        application, STDIN_FILENO, reinterpret_cast<XtPointer>(XtInputReadMask),
        [](XtPointer, int*, XtInputId*) { obey(); }, nullptr);
    XSync(XtDisplay(shell), False);
    say("ready", std::to_string(XtWindow(shell)).c_str());
    XtAppMainLoop(application);
}
