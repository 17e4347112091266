#include "unix/widget/XtFacts.h"

#include <algorithm>
#include <climits>
#include <cstring>

#include <X11/IntrinsicP.h>

#include <X11/CoreP.h>
#include <Xm/ComboBoxP.h>
#include <Xm/ContainerP.h>
#include <Xm/DropDown.h>
#include <Xm/FileSB.h>
#include <Xm/FrameP.h>
#include <Xm/HierarchyP.h>
#include <Xm/Label.h>
#include <Xm/LabelG.h>
#include <Xm/List.h>
#include <Xm/MultiListP.h>
#include <Xm/Notebook.h>
#include <Xm/RowColumn.h>
#include <Xm/Scale.h>
#include <Xm/TabBox.h>
#include <Xm/TabStack.h>
#include <Xm/Text.h>
#include <Xm/TextF.h>
#include <Xm/ToggleB.h>
#include <Xm/Xm.h>

namespace {
struct CXtKind {
    const char* className;
    const char* role;
    void (*read)(Widget widget, CXtFacts& facts) = nullptr;
};

/// Without being told, Motif drops the ends of lines.
XmParseTable lineEnds()
{
    static XmParseMapping s_mapping = [] {
        const XmString separator = XmStringSeparatorCreate();
        Arg arguments[3];
        XtSetArg(arguments[0], XmNpattern, "\n");
        XtSetArg(arguments[1], XmNpatternType, XmCHARSET_TEXT);
        XtSetArg(arguments[2], XmNsubstitute, separator);
        return XmParseMappingCreate(arguments, XtNumber(arguments));
    }();
    return &s_mapping;
}

char* unparsed(XmString string)
{
    return string ? static_cast<char*>(XmStringUnparse(string, nullptr, XmCHARSET_TEXT, XmCHARSET_TEXT,
                                                       lineEnds(), 1, XmOUTPUT_ALL))
                  : nullptr;
}

/// A compound string of a widget that hands out copies.
char* compoundText(Widget widget, const char* resource)
{
    XmString string = nullptr;
    XtVaGetValues(widget, resource, &string, nullptr);
    char* const text = unparsed(string);
    if (string)
        XmStringFree(string);
    return text;
}

char* plainText(Widget widget, const char* resource)
{
    String text = nullptr;
    XtVaGetValues(widget, resource, &text, nullptr);
    return text ? XtNewString(text) : nullptr;
}

bool flagOf(Widget widget, const char* resource)
{
    Boolean value = False;
    XtVaGetValues(widget, resource, &value, nullptr);
    return value != False;
}

/// What no window manager sees is a tip or a list that has opened, as in GTK.
void readTitle(Widget shell, CXtFacts& facts)
{
    facts.text = plainText(shell, XtNtitle);
    if (flagOf(shell, XtNoverrideRedirect))
        facts.role = "OTHER";
}

void readLabel(Widget widget, CXtFacts& facts)
{
    unsigned char type = XmPIXMAP;
    XtVaGetValues(widget, XmNlabelType, &type, nullptr);
    if (type == XmPIXMAP) {
        if (std::strcmp(facts.role, "LABEL") == 0)
            facts.role = "IMAGE";
        return;
    }
    facts.text = compoundText(widget, XmNlabelString);
}

bool isInMenu(Widget widget)
{
    const Widget parent = XtParent(widget);
    return isRowColumn(parent, XmMENU_PULLDOWN) || isRowColumn(parent, XmMENU_POPUP) ||
           isRowColumn(parent, XmMENU_BAR);
}

/// A button in a notebook may be the tab of a page.
void readTab(Widget widget, CXtFacts& facts)
{
    unsigned char type = XmNONE;
    int page = 0, current = 0;
    XtVaGetValues(widget, XmNnotebookChildType, &type, XmNpageNumber, &page, nullptr);
    XtVaGetValues(XtParent(widget), XmNcurrentPageNumber, &current, nullptr);
    if (type != XmMAJOR_TAB && type != XmMINOR_TAB)
        return;
    facts.role = "TAB";
    facts.selected = page == current;
}

/// Not handed out as a copy, unlike labels.
char* tipOf(Widget widget)
{
    XmString tip = nullptr;
    XtVaGetValues(widget, XmNtoolTipString, &tip, nullptr);
    return unparsed(tip);
}

void readButton(Widget widget, CXtFacts& facts)
{
    readLabel(widget, facts);
    facts.tip = tipOf(widget);
    if (isInMenu(widget))
        facts.role = "ITEM";
    else if (isOfKind(XtParent(widget), "XmNotebook"))
        readTab(widget, facts);
}

void readToggle(Widget widget, CXtFacts& facts)
{
    unsigned char set = XmUNSET, kind = XmN_OF_MANY, indicator = XmINDICATOR_FILL;
    XtVaGetValues(widget, XmNset, &set, XmNindicatorType, &kind, XmNindicatorOn, &indicator, nullptr);
    facts.checked = set == XmSET;
    if (indicator == XmINDICATOR_NONE)
        facts.role = "TOGGLE";
    else
        facts.role = kind == XmN_OF_MANY ? "CHECK_BOX" : "RADIO_BUTTON";
    readButton(widget, facts);
}

void readRowColumn(Widget widget, CXtFacts& facts)
{
    unsigned char type = XmWORK_AREA;
    XtVaGetValues(widget, XmNrowColumnType, &type, nullptr);
    if (type == XmMENU_BAR) {
        facts.role = "MENU_BAR";
    } else if (type == XmMENU_PULLDOWN || type == XmMENU_POPUP) {
        facts.role = "MENU";
    } else if (type == XmMENU_OPTION) {
        facts.role = "OPTION_MENU";
        facts.isLeaf = true;
        if (const Widget label = XmOptionLabelGadget(widget))
            facts.label = compoundText(label, XmNlabelString);
        facts.pressed = XmOptionButtonGadget(widget);
        if (facts.pressed)
            facts.text = compoundText(facts.pressed, XmNlabelString);
    }
}

/// A child that has become the title after it was made is told by no resource.
void readFrame(Widget widget, CXtFacts& facts)
{
    const Widget title = reinterpret_cast<const XmFrameRec*>(widget)->frame.title_area;
    if (title && XtIsManaged(title))
        facts.text = compoundText(title, XmNlabelString);
}

/// Motif has no resource for hiding what is typed. Programs that do not put other letters into the field,
/// which are all that can be read then, paint it in the colour of its ground.
bool isInvisible(Widget text)
{
    Pixel foreground = 0, background = 1;
    XtVaGetValues(text, XmNforeground, &foreground, XmNbackground, &background, nullptr);
    return foreground == background;
}

void readText(Widget widget, CXtFacts& facts)
{
    int mode = XmSINGLE_LINE_EDIT;
    if (XmIsText(widget))
        XtVaGetValues(widget, XmNeditMode, &mode, nullptr);
    facts.role = mode == XmMULTI_LINE_EDIT ? "TEXT_AREA" : "TEXT_FIELD";
    facts.editable = flagOf(widget, XmNeditable);
    facts.secret = isInvisible(widget);
    if (!facts.secret)
        facts.text = XmTextGetString(widget);
}

void readDataField(Widget widget, CXtFacts& facts)
{
    facts.editable = flagOf(widget, XmNeditable);
    facts.secret = isInvisible(widget);
    if (!facts.secret)
        facts.text = plainText(widget, XmNvalue);
}

void readListBox(Widget widget, CXtFacts& facts)
{
    unsigned char policy = XmBROWSE_SELECT;
    XtVaGetValues(widget, XmNselectionPolicy, &policy, nullptr);
    facts.isList = true;
    facts.rowsToggle = policy == XmSINGLE_SELECT || policy == XmMULTIPLE_SELECT;
}

void readRows(Widget, CXtFacts& facts)
{
    facts.isList = true;
}

unsigned char layoutOf(Widget container)
{
    unsigned char layout = XmSPATIAL;
    XtVaGetValues(container, XmNlayoutType, &layout, nullptr);
    return layout;
}

void readContainer(Widget widget, CXtFacts& facts)
{
    facts.isList = true;
    const unsigned char layout = layoutOf(widget);
    if (layout != XmSPATIAL)
        facts.role = layout == XmDETAIL ? "TABLE" : "TREE";
}

void readIcon(Widget widget, CXtFacts& facts)
{
    unsigned char emphasis = XmNOT_SELECTED;
    XtVaGetValues(widget, XmNvisualEmphasis, &emphasis, nullptr);
    facts.text = compoundText(widget, XmNlabelString);
    facts.selected = emphasis == XmSELECTED;
}

void readIconButton(Widget widget, CXtFacts& facts)
{
    facts.text = compoundText(widget, XmNlabelString);
    facts.selected = flagOf(widget, XmNset);
}

/// A field beside its label, with an arrow that opens a list.
void readDropDown(Widget widget, CXtFacts& facts)
{
    const char* const role = facts.role;
    const Widget field = XmDropDownGetText(widget), label = XmDropDownGetLabel(widget);
    if (!field || !label)
        return;
    readText(field, facts);
    facts.role = role;
    facts.isLeaf = true;
    facts.pressed = XmDropDownGetArrow(widget);
    if (XtIsManaged(label))
        facts.label = compoundText(label, XmNlabelString);
}

void readCombo(Widget widget, CXtFacts& facts)
{
    Widget field = nullptr;
    XtVaGetValues(widget, XmNtextField, &field, nullptr);
    facts.isLeaf = true;
    const char* const role = facts.role;
    if (field)
        readText(field, facts);
    facts.role = role;
    if (facts.editable)
        facts.opener = reinterpret_cast<XmComboBoxWidget>(widget)->combo_box.hit_rect;
}

/// A spin box is one field with two arrows, or a row of fields as for a date.
void readSpinBox(Widget widget, CXtFacts& facts)
{
    Cardinal count = 0;
    WidgetList children = nullptr;
    XtVaGetValues(widget, XmNchildren, &children, XmNnumChildren, &count, nullptr);
    Widget field = nullptr;
    for (Cardinal each = 0; each < count; ++each) {
        if (!XmIsText(children[each]) && !XmIsTextField(children[each]))
            continue;
        if (field)
            return;
        field = children[each];
    }
    if (!field)
        return;
    readText(field, facts);
    facts.role = "SPIN_BUTTON";
    facts.isLeaf = true;
    facts.pressed = field;
}

void readScale(Widget widget, CXtFacts& facts)
{
    int value = 0;
    short decimals = 0;
    XtVaGetValues(widget, XmNvalue, &value, XmNdecimalPoints, &decimals, nullptr);
    facts.hasValue = true;
    facts.value = value;
    for (; decimals > 0; --decimals)
        facts.value /= 10;
    facts.label = compoundText(widget, XmNtitleString);
    facts.isLeaf = true;
    facts.pressed = XtNameToWidget(widget, "Scrollbar"); // a title stands below it
}

void readScrollBar(Widget widget, CXtFacts& facts)
{
    int value = 0;
    XtVaGetValues(widget, XmNvalue, &value, nullptr);
    facts.hasValue = true;
    facts.value = value;
}

void readPlainLabel(Widget widget, CXtFacts& facts)
{
    facts.text = plainText(widget, "label");
}

void readPlainToggle(Widget widget, CXtFacts& facts)
{
    readPlainLabel(widget, facts);
    facts.checked = flagOf(widget, "state");
}

/// The part of a text widget that draws it knows whether what is typed shows.
void readPlainText(Widget widget, CXtFacts& facts)
{
    Widget sink = nullptr;
    XtVaGetValues(widget, "textSink", &sink, nullptr);
    Boolean echo = True;
    if (sink)
        XtVaGetValues(sink, "echo", &echo, nullptr);
    facts.secret = !echo;
    facts.editable = true;
    if (echo)
        facts.text = plainText(widget, "string");
}

constexpr CXtKind kinds[] = {
    {"Object", "OTHER"},
    {"Core", "OTHER"},
    {"Composite", "CONTAINER"},
    {"Shell", "WINDOW", readTitle},
    {"XmDialogShell", "DIALOG", readTitle},
    {"TransientShell", "DIALOG", readTitle},
    {"XmMenuShell", "MENU"},
    {"XmRowColumn", "CONTAINER", readRowColumn},
    {"XmFrame", "CONTAINER", readFrame},
    {"XmLabel", "LABEL", readLabel},
    {"XmLabelGadget", "LABEL", readLabel},
    {"XmPushButton", "PUSH_BUTTON", readButton},
    {"XmTearOffButton", "ITEM"},
    {"XmPushButtonGadget", "PUSH_BUTTON", readButton},
    {"XmDrawnButton", "PUSH_BUTTON", readButton},
    {"XmArrowButton", "PUSH_BUTTON"},
    {"XmArrowButtonGadget", "PUSH_BUTTON"},
    {"XmCascadeButton", "ITEM", readLabel},
    {"XmCascadeButtonGadget", "ITEM", readLabel},
    {"XmToggleButton", "CHECK_BOX", readToggle},
    {"XmToggleButtonGadget", "CHECK_BOX", readToggle},
    {"XmText", "TEXT_FIELD", readText},
    {"XmTextField", "TEXT_FIELD", readText},
    {"XmList", "LIST", readListBox},
    {"XmI18List", "TABLE", readRows},
    {"XmContainer", "LIST", readContainer},
    {"XmIconGadget", "ITEM", readIcon},
    {"XmIconHeader", "CONTAINER"},
    {"XmHierarchy", "TREE", readRows},
    {"XmIconButton", "PUSH_BUTTON", readIconButton},
    {"XmComboBox", "COMBO_BOX", readCombo},
    {"XmDropDown", "COMBO_BOX", readDropDown},
    {"XmSpinBox", "CONTAINER", readSpinBox},
    {"XmDataField", "TEXT_FIELD", readDataField},
    {"XmScale", "SCALE", readScale},
    {"XmScrollBar", "SCROLL_BAR", readScrollBar},
    // Xt programs without Motif: the Athena widgets.
    {"Label", "LABEL", readPlainLabel},
    {"Command", "PUSH_BUTTON", readPlainLabel},
    {"MenuButton", "PUSH_BUTTON", readPlainLabel},
    {"Toggle", "TOGGLE", readPlainToggle},
    {"Text", "TEXT_AREA", readPlainText},
    {"SimpleMenu", "MENU"},
    {"SmeBSB", "ITEM", readPlainLabel},
    {"Scrollbar", "SCROLL_BAR"},
};

const CXtKind* kindNamed(const char* className)
{
    for (const CXtKind& kind : kinds)
        if (std::strcmp(kind.className, className) == 0)
            return &kind;
    return nullptr;
}
} // namespace

void readXtFacts(Widget widget, CXtFacts& facts)
{
    for (WidgetClass each = XtClass(widget); each; each = each->core_class.superclass)
        if (const CXtKind* const kind = kindNamed(each->core_class.class_name)) {
            facts.role = kind->role;
            if (kind->read)
                kind->read(widget, facts);
            return;
        }
}

void readXtList(Widget list, CXtList& facts)
{
    int top = 1;
    XtVaGetValues(list, XmNitemCount, &facts.count, XmNtopItemPosition, &top, XmNvisibleItemCount,
                  &facts.visible, nullptr);
    facts.first = top - 1;
}

void readXtItem(Widget list, int index, CXtItem& item)
{
    XmStringTable items = nullptr;
    int count = 0;
    XtVaGetValues(list, XmNitems, &items, XmNitemCount, &count, nullptr);
    if (!items || index >= count)
        return;
    item.text = unparsed(items[index]);
    item.selected = XmListPosSelected(list, index + 1) != False;
    XmListPosToBounds(list, index + 1, &item.x, &item.y, &item.width, &item.height);
}

int readXtTexts(Widget list, int first, int count, char** texts)
{
    XmStringTable items = nullptr;
    int all = 0, read = 0;
    XtVaGetValues(list, XmNitems, &items, XmNitemCount, &all, nullptr);
    for (; items && read < count && first + read < all; ++read)
        texts[read] = unparsed(items[first + read]);
    return read;
}

namespace {
const XmI18ListPart& columnsOf(Widget list)
{
    return reinterpret_cast<const XmI18ListRec*>(list)->ilist;
}

// Between rows, columns, and what is under the line below the titles.
constexpr int rowGap = 2, columnGap = 8, lineHeight = 2;
} // namespace

void readXtColumns(Widget list, CXtColumns& facts)
{
    const XmI18ListPart& part = columnsOf(list);
    facts.count = part.row_data ? part.num_rows : 0;
    facts.columns = part.column_widths ? part.num_columns : 0;
    facts.first = part.first_row;
    facts.top = part.sep_y + lineHeight;
    facts.pitch = part.row_height + rowGap;
    facts.height = part.row_height;
    facts.visible = (list->core.height - facts.top + rowGap) / facts.pitch;
}

void readXtCell(Widget list, int row, int column, CXtCell& cell)
{
    const XmI18ListPart& part = columnsOf(list);
    const XmString* const texts = row < 0 ? part.column_titles : part.row_data[row].values;
    cell.text = texts ? unparsed(texts[column]) : nullptr;
    cell.selected = row >= 0 && part.row_data[row].selected;
    cell.left = part.left_loc;
    for (int before = 0; before < column; ++before)
        cell.left += part.column_widths[before] + columnGap;
    cell.right = cell.left + part.column_widths[column];
}

void showXtLine(Widget list, int row)
{
    Widget around = XtParent(list);
    while (around && !isOfKind(around, "XmMultiList"))
        around = XtIsShell(around) ? nullptr : XtParent(around);
    if (around)
        XmMultiListMakeRowVisible(around, row);
}

namespace {
/// The button of an item of a container, which makes it for all that may have to be opened.
Widget outlineButton(Widget item)
{
    const Widget button =
        reinterpret_cast<XmContainerConstraintPtr>(item->core.constraints)->container.related_cwid;
    return button && std::strcmp(XtName(button), "OutlineButton") == 0 ? button : nullptr;
}
} // namespace

void readXtNode(Widget list, Widget child, CXtNode& node)
{
    if (isOfKind(list, "XmContainer")) {
        unsigned char state = XmEXPANDED;
        node.shows = XtIsManaged(child) && isOfKind(child, "XmIconGadget");
        XtVaGetValues(child, XmNentryParent, &node.parent, XmNoutlineState, &state, nullptr);
        node.isOpen = state == XmEXPANDED;
        node.expander = node.shows ? outlineButton(child) : nullptr;
        return;
    }
    XmHierarchyNodeState state = XmNotInHierarchy;
    XtVaGetValues(child, XmNnodeState, &state, XmNparentNode, &node.parent, nullptr);
    node.shows = XtIsManaged(child) && state != XmNotInHierarchy && state != XmHidden;
    node.isOpen = state == XmOpen || state == XmAlwaysOpen;
    if (state == XmOpen || state == XmClosed)
        node.expander =
            reinterpret_cast<HierarchyConstraints>(child->core.constraints)->hierarchy.open_close_button;
}

bool isXtSpatial(Widget list)
{
    return isOfKind(list, "XmContainer") && layoutOf(list) == XmSPATIAL;
}

bool hasXtDetails(Widget container)
{
    return isOfKind(container, "XmContainer") && layoutOf(container) == XmDETAIL;
}

namespace {
/// A text of a table that the widget keeps, and frees when it is asked again.
bool readFrom(Widget widget, const char* table, const char* number, int index, char** text)
{
    XmStringTable texts = nullptr;
    Cardinal count = 0;
    XtVaGetValues(widget, table, &texts, number, &count, nullptr);
    if (!texts || index >= static_cast<int>(count))
        return false;
    *text = unparsed(texts[index]);
    return true;
}
} // namespace

bool readXtDetail(Widget item, int index, char** text)
{
    return readFrom(item, XmNdetail, XmNdetailCount, index, text);
}

bool readXtHeading(Widget container, int index, char** text)
{
    return readFrom(container, XmNdetailColumnHeading, XmNdetailColumnHeadingCount, index, text);
}

bool isOfKind(Widget widget, const char* className)
{
    for (WidgetClass each = widget ? XtClass(widget) : nullptr; each; each = each->core_class.superclass)
        if (std::strcmp(each->core_class.class_name, className) == 0)
            return true;
    return false;
}

void showXtItem(Widget list, int index)
{
    CXtList facts;
    readXtList(list, facts);
    if (index < facts.first)
        XmListSetPos(list, index + 1);
    else if (index >= facts.first + facts.visible)
        XmListSetBottomPos(list, index + 1);
}

Widget pageOfXtTab(Widget stack, Position x, Position y)
{
    Cardinal count = 0;
    WidgetList children = nullptr;
    XtVaGetValues(stack, XmNchildren, &children, XmNnumChildren, &count, nullptr);
    for (Cardinal each = 0; each < count; ++each) {
        const CorePart& box = children[each]->core;
        const int inX = x - box.x, inY = y - box.y;
        if (!XmIsTabBox(children[each]) || inX < 0 || inY < 0 || inX >= box.width || inY >= box.height)
            continue;
        const int index = XmTabBoxXYToIndex(children[each], inX, inY);
        return index < 0 ? nullptr : XmTabStackIndexToWidget(stack, index);
    }
    return nullptr;
}

/// The stack does not tell where its tabs are; it only answers what lies at a place.
int readXtTabs(Widget stack, CXtTab* tabs)
{
    constexpr int step = 4; // pixels
    int count = 0;
    // A place is a short, a size an unsigned one.
    const auto height = static_cast<Position>(std::min<int>(stack->core.height, SHRT_MAX - step));
    const auto width = static_cast<Position>(std::min<int>(stack->core.width, SHRT_MAX - step));
    for (Position y = 0; y < height; y = static_cast<Position>(y + step))
        for (Position x = 0; x < width; x = static_cast<Position>(x + step)) {
            const Widget page = pageOfXtTab(stack, x, y);
            int at = 0;
            while (at < count && tabs[at].page != page)
                ++at;
            if (!page || at == mostXtTabs)
                continue;
            if (at == count)
                tabs[count++] = {page, x, y, x, y};
            CXtTab& tab = tabs[at];
            tab.left = x < tab.left ? x : tab.left;
            tab.right = x > tab.right ? x : tab.right;
            tab.bottom = y;
        }
    return count;
}

char* textOfXtTab(Widget page)
{
    return compoundText(page, XmNtabLabelString);
}

bool isXtTabSelected(Widget stack, Widget page)
{
    return XmTabStackGetSelectedTab(stack) == page;
}

void readXtFileBox(Widget box, CXtFileBox& parts)
{
    const auto child = [box](unsigned char which) {
        const Widget found = XmFileSelectionBoxGetChild(box, which);
        return found && XtIsManaged(found) ? found : nullptr;
    };
    parts.ok = child(XmDIALOG_OK_BUTTON);
    parts.cancel = child(XmDIALOG_CANCEL_BUTTON);
    parts.file = child(XmDIALOG_TEXT);
}

/// Some programs hide the field and go by what is in it all the same.
void setXtFile(Widget box, const char* text)
{
    if (const Widget field = XmFileSelectionBoxGetChild(box, XmDIALOG_TEXT))
        XmTextSetString(field, const_cast<char*>(text));
}
