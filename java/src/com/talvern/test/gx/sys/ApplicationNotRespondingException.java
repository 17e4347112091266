package com.talvern.test.gx.sys;

/** A lock that another process holds was not released in time: that process, mostly the application under test, hangs. */
public class ApplicationNotRespondingException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** An exception without a message. */
    public ApplicationNotRespondingException() {
        super();
    }

    /**
     * An exception with a message.
     *
     * @param message what was waited for and what may help
     */
    public ApplicationNotRespondingException(String message) {
        super(message);
    }
}
