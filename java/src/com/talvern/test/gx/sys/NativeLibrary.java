package com.talvern.test.gx.sys;

/**
 * Loads the native layer. Every class with native methods calls {@link #load()} in its static initialiser:
 *
 * <pre>{@code
 * public class Extension {
 *     static {
 *         NativeLibrary.load();
 *     }
 * }
 * }</pre>
 *
 * <p>The library opens a connection to the X server of the environment variable {@code DISPLAY} when it is loaded.
 * Without a server it loads all the same: windows are then not found, and input fails. AWT is not touched, so a headless
 * JVM works as well.
 */
public final class NativeLibrary {
    /** System property with the absolute path of the library, for use instead of {@code java.library.path}. */
    public static final String PATH_PROPERTY = "com.talvern.test.gx.library";

    private static boolean loaded;

    private NativeLibrary() {}

    /**
     * Loads the library unless it is loaded already: the file that {@link #PATH_PROPERTY} names, else
     * {@code libgxsys.so} from {@code java.library.path}. Any thread.
     *
     * @throws UnsatisfiedLinkError there is no such library, or what it needs is missing
     */
    public static synchronized void load() {
        if (loaded) {
            return;
        }
        String path = System.getProperty(PATH_PROPERTY);
        if (path != null && !path.isEmpty()) {
            System.load(path);
        } else {
            System.loadLibrary("gxsys");
        }
        loaded = true;
    }
}
