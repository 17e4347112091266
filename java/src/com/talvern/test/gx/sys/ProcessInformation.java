package com.talvern.test.gx.sys;

/**
 * What is known of a program that {@link OperatingSystem#exec} started. The native layer fills the fields, and takes the
 * process id from them; an engine may make such an object for a child of another origin.
 */
public class ProcessInformation {
    /** The process id; -1 when nothing was started. */
    public int processId;
    /** Low half of the creation time; always 0 on Unix. */
    public int creationTimeLow;
    /** High half of the creation time; always 0 on Unix. */
    public int creationTimeHigh;
    /** The exit status, 0 to 255, once a wait has seen the program exit; 0 before, and when a signal ended it. */
    public int exitCode;
    /**
     * Why nothing was started, or, for a program that a signal ended, the C library's error text with the number of that
     * signal: "Bad file descriptor" stands for 9, SIGKILL. Null or empty when there is nothing to say.
     */
    public String errorMessage;
    /** Whether the last question found no such process; never cleared by the native layer. */
    public boolean noProcess;

    /** Nothing known yet. */
    public ProcessInformation() {}
}
