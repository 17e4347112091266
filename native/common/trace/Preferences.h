/// The user's preference file, $HOME/Quessa/ZEMO/vtx_log_trace.properties.
#pragma once

#include "GxInstallOptions.h"

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
    /// Whether the file could be opened: no log lines are written otherwise.
    bool couldOpen() const { return m_couldOpen; }

private:
    GxInstallOptions::Properties* m_options = nullptr;
    bool m_couldOpen = false;
};
