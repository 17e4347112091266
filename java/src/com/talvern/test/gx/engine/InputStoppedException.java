package com.talvern.test.gx.engine;

/** Input was ended before its time: by the user, with the stop hot key, or by an interrupt of the thread that played it. */
public final class InputStoppedException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    InputStoppedException(String message) {
        super(message);
    }
}
