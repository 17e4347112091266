package com.talvern.test.gx.sys;

import com.talvern.test.gx.NotSupportedOnUnixException;

/**
 * The operating system: programs are started and waited for, the environment is read and changed, the product's
 * directories are found.
 *
 * <pre>{@code
 * ProcessInformation program = OperatingSystem.exec("sh -c 'sleep 1; exit 3'", "/tmp", null, null, false);
 * if (program.processId == -1) {
 *     throw new IOException(program.errorMessage);
 * }
 * if (OperatingSystem.wait(program) == 1) {
 *     System.out.println("ended with status " + program.exitCode); // ended with status 3
 * }
 * }</pre>
 *
 * <p>Every method may be called from any thread; texts are converted to the code set of the locale, and a text that has
 * no form in it raises {@link com.talvern.test.gx.StringNotInCodePageException}. The engine shares this class with other
 * platforms. What has no meaning on Unix accepts any argument, and either answers a fixed value or raises
 * {@link NotSupportedOnUnixException} without a message; each method says which.
 *
 * <h2>Children and {@code java.lang.Process}</h2>
 *
 * <p>{@link #exec} makes SIGCHLD the library's own. From then on whoever ends as a child of this JVM is reaped by the
 * library's handler, programs started by {@link ProcessBuilder} as well. Two things follow:
 * <ul>
 *   <li>A {@link #wait} or {@link #waitWithTimeout} that is under way when its program ends learns how it ended, in
 *       whatever thread, and however many wait for the same program. One that begins later finds a program that nobody
 *       knows any more: it answers 0 and sets {@link ProcessInformation#noProcess}, and the exit status is lost. Both
 *       answers mean that the program has ended.
 *   <li>{@link Process#waitFor} may answer 0 for a program that failed, since the handler may reap it before the JVM does.
 *       An engine that needs the exit status of {@link ProcessBuilder} programs should not mix the two, or have the
 *       program write its status to a file.
 * </ul>
 * The JVM takes SIGCHLD back when {@link ProcessBuilder} is used for the first time, and the next {@code exec} takes it
 * again.
 */
public final class OperatingSystem {
    static {
        NativeLibrary.load();
    }

    private OperatingSystem() {}

    // Programs

    /**
     * Starts a program by {@code /bin/sh -c "exec COMMAND"} and does not wait for its end.
     *
     * <p>The program inherits this JVM's environment, as {@link #setenv} and {@link #unsetenv} left it, without
     * {@code JAVA_MAIN_VM}. When the list in {@code TALVERN_GX_JRE} (separator ":") names an existing path, the library
     * directories of that JRE stand before {@code LD_LIBRARY_PATH}. The program has SIGTERM blocked, and so has all that
     * it starts in turn: {@link OSProcess#kill} does not end it unless it unblocks the signal.
     *
     * @param command a command of the shell with its arguments, quoted for the shell; only its first 1023 bytes count
     * @param workingDir where the program starts; null or empty for the directory of this JVM
     * @param stdoutPath file that standard output is appended to, made when it is missing; relative to the directory of
     *     this JVM; null or empty: /dev/null, or, with {@code keepFds}, this JVM's standard output
     * @param stderrPath the same for standard error
     * @param keepFds true: the program inherits every open descriptor that is not marked close-on-exec, some of
     *     this JVM's files among them; false: only standard input and the two outputs
     * @return always an object. Its process id is -1 when nothing was started, and its error message says why: no
     *     command, a directory that cannot be entered, an output that cannot be opened, no process or memory to be had,
     *     an environment that is too large. A command that the shell does not find or may not run counts as started and
     *     ends with exit status 127 or 126.
     */
    public static native ProcessInformation exec(String command, String workingDir, String stdoutPath,
            String stderrPath, boolean keepFds);

    /**
     * Waits until a child has ended, however long that takes, and keeps a processor busy meanwhile; see
     * {@link #waitWithTimeout} for a wait that does not.
     *
     * @param process the child; null is none
     * @return 1 when it has ended: its exit status is stored in {@code exitCode}, or the text for the signal that ended
     *     it in {@code errorMessage}; 0 when there is no such child, or none any more when the wait begins:
     *     {@code noProcess} is set then
     */
    public static native int wait(ProcessInformation process);

    /**
     * Waits until a child has ended, but not longer than <em>half</em> the limit: 1000 waits 500 milliseconds.
     *
     * @param process the child; null is none
     * @param timeoutMs the limit in milliseconds; -1 for 120 seconds (so a wait of 60). The environment variable
     *     {@code TALVERN_EXEC_MAX_WAIT_TIME}, when set, replaces it by that many seconds.
     * @return as {@link #wait}, and 1 with nothing stored when the time is over
     */
    public static native int waitWithTimeout(ProcessInformation process, int timeoutMs);

    /**
     * Whether a process exists and may be sent signals. Clears its error message; sets {@code noProcess} when the answer
     * is no. A program that has ended exists until somebody has reaped it.
     *
     * @param process the process; null is none
     * @return whether it exists
     */
    public static native boolean isAlive(ProcessInformation process);

    /**
     * This JVM.
     *
     * @return a new object with the process id of this JVM
     */
    public static native OSProcess getCurrentProcess();

    /**
     * The calling thread as the system knows it.
     *
     * @return the identifier of the POSIX thread (pthread_self): unique among the living threads of this process
     */
    public static native long getCurrentThreadId();

    /**
     * The parent of a process.
     *
     * @param pid a process id
     * @return the process id of its parent; 0 for the first process; -1 when there is no such process
     */
    public static native int getppid(int pid);

    // The system and the environment

    /**
     * The system's name, release and version.
     *
     * @return such as "Linux 5.10.0 #1 SMP"; null when the system does not say
     */
    public static native String getVersion();

    /**
     * A variable of the environment as it is now; {@link System#getenv(String)} knows what it was when the JVM started.
     *
     * @param name its name; null is not set
     * @return its value; null when it is not set
     */
    public static native String getEnvironment(String name);

    /**
     * As {@link #getEnvironment}.
     *
     * @param name its name; null is not set
     * @return its value; null when it is not set
     */
    public static native String getenvNative(String name);

    /**
     * Sets a variable for this process and the programs that it starts by {@link #exec}. {@link System#getenv(String)} and
     * {@link ProcessBuilder} do not see it. The methods of this class may be used by many threads at once, and while other
     * native code reads the environment; native code that changes it at the same moment is in danger.
     *
     * @param name its name; nothing happens when it is null, empty or has a "="
     * @param value its value; nothing happens when it is null
     */
    public static native void setenv(String name, String value);

    /**
     * Removes a variable; nothing happens when it is not set.
     *
     * @param name its name
     */
    public static native void unsetenv(String name);

    /**
     * Whether this process may write to a file or a directory that exists.
     *
     * @param path the file; null is none
     * @return whether it exists and may be written
     */
    public static native boolean isFileWriteable(String path);

    /**
     * Copies a file with its permissions and times. At every moment the target is the old file or the complete new one.
     * Symbolic links are followed.
     *
     * @param from a file; anything else is refused
     * @param to its copy; replaced when it is a file, refused when it is a directory, a device or a pipe
     * @return whether the copy stands; a copy of a file to itself changes nothing and succeeds
     */
    public static native boolean copyFile(String from, String to);

    /**
     * Moves a file, to another file system if need be, with its permissions and times. At every moment the target is the
     * old file or the complete new one.
     *
     * @param from a file, or, within a file system, a symbolic link, which is moved itself; anything else is refused
     * @param to its new name; replaced when it is a file or a symbolic link, refused when it is anything else
     * @return whether the file has its new name and the old one is gone; a move to itself changes nothing and succeeds
     */
    public static native boolean moveFile(String from, String to);

    /**
     * Says what this process is, for the native layer and its companions.
     *
     * @param sut whether this process is the system under test
     * @param recordMode whether recording is in progress
     */
    public static native void setSUTVars(boolean sut, boolean recordMode);

    // Browsers

    /**
     * As {@link #getAllBrowsers(String)} for the whole file system. That takes seconds.
     *
     * @return the browsers' programs; null when there are none
     */
    public static native String getAllBrowsers();

    /**
     * Finds the browsers below a directory: files named "mozilla-bin", "netscape-bin" or "firefox-bin" beside which
     * stands a "regxpcom" that is a symbolic link to something that exists. Links to directories are not followed; what
     * may not be read is left out, and so are /proc, /sys and /dev.
     *
     * @param directory where to start; empty for the whole file system
     * @return the paths of the programs, beginning with {@code directory} as it was given, in order, one a line: a line
     *     feed stands between two of them and none at the end; null when there are none, or {@code directory} is null
     */
    public static native String getAllBrowsers(String directory);

    /**
     * Prepares a browser for tests: writes the file "defaults/pref/gx-testing.js" below its directory, by which browsers
     * started from now on offer their controls to other programs and ask nothing at their start.
     * {@link #MozillaDisable} undoes it; no other file is touched.
     *
     * @param directory the browser's installation: it has one of the programs named at {@link #getAllBrowsers(String)}
     *     and a directory "defaults/pref"
     * @return whether the file stands there now; false when that is no such directory or may not be written
     */
    public static native boolean MozillaEnable(String directory);

    /**
     * Undoes {@link #MozillaEnable}.
     *
     * @param directory the browser's installation
     * @return whether the file is not there any more, or never was; false when that is no installation, or the file may
     *     not be removed
     */
    public static native boolean MozillaDisable(String directory);

    // Directories of the product; an empty value, or one of 512 bytes and more, counts as missing.

    /**
     * The product's install directory: the first existing path of the list in {@code QUESSA_TALVERN_VTX_INSTALL_DIR} or,
     * when that is unset, {@code TALVERN_GX_INSTALL_DIRECTORY} (separator ":"). Looking for it cuts the variable after the
     * list's first path; when none of the paths is left then, the directory that the native layer has found before holds.
     *
     * @return the directory; null when there is none
     */
    public static native String getMarloInstallNative();

    /**
     * The value of {@code TALV_PLHOME}.
     *
     * @return the directory; null when it is missing
     */
    public static native String getPlandeckInstallNative();

    /**
     * The value of {@code TALVERN_GX_CUSTOMIZATION_DIRECTORY}.
     *
     * @return the directory; null when it is missing
     */
    public static native String getCustomizationDirNative();

    /**
     * The value of {@code TALVERN_GX_CONFIGURATION_DIRECTORY}.
     *
     * @return the directory; null when it is missing
     */
    public static native String getConfigurationDirNative();

    /**
     * The value of {@code VTX_INPUT_FILES}.
     *
     * @return the value; null when it is missing
     */
    public static native String getInputFiles();

    /**
     * The value of {@code QUESSA_TALVERN_VTX_ECLIPSE_DIR}.
     *
     * @return the directory; null when it is missing
     */
    public static native String getEclipseDirNative();

    /**
     * The value of {@code TALVERN_GX_JRE}: a list of directories (separator ":").
     *
     * @return the whole list; null when it is missing
     */
    public static native String getDefaultJRENative();

    /**
     * As {@link #getDefaultJRENative}.
     *
     * @return the whole list; null when it is missing
     */
    public static native String getPlaybackJRENative();

    /**
     * As {@link #getEclipseDirNative}.
     *
     * @return the directory; null when it is missing
     */
    public static native String getIdeDir();

    // Fixed answers on Unix

    /**
     * The Java plug-in of a browser; not known on Unix.
     *
     * @return null
     */
    public static native String getBrowserJavaPluginFilePath();

    /**
     * The level of the log viewer; there is none on Unix.
     *
     * @return -1
     */
    public static native int getViewLog();

    /**
     * Does nothing on Unix.
     *
     * @param level ignored
     */
    public static native void setViewLog(int level);

    /**
     * Whether this is that other platform.
     *
     * @return false
     */
    public static native boolean isMSWindows();

    /**
     * Opens a document by its type; does nothing on Unix.
     *
     * @param command ignored
     * @return false
     */
    public static native boolean shellExecute(String command);

    /**
     * Whether the companion product is registered; there is no registry on Unix. See {@link #getPlandeckInstallNative}.
     *
     * @return false
     */
    public static native boolean isPlandeckInstalled();

    /**
     * The registered browsers; there is no registry on Unix. See {@link #getAllBrowsers(String)}.
     *
     * @return null
     */
    public static native String getBrowsers();

    /**
     * The registered Java run times; there is no registry on Unix. See {@link #getDefaultJRENative}.
     *
     * @return null
     */
    public static native String getJREs();

    /**
     * Whether a library is a .NET assembly; there are none on Unix.
     *
     * @param path ignored
     * @return false
     */
    public static native boolean isDllNetAssembly(String path);

    /**
     * Changes the priority of the calling thread; does nothing on Unix.
     *
     * @param priority ignored
     * @return -1
     */
    public static native int setThreadPriority(int priority);

    /** Gives memory back to the system; does nothing on Unix. */
    public static native void trimCurrentProcessWorkingSetSize();

    // Not supported on Unix

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native int getLowLevelHooksTimeout();

    /**
     * Not supported on Unix.
     *
     * @param timeout ignored
     * @throws NotSupportedOnUnixException always
     */
    public static native void setLowLevelHooksTimeout(int timeout);

    /**
     * Not supported on Unix.
     *
     * @param key ignored
     * @param name ignored
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native String getRegistryValue(String key, String name);

    /**
     * Not supported on Unix.
     *
     * @param key ignored
     * @param name ignored
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native int getRegistryIntValue(String key, String name);

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native boolean isIEEnabled();

    /**
     * Not supported on Unix.
     *
     * @throws NotSupportedOnUnixException always
     */
    public static native void disableIE();

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native String getIEEnabler();

    /**
     * Not supported on Unix.
     *
     * @param timeout ignored
     * @throws NotSupportedOnUnixException always
     */
    public static native void setForegroundLockTimeout(int timeout);

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native int getForegroundLockTimeout();

    /**
     * Not supported on Unix.
     *
     * @param path ignored
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native boolean deleteFileOnReboot(String path);

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native String getCommonAppDataPath();

    /**
     * Not supported on Unix.
     *
     * @param path ignored
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native String getShortPathName(String path);

    /**
     * Not supported on Unix.
     *
     * @param pid ignored
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native String getProcessName(int pid);

    /**
     * Not supported on Unix.
     *
     * @return never
     * @throws NotSupportedOnUnixException always
     */
    public static native Object[] getProcessList();

    /**
     * Not supported on Unix.
     *
     * @throws NotSupportedOnUnixException always
     */
    public static native void broadcastEvent();
}
