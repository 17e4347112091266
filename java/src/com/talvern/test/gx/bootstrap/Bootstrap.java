package com.talvern.test.gx.bootstrap;

/**
 * Loads classes of the engine for the native layer, which has no class loader of its own once it runs on a thread that
 * native code attached to the JVM.
 */
public final class Bootstrap {
    private static final Bootstrap INSTANCE = new Bootstrap();

    private Bootstrap() {}

    /**
     * The only bootstrap object.
     *
     * @return never null
     */
    public static Bootstrap getBootstrap() {
        return INSTANCE;
    }

    /**
     * Loads and initialises a class by the class loader of this one or, where that does not know it, by the calling
     * thread's context class loader.
     *
     * @param name the class with full stops, such as "com.talvern.test.gx.sys.Mutex"
     * @return the class; null when neither loader finds it or the name is null
     */
    public Class<?> loadClass(String name) {
        if (name == null) {
            return null;
        }
        Class<?> found = find(name, Bootstrap.class.getClassLoader());
        return found != null ? found : find(name, Thread.currentThread().getContextClassLoader());
    }

    private static Class<?> find(String name, ClassLoader loader) {
        try {
            return Class.forName(name, true, loader);
        } catch (ClassNotFoundException absent) {
            return null;
        }
    }
}
