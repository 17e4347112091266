/// A keyboard of the US layout that writes down its strokes.
#pragma once

#include "unix/input/StrokeSink.h"

#include <cctype>
#include <cstring>
#include <string>

#include <X11/Xlib.h>
#include <X11/keysym.h>

class CRecordingSink : public IStrokeSink {
public:
    explicit CRecordingSink(CLockState locks = {}, bool numLockWorks = true, size_t most = -1)
        : m_locks(locks), m_numLockWorks(numLockWorks), m_most(most)
    {
    }

    CLockState locks() override { return m_locks; }
    unsigned long translate(const char* text) override
    {
        const auto first = static_cast<unsigned char>(*text);
        return first >= ' ' && first < 0x7F ? first : 0xFFFF;
    }
    bool needsShift(unsigned long keysym) override
    {
        const char character = static_cast<char>(keysym);
        return keysym < 0x7F &&
               (std::isupper(character) || std::strchr("~!@#$%^&*()_+{}|:\"<>?", character)) && keysym;
    }
    bool stroke(unsigned action, unsigned long keysym, int, int) override
    {
        const char* name = XKeysymToString(keysym);
        add((action >= AltKeyPressed ? "!" : "") + std::string(isPress(action) ? "+" : "-") +
            (name ? name : "none"));
        m_locks.capsLock ^= isPress(action) && keysym == XK_Caps_Lock;
        m_locks.numLock ^= isPress(action) && keysym == XK_Num_Lock && m_numLockWorks;
        return m_count < m_most;
    }
    bool typeUnicode(char32_t character) override
    {
        char text[16];
        std::snprintf(text, sizeof text, "U+%X", static_cast<unsigned>(character));
        add(text);
        return m_count < m_most;
    }
    unsigned modifiersDown() override { return 0; }
    void beginText(const std::function<void()>& switchOff) override
    {
        m_before = m_locks;
        switchOff();
    }
    void endText(CLockState switched, const std::function<void(CLockState)>& switchOver) override
    {
        switchOver({m_before.capsLock != switched.capsLock, m_before.numLock != switched.numLock});
    }

    /// Strokes with blanks between: +x pressed, -x released, with "!" while Alt is held without Control.
    const std::string& strokes() const { return m_strokes; }
    size_t count() const { return m_count; }

private:
    void add(const std::string& stroke)
    {
        if (++m_count <= m_most)
            m_strokes += (m_strokes.empty() ? "" : " ") + stroke;
    }

    CLockState m_locks;
    CLockState m_before;
    bool m_numLockWorks;
    size_t m_most;
    size_t m_count = 0;
    std::string m_strokes;
};
