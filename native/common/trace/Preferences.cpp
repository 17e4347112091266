#include "common/trace/Preferences.h"

#include "common/trace/FilePlace.h"
#include "common/trace/GxDebug.h"

#include <cerrno>
#include <string>

namespace {
#define GX_PREFERENCE(key, firstValue) preference::key,
constexpr CPreference s_preferences[] = {GX_PREFERENCES(GX_PREFERENCE)};
#undef GX_PREFERENCE

void fillWithDefaults(GxInstallOptions::Properties& options)
{
    char directory[1024];
    GxDebug::GetVtxUserDirectory(directory);
    for (const CPreference& each : s_preferences)
        if (each.firstValue)
            options.setProperty(each.key,
                                each.firstValue == preference::ofUser ? directory : each.firstValue);
}
} // namespace

bool CPreferences::load()
{
    if (m_options)
        return false;
    m_options = new GxInstallOptions::Properties;
    char directory[1024];
    GxDebug::GetVtxPreferenceDirectory(directory);
    if (!*directory)
        return true;
    const std::string path = std::string(directory) + "/" + "vtx_log_trace.properties";
    ScopedFile file(openOwnFile(path.c_str()));
    if (!file && errno == ELOOP) {
        reportRefused(path.c_str());
        return true;
    }
    if (!file) {
        fillWithDefaults(*m_options);
        m_options->save(path.c_str());
        file.reset(openOwnFile(path.c_str()));
    }
    m_couldOpen = file != nullptr;
    if (file)
        m_options->Load(file.get());
    return true;
}

char* CPreferences::get(const char* key) const
{
    return m_options && m_options->IsLoaded() ? m_options->GetProperty(key, nullptr) : nullptr;
}
