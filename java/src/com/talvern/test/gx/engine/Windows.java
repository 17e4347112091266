package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.graphical.Captions;
import com.talvern.test.gx.sys.graphical.NativeTopLevelWindow;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.util.List;

/**
 * What a test asks of windows of any program, in the terms of its user.
 *
 * <pre>{@code
 * Windows.requireServer();
 * for (NativeTopLevelWindow window : new NativeTopLevelWindow(0).getOwnedWindows()) {
 *     System.out.println(Windows.caption(window));
 * }
 * }</pre>
 *
 * <p>What {@link NativeWindow} says about windows that have gone and about threads holds here too.
 */
public final class Windows {
    private Windows() {}

    /**
     * The text in the title bar of a window: its own name, for the frame of a window manager that of the program's window
     * in it, and where it has none the caption that {@link NativeWindow#nativeGetWindowCaption} finds inside of it. That
     * method asks a window inside of a frame for the name of its topmost child first, which some toolkits give to their
     * inner windows, too, and looks no deeper.
     *
     * @param window a program's window or the frame around it, as {@link NativeWindow#nativeGetForeground} has it
     * @return empty when there is none; less the characters that the locale's code set lacks
     */
    public static String caption(NativeWindow window) {
        return Captions.of(window);
    }

    /**
     * The window that a user moves about: the frame that a window manager has drawn around it, or the window itself. Of a
     * window that goes meanwhile it is the last that was found.
     */
    static NativeWindow topOf(NativeWindow window) {
        return new NativeWindow(frameOf(window.getHandle()));
    }

    private static native long frameOf(long window);

    /** Those that a user sees as application windows, the bottom of the stack first. */
    static List<NativeTopLevelWindow> shown() {
        return List.of(new NativeTopLevelWindow(0).getOwnedWindows());
    }

    /**
     * Makes sure that there is an X server to ask: without one every query answers neutrally, as if there were no windows.
     *
     * @throws ApplicationException.NoServer there is none, it refuses this program, or the connection to it is lost; the
     *     native trace has the reason
     */
    public static void requireServer() {
        if (NativeWindow.nativeGetRootNativeWindow().getHandle() == 0) {
            throw noServer();
        }
    }

    static ApplicationException.NoServer noServer() {
        String why = Complaint.aboutServer();
        return new ApplicationException.NoServer(Complaint.of("no X server", why.isEmpty() ? "it did not answer" : why, null));
    }
}
