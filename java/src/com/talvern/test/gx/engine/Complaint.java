package com.talvern.test.gx.engine;

import com.talvern.test.gx.sys.NativeLibrary;
import com.talvern.test.gx.sys.graphical.NativeWindow;
import java.nio.charset.StandardCharsets;
import java.util.Map;
import java.util.concurrent.TimeUnit;

/**
 * How exceptions of this package read: what was asked of whom, what came back, and what to do. The same text goes to the
 * native trace, as errors of the component {@code Engine}. Any thread.
 *
 * <p>What was to be typed is not in it, apart from the name of a key that there is not: it may be a password.
 */
public final class Complaint {
    private static final boolean HAS_TRACE = load();
    /** By what the system counts from 128 on when a program has not ended by itself. */
    private static final Map<Integer, String> SIGNALS = Map.ofEntries(Map.entry(1, "SIGHUP"), Map.entry(2, "SIGINT"),
        Map.entry(3, "SIGQUIT"), Map.entry(4, "SIGILL"), Map.entry(5, "SIGTRAP"), Map.entry(6, "SIGABRT"),
        Map.entry(7, "SIGBUS"), Map.entry(8, "SIGFPE"), Map.entry(9, "SIGKILL"), Map.entry(11, "SIGSEGV"),
        Map.entry(13, "SIGPIPE"), Map.entry(14, "SIGALRM"), Map.entry(15, "SIGTERM"));
    private static final int SIGNALLED = 128;
    private static final long STATUS_MS = 1000;

    private Complaint() {}

    /** Without the library there is nothing that could trace, and what needs it says so. */
    private static boolean load() {
        try {
            NativeLibrary.load();
            return true;
        } catch (LinkageError none) {
            return false;
        }
    }

    /**
     * Composes the text of an exception that is thrown now, and traces it.
     *
     * @param asked what was asked, and of whom
     * @param came what came back instead
     * @param remedy what to do; null when the other two say so
     * @return the text
     */
    public static String of(String asked, String came, String remedy) {
        String text = asked + ": " + came + (remedy == null ? "" : "; " + remedy);
        if (HAS_TRACE) {
            trace(text.getBytes(StandardCharsets.UTF_8));
        }
        return text;
    }

    /**
     * How a program ended.
     *
     * @param program null for one that this process has not started
     * @return as in "it has ended with exit status 1"
     */
    public static String ending(Process program) {
        if (program == null || !isKnown(program)) {
            return "it has ended";
        }
        int status = program.exitValue();
        String signal = SIGNALS.get(status - SIGNALLED);
        return "it has ended with exit status " + status + (signal == null ? "" : ", as by " + signal);
    }

    /** Java hears of an exit status on a thread of its own. */
    private static boolean isKnown(Process program) {
        try {
            return program.waitFor(STATUS_MS, TimeUnit.MILLISECONDS);
        } catch (InterruptedException interrupted) {
            Thread.currentThread().interrupt();
            return false;
        }
    }

    /** A window as people know it. */
    static String nameOf(NativeWindow window) {
        String kind = window.nativeGetWindowClassname(); // frames of window managers have none
        return WidgetView.quoted(Windows.caption(window)) + (kind.isEmpty() ? "" : " (" + kind + ")");
    }

    private static native void trace(byte[] text);

    /** Why there is no X server, and what to do; empty while there is one. */
    static native String aboutServer();
}
