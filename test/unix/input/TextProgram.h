/// Programs that text is typed into, and what they hold afterwards.
#pragma once

#include "include/Within.h"
#include "session/Program.h"
#include "unix/input/EventManager.h"
#include "unix/input/inputkeyunix.h"

#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

/// Sets a keyboard map with setxkbmap and forgets the table that was built from the one before.
inline void useLayout(const std::string& arguments)
{
    if (std::system(("setxkbmap " + arguments).c_str()) != 0)
        throw std::runtime_error("setxkbmap " + arguments);
    g_bKeyMappingTableBuilt = false;
}

/// Delays of keys while it lives, in milliseconds.
class CKeyDelays {
public:
    CKeyDelays(int down, int up) { Event::setDelays(-1, -1, -1, down, up, -1); }
    ~CKeyDelays() { Event::setDelays(-1, -1, -1, 1, 10, -1); }
    CKeyDelays(const CKeyDelays&) = delete;
};

inline std::string utf8(const std::u16string& text)
{
    std::string bytes;
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        if (c < 0x80)
            bytes += static_cast<char>(c);
        else if (c < 0x800)
            (bytes += static_cast<char>(0xC0 | c >> 6)) += static_cast<char>(0x80 | (c & 0x3F));
        else if (c < 0x10000)
            ((bytes += static_cast<char>(0xE0 | c >> 12)) += static_cast<char>(0x80 | (c >> 6 & 0x3F))) +=
                static_cast<char>(0x80 | (c & 0x3F));
        else
            (((bytes += static_cast<char>(0xF0 | c >> 18)) += static_cast<char>(0x80 | (c >> 12 & 0x3F))) +=
             static_cast<char>(0x80 | (c >> 6 & 0x3F))) += static_cast<char>(0x80 | (c & 0x3F));
    }
    return bytes;
}

/// Characters of both texts that differ, place by place, and those that one has too many.
inline size_t differences(const std::string& expected, const std::string& found)
{
    const auto characters = [](const std::string& text) {
        std::vector<std::string> all;
        for (const char byte : text)
            if ((byte & 0xC0) == 0x80 && !all.empty())
                all.back() += byte;
            else
                all.emplace_back(1, byte);
        return all;
    };
    const auto a = characters(expected);
    const auto b = characters(found);
    size_t count = std::max(a.size(), b.size()) - std::min(a.size(), b.size());
    for (size_t i = 0; i < std::min(a.size(), b.size()); ++i)
        count += a[i] != b[i];
    return count;
}

/// A program with one text field.
class ITextProgram {
public:
    virtual ~ITextProgram() = default;
    virtual unsigned long window() const = 0;
    /// What has been typed since the last call, once `length` bytes have come or a while has passed.
    virtual std::string text(size_t length) = 0;

    /// Types into the program's window.
    void type(const std::u16string& text, KeyEvent::Kind kind = KeyEvent::InputChars) const
    {
        std::vector<unsigned short> units(text.begin(), text.end());
        units.push_back(0);
        KeyEvent(0, kind, 0, units.data(), CWindow(static_cast<long>(window())), TopLevelWindow()).emit();
    }
};

/// motif-text or gtk3-text of test/apps, or another program that prints "ready" and answers SIGUSR1 with its
/// text.
class CToolkitText : public ITextProgram {
public:
    explicit CToolkitText(const std::string& name)
        : m_program({std::string(GX_APPS_DIR "/") + name}),
          m_window(std::stoul(m_program.waitForLine("ready ")))
    {
    }
    unsigned long window() const override { return m_window; }
    std::string text(size_t length) override
    {
        std::string all;
        within(std::chrono::seconds(10), [&] {
            m_program.kill(SIGUSR1);
            all = m_program.waitForLine("text ");
            return all.size() >= m_seen + length;
        });
        const std::string fresh = all.substr(std::min(m_seen, all.size()));
        m_seen = all.size();
        return fresh;
    }

private:
    CProgram m_program;
    unsigned long m_window;
    size_t m_seen = 0;
};

/// An xterm whose terminal passes on each byte as it comes, into a file.
class CXtermText : public ITextProgram {
public:
    CXtermText()
        : m_file(std::string(getenv("HOME")) + "/xterm-text"),
          m_program(
              {"xterm", "-u8", "-e", "sh", "-c",
               "stty raw -echo; printf 'ready %s\\n' $WINDOWID > " + m_file + ".ready; exec cat > " + m_file})
    {
        std::string word;
        within(std::chrono::seconds(10),
               [&] { return bool(std::ifstream(m_file + ".ready") >> word >> m_window); });
        within(std::chrono::seconds(10), [&] { return bool(std::ifstream(m_file)); });
        within(std::chrono::seconds(10), [&] { return CWindow(static_cast<long>(m_window)).isShowing(); });
    }
    ~CXtermText() override
    {
        std::remove(m_file.c_str());
        std::remove((m_file + ".ready").c_str());
    }
    unsigned long window() const override { return m_window; }
    std::string text(size_t length) override
    {
        std::string all;
        within(std::chrono::seconds(10), [&] {
            std::ifstream file(m_file, std::ios::binary);
            all.assign(std::istreambuf_iterator<char>(file), {});
            return all.size() >= m_seen + length;
        });
        const std::string fresh = all.substr(std::min(m_seen, all.size()));
        m_seen = all.size();
        return fresh;
    }

private:
    std::string m_file;
    CProgram m_program;
    unsigned long m_window = 0;
    size_t m_seen = 0;
};

inline std::unique_ptr<ITextProgram> textProgram(const std::string& name)
{
    if (name == "xterm")
        return std::make_unique<CXtermText>();
    return std::make_unique<CToolkitText>(name);
}
