/// The legacy trace: echoes messages to the console or to a file of its own, as the install options say.
#pragma once

#include "common/trace/Hashtable.h"
#include "include/NeverDestroyed.h"

#include <cstdarg>
#include <string>

/// The singleton whose creation has GxDebug read its configuration. Never destroyed. Any thread.
class DebugTrace {
public:
    /// GxDebug::ERROR_MSG (0) to VERBOSE_MSG (3); a smaller one is more important.
    using MessageLevel = unsigned;

    static DebugTrace* GetTraceObject() noexcept;

    /// The highest message level that a facility (in any case) shows: its own or that of "default", else 1.
    MessageLevel GetTraceLevel(const char* facility) const noexcept;
    bool IsActive(const char* facility, MessageLevel level) const noexcept;
    /// Writes an active message to the file. The console shows every message once it is switched on, whatever
    /// the filter says: people who look at a console want to see that something happens.
    [[gnu::format(printf, 4, 0)]] void Println(const char* facility, MessageLevel level, const char* format,
                                               va_list arguments) const noexcept;

    static void WriteToConsole(const char* text) noexcept; ///< "DEBUG: text" on standard error

private:
    static constexpr int maxPositions = 7;
    enum Token { DATE, TIME, SEVERITY, MESSAGE, FACILITY, PID, TID };

    friend class CNeverDestroyed<DebugTrace>;

    DebugTrace();
    void readFileOptions();
    void readFacilities(const char* list);
    void readFormat(const char* list);
    std::string Format(const char* facility, MessageLevel level, const char* message) const;
    /// Appends the text and a line end to the file; with `clear` empties it instead.
    void WriteToFile(const char* text, bool clear) const noexcept;

    static Token s_format[maxPositions];

    bool m_enabled = false;
    IntHash m_facilities{20};
    std::string m_fileName; ///< a copy: the options are freed at exit, when messages still come
    bool m_toConsole = false;
    bool m_toFile = false;
    int m_positions = maxPositions;
};
