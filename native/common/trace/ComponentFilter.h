/// Which components may write what.
#pragma once

#include "common/trace/GxInstallOptions.h"

/// Thresholds by component name. Not synchronised: g_traceLock covers it. Never freed, so that messages of
/// the last destructors pass through it too.
class CComponentFilter {
public:
    constexpr CComponentFilter() = default;
    CComponentFilter(const CComponentFilter&) = delete;
    CComponentFilter& operator=(const CComponentFilter&) = delete;

    /// Adds the pairs of a text such as "talvern_gx,2; native, 2", with or without white space; the component
    /// "default" is left out. Null adds none.
    void SetComponentLevelFilter(const char* text);
    void set(const char* component, unsigned level);
    /// The threshold of exactly this component (in any case), `globalLevel` when it has none.
    unsigned thresholdOf(const char* component, unsigned globalLevel) const;
    /// Whether a message passes: by the threshold of its component, else of "native", else by the global one.
    bool VerifyComponentLevel(const char* component, unsigned globalLevel, unsigned level) const;

private:
    GxInstallOptions::Properties& table();
    const char* levelOf(const char* component) const; ///< null when it has none

    GxInstallOptions::Properties* m_table = nullptr;
};
