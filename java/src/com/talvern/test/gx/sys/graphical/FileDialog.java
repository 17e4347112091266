package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;
import java.awt.Rectangle;

/**
 * A dialog that asks for a file: a Motif file selection box.
 *
 * <p>What {@link Dialog} says about neutral answers and threads holds here too.
 */
public class FileDialog extends Dialog {
    static {
        NativeLibrary.load();
    }

    /**
     * Names a dialog; nothing is asked.
     *
     * @param handle the X window id of the dialog shell
     */
    public FileDialog(long handle) {
        super(handle);
    }

    /** @return the text field for the name, as {@link Dialog#getOKRectangle} */
    public native Rectangle getFileRectangle();

    /**
     * Asks the application to put a name into the text field, as if it were typed. It does so when the GUI thread next
     * looks at its events, after this method has returned; nothing happens when the dialog has gone by then.
     *
     * @param file the text to set; null does nothing
     * @return true, also for what is no file dialog
     * @throws com.talvern.test.gx.StringNotInCodePageException when the locale's code set lacks a character of it
     */
    public native boolean setFile(String file);
}
