package com.talvern.test.gx.engine;

import java.awt.Rectangle;

/**
 * A Motif dialog for a file, as it was when the application was asked.
 *
 * @param window the X window of the dialog
 * @param caption the text in its title bar
 * @param ok where its OK button is on the screen
 * @param cancel where its Cancel button is
 * @param file where its text field for the file name is
 */
public record FileDialogView(long window, String caption, Rectangle ok, Rectangle cancel, Rectangle file) {
    /**
     * Sends the dialog to another process.
     *
     * @param out is written to
     */
    public void write(Values out) {
        out.add(window).add(caption).add(ok).add(cancel).add(file);
    }

    static FileDialogView read(Values in) {
        return new FileDialogView(in.nextLong(), in.nextString(), in.nextRectangle(), in.nextRectangle(),
            in.nextRectangle());
    }
}
