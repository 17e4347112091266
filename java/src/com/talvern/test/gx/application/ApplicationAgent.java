package com.talvern.test.gx.application;

import com.talvern.test.gx.domain.ThreadChannel;
import java.io.File;
import java.io.IOException;
import java.io.OutputStream;
import java.io.PrintStream;
import java.nio.file.Path;
import java.util.Deque;
import java.util.Iterator;
import java.util.ServiceConfigurationError;
import java.util.ServiceLoader;
import java.util.concurrent.ConcurrentLinkedDeque;
import java.util.stream.Stream;

/**
 * The Java side of an application under test. {@code libgxagent.so} starts it on the application's GUI thread once the
 * toolkit's main loop runs, and stops it when the application exits.
 */
public final class ApplicationAgent {
    private static final Deque<ApplicationService> STARTED = new ConcurrentLinkedDeque<>();
    private static volatile GuiThread gui;

    private ApplicationAgent() {}

    /**
     * Takes the calling thread for the GUI thread and starts the services.
     *
     * @param threadId its native id
     * @param spyPort the spy port that serves it
     * @param ownsJvm whether the JVM was made for the agent: its standard output and error are the application's then,
     *     and what Java code writes to them is dropped
     * @return null, or what kept the last of those services from starting that did not start
     */
    static String start(long threadId, long spyPort, boolean ownsJvm) {
        if (ownsJvm) {
            System.setOut(new PrintStream(OutputStream.nullOutputStream()));
            System.setErr(new PrintStream(OutputStream.nullOutputStream()));
        }
        gui = new GuiThread(new ThreadChannel(threadId, spyPort));
        Descriptors.noteOpen();
        keepFilesFromChildren();
        String failure = startServices();
        Descriptors.closeOwnOnExec();
        return failure;
    }

    private static String startServices() {
        String failure = null;
        for (Iterator<ApplicationService> services = services(); ; ) {
            try {
                if (!services.hasNext()) {
                    return failure;
                }
                start(services.next());
            } catch (Exception | ServiceConfigurationError | LinkageError thrown) {
                failure = thrown.toString();
            }
        }
    }

    /** The JVM has its own files open in a way that they reach the programs that this one starts. */
    private static void keepFilesFromChildren() {
        Stream.concat(Stream.of(System.getProperty("java.home") + "/lib/modules"),
            Stream.of(System.getProperty("java.class.path").split(File.pathSeparator))).forEach(file -> {
                try {
                    Descriptors.closeOnExec(Path.of(file).toRealPath().toString());
                } catch (IOException absent) {
                    // then it is not open either
                }
            });
    }

    private static Iterator<ApplicationService> services() {
        return ServiceLoader.load(ApplicationService.class, ApplicationAgent.class.getClassLoader())
                .iterator();
    }

    private static void start(ApplicationService service) throws Exception {
        service.start(gui);
        STARTED.push(service);
    }

    /** Fails the calls that wait for the GUI thread and stops the services, the last one first. */
    static void stop() {
        gui.end();
        for (ApplicationService service = STARTED.poll(); service != null; service = STARTED.poll()) {
            try {
                service.stop();
            } catch (RuntimeException | LinkageError itsOwn) {
                continue; // the others have to stop all the same
            }
        }
    }
}
