/// The application's own toolkit, for a library that has been loaded into the application.
#pragma once

/// Objects of the toolkit, named by their address as Java keeps it. 0 gives 0; an address that is no such
/// object is the caller's fault and not noticed. Call it where the toolkit allows calls, usually its own
/// thread.
class CToolkit {
public:
    /// The X window of an Xt widget; 0 before the widget is realized.
    static unsigned long xtWindow(unsigned long widget);
    /// The address of a GTK 2 widget's GdkWindow.
    static unsigned long gtkWidgetWindow(unsigned long widget);
    /// The X window of a GdkWindow.
    static unsigned long gdkWindowXid(unsigned long gdkWindow);
};
