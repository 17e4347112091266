import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertFalse;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertThrows;
import static org.junit.jupiter.api.Assertions.assertTrue;

import com.talvern.test.gx.StringNotInCodePageException;
import com.talvern.test.gx.sys.graphical.ColorDialog;
import com.talvern.test.gx.sys.graphical.Dialog;
import com.talvern.test.gx.sys.graphical.DirectoryDialog;
import com.talvern.test.gx.sys.graphical.FileDialog;
import com.talvern.test.gx.sys.graphical.ListBox;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.awt.Point;
import java.awt.Rectangle;
import org.junit.jupiter.api.Test;

/** List boxes and dialogs in a JVM that is in no Motif application: the neutral answers, as Java gets them. */
class ListBoxAndDialogTest {
    private static final Rectangle ZERO = new Rectangle(0, 0, 0, 0);
    private static final long ROOT = NativeWindow.nativeGetRootNativeWindow().getHandle();

    @Test
    void findsNoListBoxes() {
        assertNull(ListBox.listBoxAtPoint(new Point(5, 5)));
        assertNull(ListBox.listBoxAtPoint(null));
        assertEquals(0, ListBox.listBoxAtRectangle(new Rectangle(3, 3, 3, 3)).getHandle());
        assertNull(ListBox.listBoxAtRectangle(null));
    }

    @Test
    void whatIsNoListBoxHasNothing() {
        for (long handle : new long[] {0, ROOT, -1, Long.MIN_VALUE}) {
            ListBox list = new ListBox(handle);
            assertEquals(-1, list.getCount());
            assertEquals(-1, list.getTopIndex());
            assertEquals(-1, list.getSelCount());
            assertEquals(-1, list.getCurSel());
            assertEquals(-1, list.getItemAtPoint(new Point()));
            assertEquals(-1, list.getItemAtPoint(null));
            assertFalse(list.isSelected(0));
            assertEquals("", list.getText(0));
            assertEquals(ZERO, list.getRectangle(0));
        }
    }

    @Test
    void whatIsNoDialogHasRectanglesOfZerosAndNoWindowHasNone() {
        for (long handle : new long[] {0, ROOT, -1}) {
            Rectangle expected = handle == 0 ? null : ZERO;
            assertNull(new Dialog(handle).getParent());
            assertEquals(expected, new Dialog(handle).getOKRectangle());
            assertEquals(expected, new FileDialog(handle).getCancelRectangle());
            assertEquals(expected, new FileDialog(handle).getFileRectangle());
            assertEquals(expected, new DirectoryDialog(handle).getFileRectangle());
            assertTrue(new FileDialog(handle).setFile("file") && new DirectoryDialog(handle).setFile(null));
            assertThrows(StringNotInCodePageException.class, () -> new FileDialog(handle).setFile("\ud800"));
            new ColorDialog(handle).setColor(1, 2, 3);
        }
    }
}
