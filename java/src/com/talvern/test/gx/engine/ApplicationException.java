package com.talvern.test.gx.engine;

/** An application under test did not do what it was asked for. The subclasses say why. */
public class ApplicationException extends RuntimeException {
    private static final long serialVersionUID = 1L;

    ApplicationException(String message, Throwable cause) {
        super(message, cause);
    }

    /** The program runs, or has run, without an agent: there is nobody in it to ask. */
    public static final class NoAgent extends ApplicationException {
        private static final long serialVersionUID = 1L;

        NoAgent(String message) {
            super(message, null);
        }
    }

    /** There is no X server to show the application on. */
    public static final class NoServer extends ApplicationException {
        private static final long serialVersionUID = 1L;

        NoServer(String message) {
            super(message, null);
        }
    }

    /** The application has ended, crashed or was killed. */
    public static final class Ended extends ApplicationException {
        private static final long serialVersionUID = 1L;

        Ended(String message, Throwable cause) {
            super(message, cause);
        }
    }

    /** The application runs and has not answered in time, or has not shown what was waited for. */
    public static final class NotInTime extends ApplicationException {
        private static final long serialVersionUID = 1L;

        NotInTime(String message, Throwable cause) {
            super(message, cause);
        }
    }

    /** What was to be used is disabled: a click on it would do nothing. */
    public static final class Disabled extends ApplicationException {
        private static final long serialVersionUID = 1L;

        Disabled(String message) {
            super(message, null);
        }
    }

    /** The application answered that the request failed in it. */
    public static final class Failed extends ApplicationException {
        private static final long serialVersionUID = 1L;

        Failed(String message, Throwable cause) {
            super(message, cause);
        }
    }
}
