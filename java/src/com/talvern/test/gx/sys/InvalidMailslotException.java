package com.talvern.test.gx.sys;

/** There is no mailslot of that name, or not any more. */
public class InvalidMailslotException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** An exception without a message. */
    public InvalidMailslotException() {
        super();
    }

    /**
     * An exception with a message.
     *
     * @param message names the mailslot
     */
    public InvalidMailslotException(String message) {
        super(message);
    }
}
