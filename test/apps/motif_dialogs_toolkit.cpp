// A Motif application with the library inside that finds its way about its own dialogs. Exit status 0 when
// all answers are right.
#include "MotifProgram.h"

#include "unix/window/Dialog.h"
#include "unix/window/MessageWindow.h"
#include "unix/window/WindowLevel.h"

#include <poll.h>
#include <string>

#include <Xm/FileSB.h>
#include <Xm/MessageB.h>
#include <Xm/TextF.h>

namespace {
void remember(Widget, XtPointer reason, XtPointer call)
{
    *static_cast<int*>(reason) = static_cast<XmAnyCallbackStruct*>(call)->reason;
}

Widget shown(CMotifProgram& program, Widget dialog, int y)
{
    XtVaSetValues(dialog, XmNdefaultPosition, False, nullptr);
    XtVaSetValues(XtParent(dialog), XmNx, 300, XmNy, y, nullptr);
    XtManageChild(dialog);
    program.settle();
    return dialog;
}

Widget fileDialog(CMotifProgram& program, unsigned char mask)
{
    Arg type[] = {{XmNfileTypeMask, mask}};
    return shown(program, XmCreateFileSelectionDialog(program.shell(), const_cast<char*>("files"), type, 1),
                 40);
}

Widget textOf(Widget box)
{
    return XmFileSelectionBoxGetChild(box, XmDIALOG_TEXT);
}

std::string contentOf(Widget box)
{
    char* const text = XmTextFieldGetString(textOf(box));
    const std::string content = text;
    XtFree(text);
    return content;
}

template <class Read> Rect read(Read method)
{
    Rect rect(7, -1, 7, 7);
    method(&rect);
    return rect;
}

/// The button at the rectangle that the library tells is where it tells, and does what it should.
void checkButton(CMotifProgram& program, Widget box, const Rect& told, unsigned char child, int reason)
{
    CHECK(told.equalTo(placeOf(XmFileSelectionBoxGetChild(box, child))));
    int seen = 0;
    XtAddCallback(box, XmNokCallback, remember, &seen);
    XtAddCallback(box, XmNcancelCallback, remember, &seen);
    program.click(told.getLeft() + told.getWidth() / 2, told.getTop() + told.getHeight() / 2);
    CHECK(seen == reason);
    XtRemoveAllCallbacks(box, XmNokCallback);
    XtRemoveAllCallbacks(box, XmNcancelCallback);
    XtManageChild(box);
    program.settle();
}

/// Also those that are not shown.
size_t topLevelWindows()
{
    return childrenOf(g_display, DefaultRootWindow(g_display)).size();
}

bool somethingWaits()
{
    pollfd wake{CMessageWindow::wakeDescriptor(), POLLIN, 0};
    return poll(&wake, 1, 0) == 1;
}

template <class Kind> void checkSetFile(Widget box)
{
    const Kind dialog(handleOf(XtParent(box)));
    const std::string before = contentOf(box);
    std::string name = "za\u017c\u00f3\u0142\u0107.txt";
    gx_MarloSUT = 0;
    const size_t windows = topLevelWindows();
    dialog.setFile(name.c_str());
    CHECK(topLevelWindows() == windows + 1);
    dialog.setFile((name + "2").c_str());
    CHECK(topLevelWindows() == windows + 1);
    CHECK(gx_MarloSUT == 1 && somethingWaits() && contentOf(box) == before);
    name.assign(name.size(), '!'); // the request has its own
    CHECK(CMessageWindow::deliver() == 2);
    CHECK(contentOf(box) == "za\u017c\u00f3\u0142\u0107.txt2");
    CHECK(!somethingWaits() && CMessageWindow::deliver() == 0);
    dialog.setFile(nullptr);
    CHECK(!somethingWaits());
}

template <class Kind> void checkFileDialog(CMotifProgram& program, unsigned char mask)
{
    const Widget box = fileDialog(program, mask);
    const Kind dialog(handleOf(XtParent(box)));
    CHECK(dialog.isFileDialog() && dialog.getParent() == XtWindow(program.shell()));
    checkButton(program, box, read([&](Rect* out) { dialog.getOKRectangle(out); }), XmDIALOG_OK_BUTTON,
                XmCR_OK);
    checkButton(program, box, read([&](Rect* out) { dialog.getCancelRectangle(out); }),
                XmDIALOG_CANCEL_BUTTON, XmCR_CANCEL);
    CHECK(read([&](Rect* out) { dialog.getFileRectangle(out); }).equalTo(placeOf(textOf(box))));
    checkSetFile<Kind>(box);
    dialog.setFile("too late");
    XtDestroyWidget(XtParent(box));
    program.settle();
    CHECK(CMessageWindow::deliver() == 1); // into nothing
}

/// @param left  what the rectangles' left becomes
void checkNoFileDialog(const FileDialog& none, int left)
{
    CHECK(!none.isFileDialog());
    for (const Rect& rect : {read([&](Rect* out) { none.getOKRectangle(out); }),
                             read([&](Rect* out) { none.getCancelRectangle(out); }),
                             read([&](Rect* out) { none.getFileRectangle(out); })})
        CHECK(left == 0 ? rect.isZero() : rect.equalTo({7, left, 7, 7}));
    none.setFile("nothing");
    CHECK(!somethingWaits());
}
} // namespace

int main(int argc, char** argv)
{
    CMotifProgram program(argc, argv);
    program.show();
    gx_app_display = program.display();
    const Widget message =
        shown(program, XmCreateMessageDialog(program.shell(), const_cast<char*>("message"), nullptr, 0), 10);
    const Dialog dialog(handleOf(XtParent(message)));
    CHECK(dialog.getParent() == XtWindow(program.shell()));
    checkNoFileDialog(FileDialog(handleOf(XtParent(message))), 0);
    CHECK(gx_MarloSUT == 0);
    XtUnmanageChild(message);

    checkFileDialog<FileDialog>(program, XmFILE_REGULAR);
    checkFileDialog<DirectoryDialog>(program, XmFILE_DIRECTORY);

    const Widget box = fileDialog(program, XmFILE_REGULAR);
    const Widget shell = XtParent(box);
    for (const Widget widget : {program.shell(), program.board(), message, box, textOf(box)}) {
        checkNoFileDialog(FileDialog(handleOf(widget)), 0);
        CHECK(Dialog(handleOf(widget)).getParent() == 0);
    }
    Display* const stranger = XOpenDisplay(nullptr);
    const Widget doomed = fileDialog(program, XmFILE_REGULAR);
    for (const long window : strangeWindows(XtParent(doomed), stranger)) {
        checkNoFileDialog(FileDialog(window), window == 0 ? -1 : 0);
        CHECK(Dialog(window).getParent() == 0);
    }
    gx_app_display = stranger; // Xt does not know it and reports an error
    checkNoFileDialog(FileDialog(handleOf(shell)), 0);
    CHECK(Dialog(handleOf(shell)).getParent() == 0);
    XCloseDisplay(stranger);
    return g_failures != 0;
}
