#include "common/trace/GxDebug.h"

#include "common/trace/ComponentFilter.h"
#include "common/trace/DebugTrace.h"
#include "common/trace/LineFields.h"
#include "common/trace/LogFile.h"
#include "common/trace/Preferences.h"
#include "common/trace/TraceLock.h"

#include <algorithm>
#include <cctype>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <utility>

// All state is initialised at compile time and never destroyed: another unit's initialiser may trace before
// this unit's have run, and another's destructor at exit.
const char* const GxDebug::s_defaultMessageId = "QMD------";
constinit std::atomic<bool> GxDebug::jni_trace_enabled{false};
constinit std::atomic<unsigned> GxDebug::m_enableMemoryTrace{0};
constinit std::atomic<unsigned> GxDebug::m_intervalTrace{5};
constinit std::atomic<unsigned> GxDebug::m_runGC{1};
constinit std::atomic<unsigned> GxDebug::m_enableSpyMemDump{0};
constinit GxDebug GenericNative("Native");
constinit GxDebug JniNative("JNI");

namespace {
constexpr unsigned levelCount = 8;
constexpr unsigned defaultLevel = 4;
constexpr unsigned minFileSize = 2048;
constexpr size_t messageSize = 512;

constexpr const char* levelNames[levelCount] = {"CONFIGURATION", "DETAIL", "INFORMATION", "AUDIT",
                                                "WARNING",       "ERROR",  "SEVERE",      "FATAL"};

constinit std::atomic<int> s_initialized = 0;
constinit std::once_flag s_once;
constinit std::atomic<unsigned> s_traceEnabled = 0;
constinit std::atomic<unsigned> s_newTraceEnabled = 0;
constinit std::atomic<unsigned> s_logLevel = defaultLevel;
constinit std::atomic<unsigned> s_traceLevel = defaultLevel;
constinit std::atomic<unsigned> s_logFileSizeLimit = minFileSize;
constinit std::atomic<unsigned> s_traceFileSizeLimit = minFileSize;
constinit std::atomic<int> s_couldWriteToLog = 0;
constinit std::atomic<int> s_back2Mldebug = 0;

// What g_traceLock covers.
constinit CPreferences s_logTraceOptions;
constinit CComponentFilter s_logComponentLevel;
constinit CComponentFilter s_traceComponentLevel;
constinit char* s_logFileName = nullptr;
constinit char* s_traceFileName = nullptr;

/// Puts the configuration in force when the library is loaded, if no message did before.
const DebugTrace* const s_loaded = DebugTrace::GetTraceObject();

/// A line of a file. One that does not fit is cut, and keeps its line end.
class CLine {
public:
    [[gnu::format(printf, 2, 3)]] explicit CLine(const char* format, ...) noexcept
    {
        va_list arguments;
        va_start(arguments, format);
        m_length = formatMessage(m_text, sizeof m_text, format, arguments);
        va_end(arguments);
        if (!text().ends_with("\r\n")) {
            m_length = std::min(m_length, sizeof m_text - sizeof "\r\n");
            std::memcpy(m_text + m_length, "\r\n", sizeof "\r\n");
            m_length += 2;
        }
    }
    std::string_view text() const noexcept { return {m_text, m_length}; }

private:
    char m_text[2048];
    size_t m_length;
};

void writeTo(char* const& fileName, const CLine& line, unsigned limitKiB) noexcept
{
    char path[PATH_MAX] = "";
    {
        const TraceGuard guard(g_traceLock);
        if (fileName)
            memccpy(path, fileName, '\0', sizeof path - 1);
    }
    WriteMessage(path, line.text(), limitKiB);
}

/// A trace line in the form that event-record viewers read.
void NewTraceMessage(unsigned level, const char* facility, const char* message) noexcept
{
    constexpr int severities[levelCount] = {0, 0, 1, 1, 2, 4, 4, 4};
    char record[1024];
    std::snprintf(record, sizeof record, "!MESSAGE [%s:%s:C:%d] %s", processField().text, threadField().text,
                  static_cast<int>(level), message ? message : "_no_message_");
    writeTo(s_traceFileName,
            CLine("!ENTRY %s %d 0 %s\r\n%s\r\n", facility, severities[level], GetTimeStamp().text, record),
            noSizeLimit);
}

void TraceMessage(unsigned level, const char* facility, const char* message) noexcept
{
    if (s_newTraceEnabled != 0)
        return NewTraceMessage(level, facility, message);
    writeTo(s_traceFileName,
            CLine("%s,\t%s:%s,\t%s,\t%s,\t%s\r\n", GetTimeStamp().text, processField().text,
                  threadField().text, levelNames[level], facility, message ? message : ""),
            s_traceFileSizeLimit);
}

bool passes(const CComponentFilter& filter, const char* facility, unsigned globalLevel,
            unsigned level) noexcept
{
    const TraceGuard guard(g_traceLock);
    return filter.VerifyComponentLevel(facility, globalLevel, level);
}

void setName(char*& name, const char* path) noexcept
{
    char* const copy = path ? strdup(path) : nullptr;
    const TraceGuard guard(g_traceLock);
    if (copy)
        std::free(std::exchange(name, copy));
}

void setThreshold(CComponentFilter& filter, const char* component, unsigned level) noexcept
try {
    const TraceGuard guard(g_traceLock);
    if (component)
        filter.set(component, level);
} catch (const std::exception&) {
    // No memory: the threshold stays.
}

/// The text of a preference, null when it is missing. The caller holds the lock.
char* findPreference(const char* key)
{
    if (s_logTraceOptions.load()) {
        const char* const filter = GxInstallOptions::GetOption(GxInstallOptions::DEBUG_FACILITIES);
        const auto fill = [filter](CComponentFilter& table, const CPreference& levels) {
            const char* const text = s_logTraceOptions.get(levels);
            table.SetComponentLevelFilter(text ? text : filter);
        };
        if (s_logTraceOptions.couldOpen()) {
            fill(s_logComponentLevel, preference::logComponentLevelFilter);
            fill(s_traceComponentLevel, preference::traceComponentLevelFilter);
        }
        s_couldWriteToLog = s_logTraceOptions.couldOpen();
    }
    return s_logTraceOptions.get(key);
}

void makeDirectory(const char* path) noexcept
{
    if (!GxDebug::MkDirs(path))
        std::fprintf(stderr, "Exception creating preference file directory: %s\n", path);
}

/// The name of a file in the directory that a preference names, which is created. Empty when it does not fit.
void nameInDirectory(char (&name)[1024], const CPreference& place, const char* file) noexcept
{
    char directory[1024];
    GxDebug::GetVtxUserDirectory(directory);
    const char* const chosen = GxDebug::GetPreference(place.key, directory);
    makeDirectory(chosen);
    const int length = std::snprintf(name, sizeof name, "%s%s%s", chosen, "/", file);
    if (length < 0 || static_cast<size_t>(length) >= sizeof name || !*chosen)
        *name = '\0';
}

bool isOn(const CPreference& preference) noexcept
{
    return GxDebug::GetBooleanValue(preference.key, isTrue(preference.firstValue));
}

unsigned numberOf(const CPreference& preference) noexcept
{
    return GxDebug::GetIntegerValue(preference.key,
                                    parseUnsigned(preference.firstValue ? preference.firstValue : ""));
}

void makePreferenceDirectory() noexcept
{
    char directory[1024];
    GxDebug::GetVtxPreferenceDirectory(directory);
    GxDebug::printStep("Getting the preference Directory: %s\n", directory);
    if (!*directory)
        return;
    GxDebug::printStep("Calling MkDirs(%s)\n", directory);
    makeDirectory(directory);
    GxDebug::printStep("Completed MkDirs successfully\n");
}

void nameFiles() noexcept
{
    char name[1024];
    nameInDirectory(name, preference::logFilePath, "vtx_log.txt");
    setName(s_logFileName, name);
    nameInDirectory(name, preference::traceFilePath,
                    s_newTraceEnabled == 1 ? "vtx_trace.log" : "vtx_trace.txt");
    setName(s_traceFileName, name);
}

} // namespace

void GxDebug::Initialize() noexcept
{
    if (s_initialized == 0)
        std::call_once(s_once, readConfiguration);
}

void GxDebug::readConfiguration() noexcept
{
    keepTraceLockAcrossFork();
    makePreferenceDirectory();
    s_back2Mldebug = isTrue(GxInstallOptions::GetOption(GxInstallOptions::BACK2MLDEBUG));
    s_traceEnabled = isOn(preference::enableTrace);
    s_newTraceEnabled = s_traceEnabled != 0 && isOn(preference::enableEclipseLogFormat);
    s_logLevel = numberOf(preference::logLevel);
    s_traceLevel = numberOf(preference::traceLevel);
    s_traceFileSizeLimit = std::max(numberOf(preference::traceFileSize), minFileSize);
    nameFiles();
    m_enableMemoryTrace = isOn(preference::enableMemoryTrace);
    // The interval becomes the log's limit instead of logFileSize, and m_intervalTrace keeps its value:
    // installations are tuned to logs that roll over at this size.
    s_logFileSizeLimit = GetIntegerValue(preference::memoryTraceInterval.key, m_intervalTrace);
    m_runGC = isOn(preference::memoryTraceRunGC);
    m_enableSpyMemDump = isOn(preference::enableInterProcessMemoryTrace);
    jni_trace_enabled = s_traceEnabled != 0 && passes(s_traceComponentLevel, "JNI", s_traceLevel, 0);
    s_initialized = 1;
}

bool GxDebug::isTraced(unsigned level) const noexcept
{
    Initialize();
    return s_back2Mldebug != 0 ||
           (s_traceEnabled != 0 && passes(s_traceComponentLevel, m_facility, s_traceLevel, level));
}

void GxDebug::message(unsigned legacyLevel, unsigned level, const char* format,
                      va_list arguments) const noexcept
{
    if (!format || !*format)
        return;
    Initialize();
    if (s_back2Mldebug != 0) {
        va_list copy;
        va_copy(copy, arguments);
        DebugTrace::GetTraceObject()->Println(m_facility, legacyLevel, format, copy);
        va_end(copy);
    }
    if (s_traceEnabled == 0 || !passes(s_traceComponentLevel, m_facility, s_traceLevel, level))
        return;
    char text[messageSize];
    formatMessage(text, sizeof text, format, arguments);
    TraceMessage(level, m_facility, text);
}

#define GX_MESSAGE_OPERATION(Name, legacyLevel, level)                                                       \
    void GxDebug::Name(const char* format, ...) const noexcept                                               \
    {                                                                                                        \
        va_list arguments;                                                                                   \
        va_start(arguments, format);                                                                         \
        message(legacyLevel, level, format, arguments);                                                      \
        va_end(arguments);                                                                                   \
    }
GX_TRACE_OPERATIONS(GX_MESSAGE_OPERATION)
#undef GX_MESSAGE_OPERATION

void GxDebug::vDebug(const char* format, va_list arguments) const noexcept
{
    message(DEBUG_MSG, 2, format, arguments);
}

void GxDebug::log(unsigned level, const char* format, ...) const noexcept
{
    if (!format || !*format)
        return;
    Initialize();
    level = std::min(level, levelCount - 1);
    if (!passes(s_logComponentLevel, m_facility, s_logLevel, level))
        return;
    char text[messageSize];
    va_list arguments;
    va_start(arguments, format);
    formatMessage(text, sizeof text, format, arguments);
    va_end(arguments);
    LogMessage(level, nullptr, m_facility, text);
}

int GxDebug::LogMessage(unsigned level, const char*, const char* facility, const char* message) noexcept
{
    if (s_couldWriteToLog == 0)
        return 0;
    // The field of the identifier stays empty, as log readers know it.
    char identifier[messageSize] = "";
    ExtractMessageId(nullptr, identifier);
    writeTo(s_logFileName,
            CLine("%s,\t%s:%s,\t%s,\t%s,\t%s: %s\r\n", GetTimeStamp().text, processField().text,
                  threadField().text, levelNames[level], facility, identifier, message),
            s_logFileSizeLimit);
    TraceMessage(level, facility, message);
    return 1;
}

void GxDebug::ExtractMessageId(const char* text, char (&buffer)[512]) noexcept
{
    if (!text)
        return;
    const char* const colon = std::strchr(text, ':');
    if (colon)
        std::snprintf(buffer, sizeof buffer, "%.*s", static_cast<int>(colon - text), text);
    else
        std::snprintf(buffer, sizeof buffer, "%s", s_defaultMessageId);
}

unsigned GxDebug::GetTraceLevel() noexcept
{
    m_traceLevel = DebugTrace::GetTraceObject()->GetTraceLevel(m_facility);
    return m_traceLevel;
}

void GxDebug::JNI_Start(const char* name) noexcept
{
    if (name)
        JniNative.Verbose("START - %s", name);
}

void GxDebug::JNI_End(const char* name) noexcept
{
    if (name)
        JniNative.Verbose("END - %s", name);
}

void GxDebug::LogSetLevel(unsigned level) noexcept
{
    if (level < levelCount)
        s_logLevel = level;
}

void GxDebug::TraceSetLevel(unsigned level) noexcept
{
    if (level < levelCount)
        s_traceLevel = level;
}

unsigned GxDebug::LogGetLevel() noexcept
{
    return s_logLevel;
}
unsigned GxDebug::TraceGetLevel() noexcept
{
    return s_traceLevel;
}

void GxDebug::LogSetFileSizeLimit(unsigned kib) noexcept
{
    if (kib != 0)
        s_logFileSizeLimit = kib;
}

void GxDebug::TraceSetFileSizeLimit(unsigned kib) noexcept
{
    LogSetFileSizeLimit(kib);
}
unsigned GxDebug::LogGetFileSizeLimit() noexcept
{
    return s_logFileSizeLimit;
}
unsigned GxDebug::TraceGetFileSizeLimit() noexcept
{
    return s_traceFileSizeLimit;
}
void GxDebug::LogSetFileName(const char* path) noexcept
{
    setName(s_logFileName, path);
}
void GxDebug::TraceSetFileName(const char* path) noexcept
{
    setName(s_traceFileName, path);
}

const char* GxDebug::LogGetFileName() noexcept
{
    const TraceGuard guard(g_traceLock);
    return s_logFileName;
}

const char* GxDebug::TraceGetFileName() noexcept
{
    const TraceGuard guard(g_traceLock);
    return s_traceFileName;
}

void GxDebug::TraceSetEnabled(bool enabled) noexcept
{
    s_traceEnabled = enabled;
}
bool GxDebug::TraceGetEnabled() noexcept
{
    return s_traceEnabled != 0;
}

void GxDebug::LogSetComponentLevel(const char* component, unsigned level) noexcept
{
    setThreshold(s_logComponentLevel, component, level);
}

void GxDebug::TraceSetComponentLevel(const char* component, unsigned level) noexcept
{
    setThreshold(s_traceComponentLevel, component, level);
}

unsigned GxDebug::getLogFilterLevel(const char* component) noexcept
{
    const TraceGuard guard(g_traceLock);
    return s_logComponentLevel.thresholdOf(component, s_logLevel);
}

unsigned GxDebug::getTraceFilterLevel(const char* component) noexcept
{
    const TraceGuard guard(g_traceLock);
    return s_traceComponentLevel.thresholdOf(component, s_traceLevel);
}

const char* GxDebug::GetPreference(const char* key, const char* defaultValue) noexcept
try {
    const TraceGuard guard(g_traceLock);
    const char* const text = findPreference(key);
    return text ? text : defaultValue;
} catch (const std::exception&) {
    return defaultValue;
}

unsigned GxDebug::GetIntegerValue(const char* key, unsigned defaultValue) noexcept
{
    char text[16];
    std::snprintf(text, sizeof text, "%ul", defaultValue); // the parser stops at the letter
    return parseUnsigned(GetPreference(key, text));
}

bool GxDebug::GetBooleanValue(const char* key, bool defaultValue) noexcept
try {
    const TraceGuard guard(g_traceLock);
    char* const text = findPreference(key);
    if (!text)
        return defaultValue;
    std::transform(text, text + std::strlen(text), text, [](unsigned char c) { return std::tolower(c); });
    return std::strcmp(text, "true") == 0;
} catch (const std::exception&) {
    return defaultValue;
}

void GxDebug::ConsoleWrite(const char* text) noexcept
{
    DebugTrace::WriteToConsole(text);
}
