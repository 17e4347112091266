package com.talvern.test.gx.sys.graphical;

/** The X server cannot play back input: it lacks the XTEST extension, or there is none, or it has gone. */
public class UnsupportedXServerException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** An exception without a message. */
    public UnsupportedXServerException() {
        super();
    }

    /**
     * An exception with a message.
     *
     * @param message what is missing; the native layer leaves it empty
     */
    public UnsupportedXServerException(String message) {
        super(message);
    }
}
