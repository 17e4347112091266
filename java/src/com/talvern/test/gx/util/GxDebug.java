package com.talvern.test.gx.util;

import com.talvern.test.gx.sys.NativeLibrary;

/**
 * Settings of the native layer's log and trace, for the running process only: the user's preference file
 * {@code $HOME/Quessa/ZEMO/vtx_log_trace.properties}, which gives their first values, is not changed.
 *
 * <p>A level is 0 (configuration), 1 (detail), 2 (information), 3 (audit), 4 (warning), 5 (error), 6 (severe) or 7
 * (fatal). A message is written when its level is at least the threshold of its component; a component without a
 * threshold of its own has that of the component {@code native}, and failing that the global one. The native layer's
 * own components are {@code Native} and {@code JNI}.
 *
 * <p>A message finds the threshold of its component in upper or lower case. Yet each spelling that was given is kept, by
 * the preferences and by the methods below, and the last in the order of characters counts, where small letters follow
 * the capitals. The preferences that are written on first use have {@code native}: for the component {@code Native},
 * then, set {@code native}; {@code Native} has no effect beside it.
 *
 * <p>Any thread may call these methods; they do not block.
 */
public final class GxDebug {
    static {
        NativeLibrary.load();
    }

    private GxDebug() {}

    /**
     * Sets the global threshold of the log.
     *
     * @param level 0 to 7; any other value is ignored
     */
    public static native void LogSetLevelN(int level);

    /**
     * Sets the global threshold of the trace.
     *
     * @param level 0 to 7; any other value is ignored
     */
    public static native void TraceSetLevelN(int level);

    /**
     * The global threshold of the log.
     *
     * @return the level of {@link #LogSetLevelN} or of the preferences; 4 when neither gave one
     */
    public static native int LogGetLevelN();

    /**
     * The global threshold of the trace.
     *
     * @return the level of {@link #TraceSetLevelN} or of the preferences; 4 when neither gave one
     */
    public static native int TraceGetLevelN();

    /**
     * Sets the size above which the log file is renamed and begun anew.
     *
     * @param kib size in KiB; 0 is ignored
     */
    public static native void LogSetFileSizeLimitN(int kib);

    /**
     * Sets the size limit of the <em>log</em> file, as {@link #LogSetFileSizeLimitN} does; that of the trace comes from
     * the preferences only.
     *
     * @param kib size in KiB; 0 is ignored
     */
    public static native void TraceSetFileSizeLimitN(int kib);

    /**
     * The size above which the log file is renamed and begun anew.
     *
     * @return size in KiB
     */
    public static native int LogGetFileSizeLimitN();

    /**
     * The size above which the trace file is renamed and begun anew.
     *
     * @return size in KiB
     */
    public static native int TraceGetFileSizeLimitN();

    /**
     * Sets the log threshold of one component.
     *
     * @param component its name, spelled as the class comment says; null is ignored
     * @param level 0 to 7; 8 silences the component
     * @throws com.talvern.test.gx.StringNotInCodePageException the name has a character that the locale's code set lacks
     */
    public static native void LogSetComponentLevelN(String component, int level);

    /**
     * Sets the trace threshold of one component.
     *
     * @param component its name, spelled as the class comment says; null is ignored
     * @param level 0 to 7; 8 silences the component
     * @throws com.talvern.test.gx.StringNotInCodePageException the name has a character that the locale's code set lacks
     */
    public static native void TraceSetComponentLevelN(String component, int level);

    /**
     * Switches the trace on or off. Whether calls of native methods are traced is settled by the preferences when the
     * library is loaded, and is not changed.
     *
     * @param enabled true to write trace lines
     */
    public static native void TraceSetEnabledN(boolean enabled);
}
