package com.talvern.test.gx.sys.graphical;

import com.talvern.test.gx.sys.NativeLibrary;

/**
 * What the thread does that follows the pointer while a user points at something on the screen: during a capture, all buttons
 * and motions come here and no program sees them, and the pointer has the shape of a hand.
 *
 * <pre>{@code
 * NativeMouseCaptureThread capture = new NativeMouseCaptureThread();
 * if (capture.startCapture(0, 0)) {
 *     NativeKeyMouseEvent event;
 *     do {
 *         event = capture.getLastEvent();
 *     } while (event != null && event.getKind() != NativeKeyMouseEvent.MOUSE_RELEASE);
 *     capture.stopCapture();
 * }
 * }</pre>
 *
 * <p>There is one capture in a process, whichever object speaks to it. Any thread may begin and end it; one at a time waits for
 * its events. Other threads may meanwhile ask for windows and for the pointer.
 *
 * <p>A capture is meant to begin while the user holds the left button down. The X server would not allow it then, so the
 * button is released in the server, and pressed again once the pointer is captured. The first press that arrives in a capture
 * is taken for that one and is not reported, whichever button it is of. The button stays down until it is released the next
 * time: when the user was not holding it, the test must send the release ({@link NativeKeyMouseEvent#MOUSE_RELEASE}), or a
 * click. When the JVM ends during a capture, it is released.
 */
public class NativeMouseCaptureThread {
    static {
        NativeLibrary.load();
    }

    /** The capture; all objects stand for the same one. */
    public NativeMouseCaptureThread() {}

    /**
     * Begins a capture.
     *
     * @param window ignored: what is captured is the whole screen
     * @param cursor the kind of pointer to show; on Unix all are the same hand
     * @return false when the mouse is captured already, another program has grabbed the pointer, as one does that has a menu
     *     open, or there is no X server, or one without the XTest extension. Where another program had the pointer, the left
     *     button has been released in the server and stays so
     */
    public native boolean startCapture(long window, int cursor);

    /**
     * Ends the capture and drops events that nobody has fetched. A thread that waits for one returns within some 20
     * milliseconds. The left button stays as it is in the server. Nothing happens when the mouse is not captured.
     */
    public native void stopCapture();

    /**
     * Waits for the next event: {@link NativeKeyMouseEvent#MOUSE_PRESS}, {@link NativeKeyMouseEvent#MOUSE_RELEASE} or {@link
     * NativeKeyMouseEvent#MOVE}, with the number of the button as its {@linkplain NativeKeyMouseEvent#getModifiers modifiers}
     * and without windows. The wheel and further buttons are skipped. Any other event of the X server counts as a move to where
     * the pointer is.
     *
     * @return null when the capture has ended or has not begun
     */
    public native NativeKeyMouseEvent getNextEvent();

    /**
     * Waits like {@link #getNextEvent} and passes over all events but the last one that has come by then: for a caller who
     * wants to know where the pointer is, not how it got there.
     *
     * @return null when the capture has ended or has not begun
     */
    public native NativeKeyMouseEvent getLastEvent();
}
