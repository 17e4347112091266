package com.talvern.test.gx;

/** Input could not be played back: the target window is missing, hidden, covered or not active, or an argument is wrong. */
public class UnableToPerformActionException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** An exception without a message. */
    public UnableToPerformActionException() {
        super();
    }

    /**
     * An exception with a message.
     *
     * @param message what could not be done; the native layer leaves it empty
     */
    public UnableToPerformActionException(String message) {
        super(message);
    }
}
