#include "common/trace/DebugTrace.h"

#include "common/trace/GxDebug.h"
#include "common/trace/GxInstallOptions.h"
#include "common/trace/LineFields.h"
#include "common/trace/LogFile.h"
#include "common/trace/TraceLock.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <strings.h>
#include <sys/time.h>

DebugTrace::Token DebugTrace::s_format[maxPositions] = {DATE, TIME, PID, SEVERITY, FACILITY, TID, MESSAGE};

namespace {
constexpr size_t messageSize = 5064;
constexpr const char* tokenNames[] = {"date", "time", "severity", "msg", "facility", "pid", "tid"};
constexpr const char* delimiter = ";";
constexpr const char* levelDelimiter = ",";
constexpr const char* defaultFacility = "default";

std::string lowerCase(const char* text)
{
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    return lower;
}

template <class Use> void forEachPiece(const char* text, Use use)
{
    std::string copy(text ? text : "");
    char* rest = nullptr;
    for (char* piece = strtok_r(copy.data(), delimiter, &rest); piece;
         piece = strtok_r(nullptr, delimiter, &rest))
        use(piece);
}

const char* severityOf(unsigned level)
{
    constexpr const char* texts[] = {"Err", "Wrn", "Dbg", "   "};
    return level < std::size(texts) ? texts[level] : "???";
}

const char* monthNumber(const std::string& name)
{
    constexpr const char* months[][2] = {{"Jan", "1"}, {"Feb", "2"},  {"Mar", "3"},  {"Apr", "4"},
                                         {"May", "5"}, {"Jun", "6"},  {"Jul", "7"},  {"Aug", "8"},
                                         {"Sep", "9"}, {"Oct", "10"}, {"Nov", "11"}, {"Dec", "12"}};
    for (const auto& [month, number] : months)
        if (name == month)
            return number;
    return "Unknown";
}

/// Such as "3/15/26".
std::string dateOf(const struct tm& now)
{
    char words[64] = "";
    asctime_r(&now, words); // "Sun Mar 15 10:20:30 2026", in English whatever the locale
    char year[16];
    std::snprintf(year, sizeof year, "%02d", now.tm_year % 100);
    return std::string(monthNumber(std::string(words).substr(4, 3))) + "/" + std::to_string(now.tm_mday) +
           "/" + year;
}

/// Such as "01:05:09.250 PM"; the hour after midnight is 00, that after noon 12.
std::string timeOf(const struct tm& now, long milliseconds)
{
    char text[96];
    const int hour = now.tm_hour > 12 ? now.tm_hour - 12 : now.tm_hour;
    std::snprintf(text, sizeof text, "%02d:%02d:%02d.%03ld", hour, now.tm_min, now.tm_sec, milliseconds);
    return std::string(text) + (now.tm_hour < 12 ? " AM" : " PM");
}
} // namespace

DebugTrace::DebugTrace() : m_enabled(isTrue(GxInstallOptions::GetOption(GxInstallOptions::DEBUG_ENABLED)))
{
    if (const char* const name = GxInstallOptions::GetOption(GxInstallOptions::DEBUG_FILENAME)) {
        m_fileName = name;
        readFileOptions();
    }
    m_toConsole = isTrue(GxInstallOptions::GetOption(GxInstallOptions::DEBUG_NATIVE_TO_CONSOLE));
}

void DebugTrace::readFileOptions()
{
    if (isTrue(GxInstallOptions::GetOption(GxInstallOptions::DEBUG_CLEAR)))
        WriteToFile("", true);
    readFacilities(GxInstallOptions::GetOption(GxInstallOptions::DEBUG_FACILITIES));
    readFormat(GxInstallOptions::GetOption(GxInstallOptions::DEBUG_FORMAT));
    m_toFile = isTrue(GxInstallOptions::GetOption(GxInstallOptions::DEBUG_NATIVE_TO_FILE));
}

void DebugTrace::readFacilities(const char* list)
{
    forEachPiece(list, [this](char* pair) {
        char* rest = nullptr;
        char* const name = strtok_r(pair, levelDelimiter, &rest);
        const char* const level = strtok_r(nullptr, levelDelimiter, &rest);
        if (name && level && *GxInstallOptions::Trim(name))
            m_facilities.Add(lowerCase(name).c_str(), static_cast<int>(parseUnsigned(level)));
    });
}

/// An unknown token keeps its position as it was, and costs the last one: formats in use are written to that.
void DebugTrace::readFormat(const char* list)
{
    if (!list)
        return;
    int position = 0;
    m_positions = 0;
    forEachPiece(list, [&](const char* token) {
        if (position == maxPositions)
            return;
        const auto* const known =
            std::find_if(std::begin(tokenNames), std::end(tokenNames),
                         [token](const char* name) { return strcasecmp(token, name) == 0; });
        if (known != std::end(tokenNames)) {
            s_format[position] = static_cast<Token>(known - std::begin(tokenNames));
            ++m_positions;
        }
        ++position;
    });
}

DebugTrace* DebugTrace::GetTraceObject() noexcept
{
    static CNeverDestroyed<DebugTrace> s_object;
    GxDebug::Initialize();
    return &*s_object;
}

DebugTrace::MessageLevel DebugTrace::GetTraceLevel(const char* facility) const noexcept
{
    for (const std::string& name : {lowerCase(facility ? facility : ""), std::string(defaultFacility)})
        if (const int* const level = m_facilities.Find(name.c_str()); level && *level != 0)
            return static_cast<MessageLevel>(*level);
    return GxDebug::DEBUG_CONSTANT;
}

bool DebugTrace::IsActive(const char* facility, MessageLevel level) const noexcept
{
    return m_enabled && level <= GetTraceLevel(facility);
}

void DebugTrace::Println(const char* facility, MessageLevel level, const char* format,
                         va_list arguments) const noexcept
try {
    const bool active = IsActive(facility, level) && !m_fileName.empty();
    if (!m_toConsole && !(active && m_toFile))
        return;
    char message[messageSize];
    formatMessage(message, sizeof message, format, arguments);
    const std::string line = Format(facility, level, message);
    if (active && m_toFile)
        WriteToFile(line.c_str(), false);
    if (m_toConsole)
        WriteToConsole(line.c_str());
} catch (const std::exception&) {
    // No memory for the line: the message is dropped.
}

std::string DebugTrace::Format(const char* facility, MessageLevel level, const char* message) const
{
    struct timeval now = {};
    gettimeofday(&now, nullptr);
    const struct tm parts = localTime(now.tv_sec);
    const auto textOf = [&](Token token) -> std::string {
        switch (token) {
        case DATE:
            return dateOf(parts);
        case TIME:
            return timeOf(parts, now.tv_usec / 1000);
        case SEVERITY:
            return severityOf(level);
        case MESSAGE:
            return message;
        case FACILITY:
            return facility ? facility : "";
        case PID:
            return processField().text;
        case TID:
            return threadField().text;
        }
        return "";
    };
    std::string line;
    for (int i = 0; i < m_positions; ++i)
        line += textOf(s_format[i]) + "  ";
    return line;
}

void DebugTrace::WriteToFile(const char* text, bool clear) const noexcept
try {
    if (clear)
        emptyFile(m_fileName.c_str());
    else
        appendToFile(m_fileName.c_str(), std::string(text) + "\n");
} catch (const std::exception&) {
    // No memory for the line: it is dropped.
}

void DebugTrace::WriteToConsole(const char* text) noexcept
{
    std::fprintf(stderr, "DEBUG: %s\n", text);
}
