// A Motif application with the library inside that asks for its own list boxes. Exit status 0 when all
// answers are right.
#include "MotifProgram.h"

#include "unix/window/ListBox.h"

#include <climits>
#include <string>
#include <vector>

#include <Xm/DrawingA.h>
#include <Xm/List.h>
#include <Xm/ScrolledW.h>

namespace {
constexpr char untouched = '#';

/// What getText writes into a buffer of `length` bytes, of which it must write no more.
std::string textOf(const ListBox& list, int index, int length = 128)
{
    std::string buffer(static_cast<size_t>(length) + 1, untouched);
    buffer[0] = '\0';
    list.getText(index, buffer.data(), length);
    CHECK(buffer.back() == untouched);
    return buffer.c_str();
}

bool isZero(const ListBox& list, int index)
{
    Rect rect(1, 1, 1, 1);
    list.getRectangle(index, &rect);
    return rect.isZero();
}

void checkNoList(const ListBox& none)
{
    Point corner(0, 0);
    CHECK(none.getCount() == -1 && none.getTopIndex() == -1 && none.getSelCount() == -1);
    CHECK(none.getCurSel() == -1 && !none.isSelected(0) && none.getItemAtPoint(&corner) == -1);
    CHECK(textOf(none, 0).empty() && isZero(none, 0));
}

void checkTexts(Widget widget)
{
    const auto plain = [](const char* text) { return XmStringCreateLocalized(const_cast<char*>(text)); };
    const auto tagged = [](const char* text) {
        return XmStringCreate(const_cast<char*>(text), const_cast<char*>("bold"));
    };
    const std::string lengthy(200, 'x');
    const struct {
        XmString item;
        std::string text;
    } rows[] = {
        {plain("one"), "one"},
        {plain("za\u017c\u00f3\u0142\u0107"), "za\u017c\u00f3\u0142\u0107"},
        {XmStringConcatAndFree(tagged("first"),
                               XmStringConcatAndFree(XmStringSeparatorCreate(), plain("second"))),
         "first"},
        {XmStringConcatAndFree(XmStringSeparatorCreate(), tagged("after a line end")), "after a line end"},
        {XmStringGenerate(const_cast<char*>("generated"), nullptr, XmMULTIBYTE_TEXT,
                          const_cast<char*>("bold")),
         "generated"},
        {XmStringSeparatorCreate(), ""},
        {plain(lengthy.c_str()), lengthy.substr(0, 127)},
    };
    const ListBox list(handleOf(widget));
    for (const auto& row : rows) {
        XmListAddItem(widget, row.item, 1);
        CHECK(textOf(list, 0) == row.text);
        CHECK(textOf(list, 0, 4) == row.text.substr(0, 3));
        CHECK(textOf(list, 0, 1).empty());
        XmStringFree(row.item);
    }
    XmListDeleteAllItems(widget);
    CHECK(list.getCount() == 0 && list.getCurSel() == -1 && list.getSelCount() == 0);
    CHECK(textOf(list, 0).empty() && isZero(list, 0));
}

void fill(Widget list, int count)
{
    for (int position = 1; position <= count; ++position) {
        const XmString item =
            XmStringCreateLocalized(const_cast<char*>(("item " + std::to_string(position)).c_str()));
        XmListAddItem(list, item, position);
        XmStringFree(item);
    }
}

/// Every item that is shown is clicked in its middle.
void checkClicks(CMotifProgram& program, Widget widget, int first, int shown)
{
    const ListBox list(handleOf(widget));
    const Rect place = placeOf(widget);
    CHECK(list.getTopIndex() == first);
    for (int index = first; index < first + shown; ++index) {
        Rect rect;
        list.getRectangle(index, &rect);
        Point middle(rect.getLeft() + rect.getWidth() / 2, rect.getTop() + rect.getHeight() / 2);
        CHECK(list.getItemAtPoint(&middle) == index);
        program.click(place.getLeft() + middle.getx(), place.getTop() + middle.gety());
        CHECK(list.getCurSel() == index && list.getSelCount() == 1 && list.isSelected(index));
        CHECK(textOf(list, index) == "item " + std::to_string(index + 1));
    }
    CHECK(isZero(list, first - 1) && isZero(list, first + shown));
}

void checkSelection(Widget widget)
{
    const ListBox list(handleOf(widget));
    XmListDeselectAllItems(widget);
    CHECK(list.getCurSel() == -1 && list.getSelCount() == 0 && !list.isSelected(0));
    XtVaSetValues(widget, XmNselectionPolicy, XmMULTIPLE_SELECT, nullptr);
    XmListSelectPos(widget, 3, False);
    XmListSelectPos(widget, 2, False);
    CHECK(list.getCurSel() == 1 && list.getSelCount() == 2 && !list.isSelected(0) && list.isSelected(2));
    for (const int index : {-1, list.getCount(), INT_MAX, INT_MIN})
        CHECK(textOf(list, index).empty() && isZero(list, index) && !list.isSelected(index));
}

long foundAt(Rect rect)
{
    return static_cast<long>(ListBox(&rect).getHandle());
}

long foundInTheMiddleOf(const Rect& rect)
{
    Point middle(rect.getLeft() + rect.getWidth() / 2, rect.getTop() + rect.getHeight() / 2);
    return static_cast<long>(ListBox(&middle).getHandle());
}
} // namespace

int main(int argc, char** argv)
{
    CMotifProgram program(argc, argv);
    const auto create = [](auto make, Widget parent, int x, int y) {
        Arg place[] = {{XmNx, x},
                       {XmNy, y},
                       {XmNvisibleItemCount, 5},
                       {XmNselectionPolicy, XmEXTENDED_SELECT},
                       {XmNlistSizePolicy, XmCONSTANT}};
        const Widget widget = make(parent, const_cast<char*>("widget"), place, 5);
        XtManageChild(widget);
        return widget;
    };
    const Widget plain = create(XmCreateList, program.board(), 10, 10);
    const Widget scrolled = create(XmCreateScrolledList, program.board(), 10, 200);
    const Widget button = create(XmCreatePushButton, program.board(), 200, 10);
    const Widget other = create(XmCreateScrolledWindow, program.board(), 200, 100);
    create(XmCreateDrawingArea, other, 0, 0);
    const Widget doomed = create(XmCreateList, program.board(), 200, 300);
    fill(scrolled, 30);
    program.show();
    checkNoList(ListBox(handleOf(plain))); // the application's display is not known yet
    gx_app_display = program.display();

    checkTexts(plain);
    fill(plain, 4);
    program.settle();
    checkClicks(program, plain, 0, 4);
    checkSelection(plain);
    checkClicks(program, scrolled, 0, 5);
    XmListSetPos(scrolled, 11);
    checkClicks(program, scrolled, 10, 5);
    Point corner(0, 0);
    CHECK(ListBox(handleOf(scrolled)).getItemAtPoint(&corner) == 0); // out of sight: a rectangle of zeros

    const Rect around = placeOf(XtParent(scrolled));
    CHECK(foundAt(around) == handleOf(scrolled) && foundAt(placeOf(plain)) == handleOf(plain));
    CHECK(foundAt(placeOf(button)) == 0 && foundAt(placeOf(other)) == 0);
    CHECK(foundAt({around.getTop(), around.getLeft(), around.getHeight() + 1, around.getWidth()}) == 0);
    CHECK(foundInTheMiddleOf(placeOf(plain)) == handleOf(plain));
    CHECK(foundInTheMiddleOf(placeOf(button)) == 0);

    Display* const stranger = XOpenDisplay(nullptr);
    for (const long window : strangeWindows(doomed, stranger))
        checkNoList(ListBox(window));
    checkNoList(ListBox(handleOf(button)));
    checkNoList(ListBox(handleOf(XtParent(scrolled))));
    gx_app_display = stranger; // Xt does not know it and reports an error
    checkNoList(ListBox(handleOf(plain)));
    CHECK(foundAt(around) == 0);
    XCloseDisplay(stranger);
    return g_failures != 0;
}
