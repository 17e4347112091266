#include "Preferences.h"

#include "FilePlace.h"
#include "GxDebug.h"

#include <cerrno>
#include <string>

namespace {
constexpr const char* DEFAULT_TRACE_COMPONENT_FILTERS =
    "talvern_gx,2;qrn.vtxuiplugin,4;native,2;ObjectManagerAgent,1;TestObjectMethodInvoker,1;IEEnabler,1;NSEnabler,1";
constexpr const char* DEFAULT_LOG_COMPONENT_FILTERS = DEFAULT_TRACE_COMPONENT_FILTERS;

void fillWithDefaults(GxInstallOptions::Properties& options)
{
    char directory[1024];
    GxDebug::GetVtxUserDirectory(directory);
    const struct {
        const char* key;
        const char* value;
    } defaults[] = {
        {"generatedBy", "native"},
        {"logLevel", "4"},
        {"traceLevel", "4"},
        {"logFileSize", "2048"},
        {"traceFileSize", "2048"},
        {"logFilePath", directory},
        {"traceFilePath", directory},
        {"logBackupFilesCountLimit", "50"},
        {"traceBackupFilesCountLimit", "50"},
        {"enableTrace", "false"},
        {"logComponentLevelFilter", DEFAULT_LOG_COMPONENT_FILTERS},
        {"traceComponentLevelFilter", DEFAULT_TRACE_COMPONENT_FILTERS},
        {"enableMemoryTrace", "false"},
        {"memoryTraceInterval", "5"},
        {"memoryTraceRunGC", "true"},
        {"enableInterProcessMemoryTrace", "false"},
    };
    for (const auto& pair : defaults)
        options.setProperty(pair.key, pair.value);
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
