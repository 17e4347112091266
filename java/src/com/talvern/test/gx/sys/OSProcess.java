package com.talvern.test.gx.sys;

/**
 * A process of this machine that can be ended.
 *
 * <pre>{@code
 * Process sleeper = new ProcessBuilder("sleep", "1000").start();
 * new OSProcess((int) sleeper.pid()).kill();
 * System.out.println(ProcessHandle.of(sleeper.pid()).isPresent()); // false
 * }</pre>
 */
public class OSProcess {
    static {
        NativeLibrary.load();
    }

    /** The process id; 0 and below stand for no process. Read and, for the current process, set by the native layer. */
    private int processId;

    /** No process. The native layer makes the current process of it. */
    public OSProcess() {}

    /**
     * The process with an id.
     *
     * @param processId such as {@link ProcessInformation#processId}; nothing is done to ids of 0 and below
     */
    public OSProcess(int processId) {
        this.processId = processId;
    }

    /**
     * The id.
     *
     * @return the process id; 0 and below stand for no process
     */
    public int getProcessId() {
        return processId;
    }

    /**
     * Asks the process to end (SIGTERM) and waits until it is gone, at most five seconds, counted by the wall clock in
     * whole ones (set forward, it ends the wait early; set back, it lengthens it). No stronger signal is sent.
     *
     * <p>What {@link OperatingSystem#exec} starts has SIGTERM blocked, and so has everything that it starts in turn:
     * such a process survives, and this call lasts its five seconds, unless the program unblocks the signal. A program
     * that has ended but was not waited for still counts as a process until the library, the JVM or its parent has
     * taken note of its end.
     *
     * <p>Nothing happens when there is no such process or it belongs to another user.
     */
    public native void kill();
}
