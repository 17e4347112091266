/// Strokes of keys that stay one stroke however late this process or the X server is in the middle of them.
///
/// While a key is down the server repeats it, at first after 0.66 s. On a busy machine a process may not run for
/// that long between a press and its release, nor the server, which finds on its return that the time has passed.
/// So a press waits for what comes next: with its release it is sent in one piece, and no key repeats
/// meanwhile. Without, as that of a key that is held, it repeats as any other.
///
/// Who is killed in the middle of a stroke leaves the keys not repeating, until the next player plays: see
/// HeldInput.h.
///
/// On g_display, which must be open and have XTest. One thread.
#pragma once

#include <optional>

class CWholeStrokes {
public:
    CWholeStrokes(); ///< Round trip.
    /// Sends what waits, and blocks until the server has done it.
    ~CWholeStrokes();
    CWholeStrokes(const CWholeStrokes&) = delete;
    CWholeStrokes& operator=(const CWholeStrokes&) = delete;
    /// @param delayMs  milliseconds that the server waits before
    void press(unsigned char key, int delayMs);
    void release(unsigned char key, int delayMs); ///< Blocks until the server has done it.
    void send();                                  ///< the press that waits, if one does; does not flush

private:
    struct CPress {
        unsigned char m_key;
        int m_delayMs;
    };

    std::optional<CPress> m_press;
    const bool m_keysRepeat; ///< as the user wants it
};
