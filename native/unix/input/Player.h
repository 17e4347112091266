/// The hot keys: how a user stops or pauses a playback from the keyboard.
///
/// While playback runs, both keys are grabbed for the player, whatever modifiers and locks are on. A press
/// that the library sends itself, in this or another process, is counted before it is sent (HotKeyCounter);
/// the player takes one count for each press that it sees, and only a press that nobody counted is the
/// user's.
///
/// It works on a connection of its own to the X server, opened when the library is loaded and closed at exit,
/// so that its grabs and events do not mix with those of synthetic input. Without that connection nothing is
/// ever pressed. X errors are traced and otherwise ignored: another client that has grabbed a hot key keeps
/// it.
///
/// Any thread, also while another one waits in getNextEvent.
#pragma once

#include <atomic>
#include <cstdint>
#include <optional>

class HotKeyCounter;

/// Key codes of the X server; 0 for a hot key that the keyboard does not have.
struct CHotKeyCodes {
    uint8_t m_stop = 0;
    uint8_t m_pause = 0;

    bool operator==(const CHotKeyCodes&) const = default;
    bool contain(unsigned code) const { return code == m_stop || code == m_pause; }
};

class Player {
public:
    /// What getNextEvent answers.
    enum HotKeyEvent : int {
        PlaybackEnded = -1, ///< or it has not begun
        StopPressed = 0,
        PausePressed = 2,
    };

    /// The player of this process, made by the first call.
    static Player& get();

    /// Begins to listen: makes the counters and grabs the hot keys. The server has them when this returns.
    /// @throws what spy memory throws; nothing has begun then
    void start();
    /// Gives the hot keys back and ends the wait of getNextEvent at its next poll.
    void end();
    bool isStarted() const { return m_started; }

    /// Makes another key a hot key, at once also while playback runs.
    /// @param keysym  0, or one that no key has: the hot key is then on no key
    void setStopHotKey(int keysym);
    void setPauseHotKey(int keysym);

    /// Waits until the user presses a hot key or playback ends; looks every millisecond. After StopPressed
    /// the hot keys are free until the next start; after PausePressed they stay grabbed.
    /// @return a HotKeyEvent
    /// @throws what spy memory throws
    int getNextEvent();

    /// There are no hooks to pause: the process ends.
    [[noreturn]] void pauseHooks();
    [[noreturn]] void resumeHooks();

    /// Hooks of programs of the other word size, which this platform does not tell apart.
    void start64() {}
    void end64() {}
    void pauseHooks64() {}
    void resumeHooks64() {}

private:
    Player() = default;

    void setHotKey(std::atomic<int>& hotKey, int keysym);
    void refreshKeys();
    void moveGrabs();
    std::optional<int> poll(HotKeyCounter& stops, HotKeyCounter& pauses);
    std::optional<int> keyPressed(unsigned code, uint32_t time, HotKeyCounter& stops, HotKeyCounter& pauses);
    bool takeCounts(unsigned code, HotKeyCounter& stops, HotKeyCounter& pauses) const;
    bool isTyped(unsigned code, uint32_t time) const;
    void noticeRelease();

    /// A hot key that the library pressed and nobody has released yet.
    struct CTypedKey {
        unsigned m_code = 0; ///< 0: none
        uint32_t m_time = 0; ///< of the press that was counted, in milliseconds of the server's clock
    };

    static std::atomic<Player*> s_player;

    std::atomic<int> m_started = 0;
    CHotKeyCodes m_keys; ///< that are grabbed while started
    CTypedKey m_typed;
};
