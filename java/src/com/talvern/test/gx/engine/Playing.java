package com.talvern.test.gx.engine;

import com.talvern.test.gx.CoordinateOffScreenException;
import com.talvern.test.gx.UnableToPerformActionException;
import com.talvern.test.gx.sys.graphical.NativeMouse;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import com.talvern.test.gx.sys.graphical.UnsupportedXServerException;
import java.awt.Rectangle;
import java.util.function.Supplier;

/** Plays input by natives, whose exceptions have no message, and says what it was that could not be played. */
final class Playing {
    private static final String REMEDY = "the native trace says more";

    private Playing() {}

    /**
     * Plays input of the mouse.
     *
     * @param what as in "a click at 10,20"
     * @throws RuntimeException that of the native, with a message
     */
    static void mouse(String what, Runnable event) {
        play(what, event, () -> "at the pointer is " + windowAtPointer());
    }

    /** Plays input of the keyboard, as {@link #mouse}. */
    static void keys(String what, Runnable event) {
        play(what, event, () -> "keys go to " + name(NativeWindow.nativeGetForeground()));
    }

    private static void play(String what, Runnable event, Supplier<String> where) {
        try {
            event.run();
        } catch (CoordinateOffScreenException off) {
            throw isExplained(off) ? off : because(off, new CoordinateOffScreenException(Complaint.of(what,
                "the point lies outside of the screen, which is " + size(), "give a point on it")));
        } catch (UnsupportedXServerException none) {
            throw isExplained(none) ? none : because(none, new UnsupportedXServerException(Complaint.of(what,
                whyNoInput(), "gx doctor says more")));
        } catch (UnableToPerformActionException refused) {
            throw isExplained(refused) ? refused : because(refused, new UnableToPerformActionException(
                Complaint.of(what, "it was not played, or not all of it: the window that it is for is hidden, covered or"
                    + " elsewhere, or another process has kept the input to itself; " + where.get(), REMEDY)));
        }
    }

    private static boolean isExplained(RuntimeException failure) {
        return failure.getMessage() != null && !failure.getMessage().isEmpty();
    }

    private static <T extends RuntimeException> T because(RuntimeException cause, T failure) {
        failure.initCause(cause);
        return failure;
    }

    private static String size() {
        Rectangle screen = NativeWindow.nativeGetRootNativeWindow().nativeGetRectangle();
        return screen.width + " by " + screen.height + " pixels";
    }

    private static String whyNoInput() {
        String gone = Complaint.aboutServer();
        return gone.isEmpty() ? "the X server " + System.getenv("DISPLAY") + " lacks the extension XTEST" : gone;
    }

    private static String windowAtPointer() {
        NativeWindow window = NativeWindow.nativeWindowAtPoint(new NativeMouse().getCursorPos());
        return name(window == null ? null : Windows.topOf(window));
    }

    private static String name(NativeWindow window) {
        boolean isNone = window == null || window.getHandle() == 0
            || window.getHandle() == NativeWindow.nativeGetRootNativeWindow().getHandle();
        return isNone ? "no window" : "the window " + Complaint.nameOf(window);
    }
}
