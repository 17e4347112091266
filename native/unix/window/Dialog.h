/// Motif's common dialogs: a selection box inside of a dialog shell, in the application that this process is.
///
/// Everything here is for the application's GUI thread, as the caller sees to: widgets are read in place. The
/// shell is found by its window on gx_app_display; what is no dialog shell, or not one any longer, gets the
/// neutral answers. Nothing is thrown.
#pragma once

#include "unix/window/WindowManager.h"

/// A dialog, named by the window of its shell; 0 is none.
class Dialog : public CWindow {
public:
    Dialog() = default;
    explicit Dialog(long handle) : CWindow(handle) {}

    /// The window of the shell's parent widget, whatever the dialog holds; 0 when this is no dialog shell.
    unsigned long getParent() const;
    /// Where a button of a file selection box is, in root coordinates. Its position counts as one relative to
    /// the shell, which holds as long as the box fills the shell. Handle 0 leaves `out` as it is; without
    /// such a box or button it becomes all zero.
    void getOKRectangle(Rect* out) const { getWidgetRectangle(out, "OK"); }
    void getCancelRectangle(Rect* out) const { getWidgetRectangle(out, "Cancel"); }

protected:
    /// @param name  of a child of the file selection box
    void getWidgetRectangle(Rect* out, const char* name) const;
};

/// A dialog that asks for a file.
class FileDialog : public Dialog {
public:
    using Dialog::Dialog;

    /// The text field of the file selection box, as getOKRectangle.
    void getFileRectangle(Rect* out) const { getWidgetRectangle(out, "Text"); }
    /// Sends the GUI thread a request to put `text` into the text field (see MessageWindow.h) and returns
    /// once the X server has the message. Without a file selection box nothing is sent. The request does
    /// nothing when the text field has gone before it is delivered.
    /// @param text  in the locale's code set, copied; null does nothing
    void setFile(const char* text) const;
};

/// A dialog that asks for a directory: a file selection box, too.
class DirectoryDialog : public Dialog {
public:
    using Dialog::Dialog;

    void getFileRectangle(Rect* out) const { getWidgetRectangle(out, "Text"); } ///< as FileDialog's
    void setFile(const char* text) const;                                       ///< as FileDialog's
};

class ColorDialog : public Dialog {
public:
    using Dialog::Dialog;

    void setColor(int, int, int) const {} ///< Motif has no such dialog
};

class FontDialog : public Dialog {
public:
    using Dialog::Dialog;
};

class PrintDialog : public Dialog {
public:
    using Dialog::Dialog;
};

class MessageBoxDialog : public Dialog {
public:
    using Dialog::Dialog;
};
