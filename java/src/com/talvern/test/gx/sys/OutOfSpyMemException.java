package com.talvern.test.gx.sys;

/** The memory that the processes share cannot meet a request: it is full, or it cannot be reached at all. */
public class OutOfSpyMemException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** An exception without a message. */
    public OutOfSpyMemException() {
        super();
    }

    /**
     * An exception with a message.
     *
     * @param message what was asked for
     */
    public OutOfSpyMemException(String message) {
        super(message);
    }
}
