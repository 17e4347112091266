package com.talvern.test.gx.protocol;

import java.awt.Rectangle;

/**
 * A dialog for a file or folder on its way to the engine.
 *
 * @param window its X window
 * @param caption the text in its title bar
 * @param ok where its OK button is on the screen; null or empty for what does not show, as for the others
 * @param cancel where its Cancel button is
 * @param file where its text field for the file name is
 * @param ready whether it has read the folder that it shows
 * @param enabled whether its OK button reacts
 * @param okId the id of the widget that is its OK button, 0 for none
 */
public record FileDialogValues(long window, String caption, Rectangle ok, Rectangle cancel, Rectangle file,
        boolean ready, boolean enabled, long okId) {
    /**
     * Takes a dialog.
     *
     * @param in has one
     * @return the dialog
     */
    public static FileDialogValues read(Values in) {
        return new FileDialogValues(in.nextLong(), in.nextString(), in.nextRectangle(), in.nextRectangle(),
            in.nextRectangle(), in.nextBoolean(), in.nextBoolean(), in.nextLong());
    }

    /**
     * Sends the dialog.
     *
     * @param out is written to
     */
    public void write(Values out) {
        out.add(window).add(caption).add(ok).add(cancel).add(file).add(ready).add(enabled).add(okId);
    }

    /**
     * The same dialog with another caption.
     *
     * @param other the text in its title bar
     * @return the dialog
     */
    public FileDialogValues withCaption(String other) {
        return new FileDialogValues(window, other, ok, cancel, file, ready, enabled, okId);
    }
}
