package com.talvern.test.gx.application;

/**
 * Something that works inside the application under test while that runs: the request server of the engine, and what
 * jars on {@code CLASSPATH} add. Services are found by {@link java.util.ServiceLoader}; such a jar names its class in
 * {@code META-INF/services/com.talvern.test.gx.application.ApplicationService}.
 *
 * <p>The process is the application's. A service uses daemon threads only, never calls {@link System#exit} and writes
 * nothing to the application's standard output or error.
 */
public interface ApplicationService {
    /**
     * Starts the service. Called once, on the GUI thread, from the toolkit's main loop; the application waits
     * meanwhile, so threads should do what takes long. What is thrown ends this service alone.
     *
     * @param gui leads to the GUI thread from any other thread
     * @throws Exception the service cannot start
     */
    void start(GuiThread gui) throws Exception;

    /**
     * Called on a thread of its own when the application exits. The application waits 300 ms at most for all services
     * together; native code of the library must not be called any more afterwards.
     */
    void stop();
}
