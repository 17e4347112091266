package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.Values;
import java.awt.Rectangle;
import java.util.ArrayList;
import java.util.List;

/**
 * A dialog for a file or folder of Motif, GTK 2 or GTK 3, as it was when the application was asked.
 *
 * @param window the X window of the dialog
 * @param caption the text in its title bar
 * @param ok where its OK button is on the screen, whatever that says; null for what does not show, as for the others
 * @param cancel where its Cancel button is
 * @param file where its text field for the file name is; GTK shows one to open by when a name is set
 * @param ready whether it has read the folder that it shows: before that GTK may change what is typed into it
 * @param enabled whether its OK button reacts
 */
public record FileDialogView(long window, String caption, Rectangle ok, Rectangle cancel, Rectangle file,
        boolean ready, boolean enabled) {
    /**
     * Sends the dialog to another process.
     *
     * @param out is written to
     */
    public void write(Values out) {
        out.add(window).add(caption).add(ok).add(cancel).add(file).add(ready).add(enabled);
    }

    /**
     * Takes dialogs from the application.
     *
     * @param in has how many, and as many, with empty boxes for what does not show
     * @return the dialogs
     */
    public static List<FileDialogView> readAll(Values in) {
        List<FileDialogView> dialogs = new ArrayList<>();
        for (int left = in.nextCount(); left > 0; --left) {
            dialogs.add(read(in));
        }
        return dialogs;
    }

    static FileDialogView read(Values in) {
        return new FileDialogView(in.nextLong(), in.nextString(), shown(in.nextRectangle()), shown(in.nextRectangle()),
            shown(in.nextRectangle()), in.nextBoolean(), in.nextBoolean());
    }

    private static Rectangle shown(Rectangle box) {
        return box == null || box.isEmpty() ? null : box;
    }
}
