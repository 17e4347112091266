/// The user's preference file, $HOME/Quessa/ZEMO/vtx_log_trace.properties.
#pragma once

#include "common/trace/GxInstallOptions.h"

/// A key of the file, and its value where nobody has chosen another.
struct CPreference {
    const char* key;
    const char* firstValue; ///< null: in no file that the library makes, and off
};

/// Every preference, a row each: new ones are written to files that are made from then on. doc/diagnostics.md
/// tells users what they mean.
namespace preference {
inline constexpr char ofUser[] = "$HOME/Quessa/ZEMO"; ///< stands for what that is for this process
inline constexpr char DEFAULT_TRACE_COMPONENT_FILTERS[] =
    "talvern_gx,2;qrn.vtxuiplugin,4;native,2;ObjectManagerAgent,1;TestObjectMethodInvoker,1;IEEnabler,1;NSEnabler,1";
inline constexpr auto& DEFAULT_LOG_COMPONENT_FILTERS = DEFAULT_TRACE_COMPONENT_FILTERS;
#define GX_PREFERENCES(X)                                                                                    \
    X(generatedBy, "native")                                                                                 \
    X(logLevel, "4")                                                                                         \
    X(traceLevel, "4")                                                                                       \
    X(logFileSize, "2048")                                                                                   \
    X(traceFileSize, "2048")                                                                                 \
    X(logFilePath, ofUser)                                                                                   \
    X(traceFilePath, ofUser)                                                                                 \
    X(logBackupFilesCountLimit, "50")                                                                        \
    X(traceBackupFilesCountLimit, "50")                                                                      \
    X(enableTrace, "false")                                                                                  \
    X(enableEclipseLogFormat, nullptr)                                                                       \
    X(logComponentLevelFilter, DEFAULT_LOG_COMPONENT_FILTERS)                                                \
    X(traceComponentLevelFilter, DEFAULT_TRACE_COMPONENT_FILTERS)                                            \
    X(enableMemoryTrace, "false")                                                                            \
    X(memoryTraceInterval, "5")                                                                              \
    X(memoryTraceRunGC, "true")                                                                              \
    X(enableInterProcessMemoryTrace, "false")
#define GX_PREFERENCE(key, firstValue) inline constexpr CPreference key{#key, firstValue};
GX_PREFERENCES(GX_PREFERENCE)
#undef GX_PREFERENCE
} // namespace preference

/// The preferences of this process. Not synchronised: g_traceLock covers it. Never freed.
class CPreferences {
public:
    constexpr CPreferences() = default;
    CPreferences(const CPreferences&) = delete;
    CPreferences& operator=(const CPreferences&) = delete;

    /// Reads the file the first time, creating it with the defaults when it cannot be opened.
    /// @return whether this was the first time
    bool load();
    /// Null when the key is missing or nothing could be read.
    char* get(const char* key) const;
    char* get(const CPreference& preference) const { return get(preference.key); }
    /// Whether the file could be opened: no log lines are written otherwise.
    bool couldOpen() const { return m_couldOpen; }

private:
    GxInstallOptions::Properties* m_options = nullptr;
    bool m_couldOpen = false;
};
