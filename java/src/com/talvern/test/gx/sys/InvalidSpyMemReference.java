package com.talvern.test.gx.sys;

/** An object names a block of shared memory that does not exist, or not any more. */
public class InvalidSpyMemReference extends RuntimeException {
    private static final long serialVersionUID = 1L;

    /** An exception without a message. */
    public InvalidSpyMemReference() {
        super();
    }

    /**
     * An exception with a message.
     *
     * @param message the block that was named
     */
    public InvalidSpyMemReference(String message) {
        super(message);
    }
}
