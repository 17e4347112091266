package com.talvern.test.gx;

/** An operation of the native layer has no meaning on Unix; the message, if any, names the Java method. */
public class NotSupportedOnUnixException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** An exception without a message. */
    public NotSupportedOnUnixException() {
        super();
    }

    /**
     * An exception that names the method.
     *
     * @param message the Java method that is not supported, such as "NativeMouse.getCursorPos"
     */
    public NotSupportedOnUnixException(String message) {
        super(message);
    }
}
