package com.talvern.test.gx.engine;

/** A widget could not be found or used as it was asked for. The subclasses say why; nothing was pressed or typed. */
public class WidgetException extends ApplicationException {
    private static final long serialVersionUID = 1L;

    WidgetException(String message) {
        super(message, null);
    }

    /** There is no such widget, or window, within the time; the message tells what there is, the nearest first. */
    public static final class NotFound extends WidgetException {
        private static final long serialVersionUID = 1L;

        NotFound(String message) {
            super(message);
        }
    }

    /** More than one matches where one was asked for; the message lists them. */
    public static final class Ambiguous extends WidgetException {
        private static final long serialVersionUID = 1L;

        Ambiguous(String message) {
            super(message);
        }
    }

    /** It is hidden, disabled, out of sight or in motion, or is no widget for that. */
    public static final class NotReady extends WidgetException {
        private static final long serialVersionUID = 1L;

        NotReady(String message) {
            super(message);
        }
    }

    /** Something else lies where it would be pressed, or takes the press away; the message names that. */
    public static final class Covered extends WidgetException {
        private static final long serialVersionUID = 1L;

        Covered(String message) {
            super(message);
        }
    }

    /** It has not become what was waited for; the message tells what it is. */
    public static final class NotSo extends WidgetException {
        private static final long serialVersionUID = 1L;

        NotSo(String message) {
            super(message);
        }
    }
}
