package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;

/** A dialog that asks for a color. Motif has none, so that nothing can be set. */
public class ColorDialog extends Dialog {
    static {
        NativeLibrary.load();
    }

    /**
     * Names a dialog; nothing is asked.
     *
     * @param handle the X window id of the dialog shell
     */
    public ColorDialog(long handle) {
        super(handle);
    }

    /**
     * Does nothing on X11.
     *
     * @param red any
     * @param green any
     * @param blue any
     */
    public native void setColor(int red, int green, int blue);
}
