package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Rectangle;

/**
 * A Motif dialog of the application that this JVM has been put into, named by the window of its dialog shell.
 * {@link NativeWindow#nativeIsFileDialog} tells which windows are such shells with a file selection box; only in these
 * are buttons found.
 *
 * <p><b>Neutral answers.</b> A window that has gone, one of another application and one that is no dialog have no
 * parent, and rectangles of zeros.
 *
 * <p><b>Threads.</b> Call everything here on the application's GUI thread: the widgets are read in place.
 */
public class Dialog extends NativeWindow {
    static {
        NativeLibrary.load();
    }

    /**
     * Names a dialog; nothing is asked.
     *
     * @param handle the X window id of the dialog shell
     */
    public Dialog(long handle) {
        super(handle);
    }

    /** @return the window of the widget that the dialog belongs to; null when there is none */
    public native NativeWindow getParent();

    /**
     * The button that accepts. Its place is right when the file selection box fills the shell, as it does unless the
     * application arranged otherwise.
     *
     * @return screen coordinates; all zero when there is no file selection box with such a button; null for handle 0
     *     and when it begins left of the screen
     */
    public native Rectangle getOKRectangle();

    /** @return the button that closes the dialog, as {@link #getOKRectangle} */
    public native Rectangle getCancelRectangle();
}
