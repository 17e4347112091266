package com.talvern.test.gx.engine;

import com.talvern.test.gx.protocol.FileDialogValues;
import com.talvern.test.gx.protocol.Values;
import java.awt.Rectangle;

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
 * @param okId that of the {@link WidgetView} of its OK button; 0 for none
 */
public record FileDialogView(long window, String caption, Rectangle ok, Rectangle cancel, Rectangle file,
        boolean ready, boolean enabled, long okId) {
    static FileDialogView read(Values in) {
        FileDialogValues dialog = FileDialogValues.read(in);
        return new FileDialogView(dialog.window(), dialog.caption(), shown(dialog.ok()), shown(dialog.cancel()),
            shown(dialog.file()), dialog.ready(), dialog.enabled(), dialog.okId());
    }

    private static Rectangle shown(Rectangle box) {
        return box == null || box.isEmpty() ? null : box;
    }
}
