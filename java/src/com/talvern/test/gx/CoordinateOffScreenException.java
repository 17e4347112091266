package com.talvern.test.gx;

/** Input was asked for at a point outside of the screen. */
public class CoordinateOffScreenException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** An exception without a message. */
    public CoordinateOffScreenException() {
        super();
    }

    /**
     * An exception with a message.
     *
     * @param message which point; the native layer leaves it empty
     */
    public CoordinateOffScreenException(String message) {
        super(message);
    }
}
