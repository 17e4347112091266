#include "unix/window/DialogUnix.h"

#include "include/GxGlobals.h"
#include "unix/window/Dialog.h"
#include "unix/window/MessageWindow.h"
#include "unix/window/WindowManagerUnix.h"
#include "unix/window/XtGuard.h"

#include <memory>
#include <string>

#include <Xm/DialogS.h>
#include <Xm/FileSB.h>
#include <Xm/TextF.h>
#include <Xm/Xm.h>

namespace {
bool isXmDialogShell(Widget widget)
{
    return isOfClass(widget, xmDialogShellWidgetClass);
}

bool isXmFileSelectionBox(Widget widget)
{
    return isOfClass(widget, xmFileSelectionBoxWidgetClass);
}

/// A child of the dialog's file selection box; null when there is no such box or child.
Widget childOfBox(Window shell, const char* name)
{
    const Widget box = getFileSelectionBox(findWidget(shell));
    return box ? XtNameToWidget(box, name) : nullptr;
}

/// Where a child is, taken as one of the shell itself. All zero when the shell's window has gone.
Rect rectangleOf(Widget child, Window shell)
{
    Display* const display = walkDisplay();
    const CPlace place = display ? placeOf(askPlace(display, shell).take().get()) : CPlace();
    if (!place.known)
        return {};
    Position x = 0, y = 0;
    Dimension width = 0, height = 0;
    XtVaGetValues(child, XmNx, &x, XmNy, &y, XmNwidth, &width, XmNheight, &height, nullptr);
    return {place.y + y, place.x + x, height, width};
}

/// The text field of the dialog; null when it has none that XmTextFieldSetString can set.
Widget textFieldOf(Window shell)
{
    const Widget text = childOfBox(shell, "Text");
    return text && XmIsTextField(text) ? text : nullptr;
}

template <class T> unsigned long addressOf(T* object)
{
    return reinterpret_cast<unsigned long>(object);
}

/// Sends the request to set the text field. Until that is carried out the dialog may be closed, and another
/// widget may live at the address: the field is looked up anew.
void sendFileName(CMessageWindow& messages, Window shell, const char* text)
{
    const Widget field = textFieldOf(shell);
    if (!field || !text)
        return;
    const auto name = std::make_shared<std::string>(text);
    if (gx_MarloSUT == 0)
        gx_MarloSUT = 1;
    messages.send({addressOf(XmTextFieldSetString), addressOf(field), addressOf(name->data()), 0}, [=] {
        if (textFieldOf(shell) == field)
            XmTextFieldSetString(field, name->data());
    });
}

CMessageWindow s_fileMessages;
CMessageWindow s_directoryMessages;
} // namespace

Widget getFileSelectionBox(Widget shell)
{
    if (!isXmDialogShell(shell))
        return nullptr;
    WidgetList children = nullptr;
    Cardinal count = 0;
    XtVaGetValues(shell, XmNchildren, &children, XmNnumChildren, &count, nullptr);
    return count > 0 && isXmFileSelectionBox(children[0]) ? children[0] : nullptr;
}

unsigned long Dialog::getParent() const
{
    const Widget shell = findWidget(getHandle());
    const Widget parent = isXmDialogShell(shell) ? XtParent(shell) : nullptr;
    return parent ? XtWindowOfObject(parent) : 0;
}

void Dialog::getWidgetRectangle(Rect* out, const char* name) const
{
    if (isNullWindow())
        return;
    const Widget child = childOfBox(getHandle(), name);
    *out = child ? rectangleOf(child, getHandle()) : Rect();
}

void FileDialog::setFile(const char* text) const
{
    sendFileName(s_fileMessages, getHandle(), text);
}

void DirectoryDialog::setFile(const char* text) const
{
    sendFileName(s_directoryMessages, getHandle(), text);
}
