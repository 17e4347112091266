import com.talvern.test.gx.sys.graphical.NativeWindow;

/** Calls native methods in loops that the JVM compiles, as an engine's code would be. */
public final class JniCalls {
    /** Does nothing: what any call into native code costs. Registered by the benchmark. */
    public native int empty();

    /** An exported method that reads the window's handle and asks nobody. */
    public static int controlIds(NativeWindow window, int calls) {
        int sum = 0;
        for (int i = 0; i < calls; i++) {
            sum += window.nativeGetCtrlId();
        }
        return sum;
    }

    public static int empties(JniCalls object, int calls) {
        int sum = 0;
        for (int i = 0; i < calls; i++) {
            sum += object.empty();
        }
        return sum;
    }
}
