/// The trace and log facility: what the library does is written to two text files of the user.
///
///     constinit GxDebug s_trace("WindowManager");
///     s_trace.Error("no such window: 0x%lx", window);
///
/// Files: the log "vtx_log.txt" (a few important events) and the trace "vtx_trace.txt" (developer detail, off
/// unless switched on), both set by the preferences in $HOME/Quessa/ZEMO/vtx_log_trace.properties. That file
/// is created with the defaults when it is missing and read once, when the library is loaded.
///
/// Levels go from 0 (CONFIGURATION) to 7 (FATAL); a message passes when its level is at least the threshold
/// of its component, and a threshold of 8 silences everything. A component without a threshold of its own has
/// that of the component "native", and failing that the global one.
///
/// Everything here may be called from any thread and at any time: by a static initialiser that runs before
/// this unit's, after the static destructors, in a forked child. Nothing throws, and no failure reaches the
/// caller: what cannot be written goes to standard output. A line is one write to a file opened for
/// appending, so lines of several threads and processes never mix.
#pragma once

#include <atomic>
#include <cstdarg>
#include <type_traits>

class CFilePlace;

/// Operations that write a trace message: name, level in the legacy trace, level. Of these and the others, use
///
///     CTracer::debugTrace       for what goes on, and for what is wrong without the caller's notice
///     Error, Warning            for what is left out or done otherwise than asked, much of it or little
///     CTracer::traceFailure     for a failure with several lines
///     JNI_Start, JNI_End        not by hand: the frame of exported functions calls them
///
/// Nothing here calls the rest, nor `log`; see doc/kept-on-purpose.md.
// clang-format off
#define GX_TRACE_OPERATIONS(X)                                                                               \
    X(Error,     ERROR_MSG,   5)                                                                             \
    X(Warning,   WARNING_MSG, 4)                                                                             \
    X(Verbose,   VERBOSE_MSG, 1)                                                                             \
    X(Debug,     DEBUG_MSG,   2)                                                                             \
    X(Trace,     TRACE_MSG,   2)                                                                             \
    X(config,    VERBOSE_MSG, 0)                                                                             \
    X(detail,    VERBOSE_MSG, 1)                                                                             \
    X(info,      TRACE_MSG,   2)                                                                             \
    X(audit,     TRACE_MSG,   3)                                                                             \
    X(warning,   WARNING_MSG, 4)                                                                             \
    X(error,     ERROR_MSG,   5)                                                                             \
    X(severe,    ERROR_MSG,   6)                                                                             \
    X(fatal,     ERROR_MSG,   7)                                                                             \
    X(debug,     DEBUG_MSG,   2)                                                                             \
    X(exception, ERROR_MSG,   5)
// clang-format on

class GxDebug {
public:
    /// Levels of the legacy trace (DebugTrace).
    static constexpr unsigned ERROR_MSG = 0;
    static constexpr unsigned WARNING_MSG = 1;
    static constexpr unsigned TRACE_MSG = 2;
    static constexpr unsigned DEBUG_MSG = 2;
    static constexpr unsigned VERBOSE_MSG = 3;
    static constexpr unsigned DEBUG_CONSTANT = 1;

    /// @param facility  name of the component; borrowed, must outlive this object
    constexpr explicit GxDebug(const char* facility) noexcept : m_facility(facility)
    {
        if (!std::is_constant_evaluated())
            GetTraceLevel();
    }

    /// As Debug, for callers with arguments of their own.
    [[gnu::format(printf, 2, 0)]] void vDebug(const char* format, va_list arguments) const noexcept;

    /// Whether a message of this level would go anywhere: for a text that takes time to make.
    bool isTraced(unsigned level) const noexcept;

    /// Writes to the log file and, trace switched on or not, to the trace file.
    /// @param level  0 to 7; more counts as 7
    [[gnu::format(printf, 3, 4)]] void log(unsigned level, const char* format, ...) const noexcept;

    const char* GetFacility() const noexcept { return m_facility; }
    unsigned GetTraceLevel() noexcept; ///< the facility's level in the legacy trace, looked up anew

    /// Whether entry and exit of exported functions are traced; settled when the library is loaded. Costs one
    /// load.
    static bool IsJNITrace() noexcept { return jni_trace_enabled.load(std::memory_order_relaxed); }
    /// Trace "START - name" and "END - name" as component "JNI"; a null name writes nothing.
    static void JNI_Start(const char* name) noexcept;
    static void JNI_End(const char* name) noexcept;

    // Settings of this process; the preference file is not changed.
    static void LogSetLevel(unsigned level) noexcept;   ///< global threshold; 8 and more are ignored
    static void TraceSetLevel(unsigned level) noexcept; ///< global threshold; 8 and more are ignored
    static unsigned LogGetLevel() noexcept;
    static unsigned TraceGetLevel() noexcept;
    /// Size in KiB above which the log is renamed and begun anew; 0 is ignored.
    static void LogSetFileSizeLimit(unsigned kib) noexcept;
    /// Sets the limit of the log, not of the trace: test engines of this product line set it this way.
    static void TraceSetFileSizeLimit(unsigned kib) noexcept;
    static unsigned LogGetFileSizeLimit() noexcept;
    static unsigned TraceGetFileSizeLimit() noexcept;
    static void LogSetFileName(const char* path) noexcept;   ///< copied; null is ignored
    static void TraceSetFileName(const char* path) noexcept; ///< copied; null is ignored
    static const char* LogGetFileName() noexcept;            ///< valid until the name is set again
    static const char* TraceGetFileName() noexcept;          ///< valid until the name is set again
    static void TraceSetEnabled(bool enabled) noexcept;
    static bool TraceGetEnabled() noexcept;
    /// Thresholds by component; 8 silences one.
    static void LogSetComponentLevel(const char* component, unsigned level) noexcept;
    static void TraceSetComponentLevel(const char* component, unsigned level) noexcept;
    /// The component's own threshold, else the global one.
    static unsigned getLogFilterLevel(const char* component) noexcept;
    static unsigned getTraceFilterLevel(const char* component) noexcept;

    /// The text of a preference, or `defaultValue` when it is missing. Lives as long as the process.
    static const char* GetPreference(const char* key, const char* defaultValue) noexcept;
    static unsigned GetIntegerValue(const char* key, unsigned defaultValue) noexcept;
    /// Lower-cases the preference's text.
    static bool GetBooleanValue(const char* key, bool defaultValue) noexcept;

    // Preferences that this library only keeps, for whoever measures memory.
    static std::atomic<unsigned> m_enableMemoryTrace;
    static std::atomic<unsigned> m_intervalTrace; ///< does not follow the preference "memoryTraceInterval"
    static std::atomic<unsigned> m_runGC;
    static std::atomic<unsigned> m_enableSpyMemDump;

    /// $HOME/Quessa/ZEMO; empty when that does not fit.
    static void GetVtxUserDirectory(char (&buffer)[1024]) noexcept;
    /// The same, given to the sudo user.
    static void GetVtxPreferenceDirectory(char (&buffer)[1024]) noexcept;
    /// Creates a directory; one that exists is left as it is. @return 1, or 0 when that fails
    static int MkDir(const char* path) noexcept;
    static int MkDirs(const char* path) noexcept; ///< as MkDir, with the directories above it
    /// When the tool runs under sudo, gives what this library has just made to the user who called sudo: a
    /// file with one name or an empty directory, that lies in a directory of that user's or is $HOME/Quessa.
    /// What is reached through a link, or lies elsewhere, stays root's. See FilePlace.h.
    static void setOwner(const char* path) noexcept;
    /// The same, in the place of `path`.
    static void setOwner(const char* path, const CFilePlace& place) noexcept;
    static bool DEBUG_PRINT; ///< set by a host that wants each step with files on its standard output
    [[gnu::format(printf, 1, 2)]] static void printStep(const char* format, ...) noexcept; ///< one such step

    static void ConsoleWrite(const char* text) noexcept; ///< "DEBUG: text" on standard error
    /// Reads the configuration, once; every other function here does it first where it needs to.
    static void Initialize() noexcept;

    /// Those of GX_TRACE_OPERATIONS: printf style, without a line end. A message above 511 bytes is cut, never
    /// inside a character. What is filtered out is not formatted.
#define GX_DECLARE(Name, ...) [[gnu::format(printf, 2, 3)]] void Name(const char* format, ...) const noexcept;
    GX_TRACE_OPERATIONS(GX_DECLARE)
#undef GX_DECLARE

private:
    [[gnu::format(printf, 4, 0)]] void message(unsigned legacyLevel, unsigned level, const char* format,
                                               va_list arguments) const noexcept;

    static void readConfiguration() noexcept;
    /// The text before the first ":" of a message is its identifier, for messages that have one, else a
    /// common one. Null leaves the buffer.
    static void ExtractMessageId(const char* text, char (&buffer)[512]) noexcept;
    static int LogMessage(unsigned level, const char* identifier, const char* facility,
                          const char* message) noexcept;

    static const char* const s_defaultMessageId;
    static std::atomic<bool> jni_trace_enabled;

    const char* m_facility;
    std::atomic<unsigned> m_traceLevel{DEBUG_CONSTANT};
};

extern GxDebug GenericNative; ///< component "Native"
extern GxDebug JniNative;     ///< component "JNI"
