package com.talvern.test.gx;

/** A string has a character that the code set of the native layer's locale lacks. */
public class StringNotInCodePageException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** An exception without a message. */
    public StringNotInCodePageException() {
        super();
    }

    /**
     * An exception with a message.
     *
     * @param message the whole string
     */
    public StringNotInCodePageException(String message) {
        super(message);
    }
}
