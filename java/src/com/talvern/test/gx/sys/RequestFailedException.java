package com.talvern.test.gx.sys;

/** The receiver of a mailslot got the message and could not handle it. */
public class RequestFailedException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /**
     * An exception with a message.
     *
     * @param message what the receiver said
     */
    public RequestFailedException(String message) {
        super(message);
    }
}
