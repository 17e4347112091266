package com.talvern.test.gx.sys.graphical;

/**
 * A turn of a scroll bar. X windows have no scroll bars that anybody but their program could turn, so emitting one is
 * accepted and does nothing; turn the wheel instead (kind {@link NativeKeyMouseEvent#WHEEL}).
 */
public class ScrollEvent extends Event {
    private final NativeWindow window;
    private final int orientation;
    private final int position;
    private final int minimum;
    private final int maximum;

    /**
     * A turn of a scroll bar.
     *
     * @param window the window of the scroll bar; null for none
     * @param orientation 1 horizontal, 2 vertical
     * @param position where the bar shall stand
     * @param minimum least position
     * @param maximum greatest position
     */
    public ScrollEvent(NativeWindow window, int orientation, int position, int minimum, int maximum) {
        this.window = window;
        this.orientation = orientation;
        this.position = position;
        this.minimum = minimum;
        this.maximum = maximum;
    }

    /**
     * Returns the window of the scroll bar.
     *
     * @return null for none
     */
    public NativeWindow getWindow() {
        return window;
    }

    /**
     * Returns the direction of the bar.
     *
     * @return 1 horizontal, 2 vertical
     */
    public int getOrientation() {
        return orientation;
    }

    /**
     * Returns where the bar shall stand.
     *
     * @return between {@link #getMinimum()} and {@link #getMaximum()}
     */
    public int getPosition() {
        return position;
    }

    /**
     * Returns the least position.
     *
     * @return the least position
     */
    public int getMinimum() {
        return minimum;
    }

    /**
     * Returns the greatest position.
     *
     * @return the greatest position
     */
    public int getMaximum() {
        return maximum;
    }

    /** Accepts the event and does nothing. */
    public native void emit();
}
