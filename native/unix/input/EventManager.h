/// Synthetic user input: one event is one mouse, key or scroll action. An event is built, emitted once and
/// destroyed; a recorded one travels the other way and is asked for its Java form.
///
/// Emission goes to the X server through the XTest extension, on g_display and on the calling thread. It
/// blocks for the delays below and until the server has processed the event. It never throws: the outcome is
/// the event's status. With the install option ALLOW_MULTIPLE_THREADS whole events are serialised across
/// threads and processes by the named mutex "eventMutex", for which an event waits 5 seconds at most before
/// it is played all the same; a text waits for another one of its own process however long that lasts.
/// Without the option the events of threads interleave, and texts that are typed at once may come out wrong.
/// When the process ends, an event that is being played is cut short (RunningInput.h), and those that come
/// later end with PlaybackNoXTest.
#pragma once

#include "unix/window/WindowManager.h"

#include <jni.h>

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

/// Outcome of an emission. The exported functions turn all but the first into Java exceptions.
enum PlaybackStatus : int {
    PlaybackDone = 0,
    PlaybackTargetNotShown = 1, ///< a target window has an empty rectangle
    PlaybackUnknownKind = 2,    ///< nobody plays an event of this kind
    PlaybackOutsideTarget = 3,  ///< the point lies outside of the window's rectangle
    PlaybackFailed = 4,         ///< typing a string failed, or events cannot be serialised
    PlaybackTargetCovered = 5,  ///< another window is in front at the point
    PlaybackNoPoint = 6,        ///< the action needs a point and there is none
    PlaybackNoXTest = 7,        ///< no X server, or one without the XTest extension
    PlaybackOtherTopLevel = 8,  ///< the window's top-level ancestor is not the given one
    PlaybackOffScreen = 9,      ///< the point lies outside of the root window
};

/// Delays of synthetic input in milliseconds. The server waits before it lets the press, release or motion
/// happen, so they hold for the distance to the event before.
extern std::atomic<int> g_delayMouseDown;
extern std::atomic<int> g_delayMouseUp;
extern std::atomic<int> g_delayMouseMove; ///< of each motion; also the least pause before a move
extern std::atomic<int> g_delayKeyDown;   ///< also of the release of a modifier held for a mouse action
extern std::atomic<int> g_delayKeyUp;
extern std::atomic<int> g_delayWindowActivate;
extern std::atomic<int> g_mouseMoveInterpolationPx; ///< pixels that one step of an interpolated move covers

/// Counters of the recording hooks, read by the Java class Event. X11 has no such hooks: they stay 0.
extern int g_num_tagged_events;
extern int g_num_hook_calls;
extern int g_num_hook_calls_tagged;
extern int g_num_waits;
extern int g_num_timeouts;

/// One unit of synthetic input.
class Event {
public:
    /// Gives the event mutex back if an emission that stopped early kept it.
    virtual ~Event() { leaveMutex(); }
    /// Plays the event and leaves the outcome in status().
    virtual void emit() = 0;
    /// A new local reference to the event's Java form; null when it has none, or when a class or constructor
    /// is missing.
    virtual jobject toJavaEvent(JNIEnv* env) const = 0;

    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    /// Stores each argument that is not negative, in milliseconds, and leaves the other delays.
    static void setDelays(int mouseDown, int mouseUp, int mouseMove, int keyDown, int keyUp,
                          int windowActivate);
    /// In low-level mode a mouse event without a point happens where the pointer is.
    static void setIsLowLevelPlayback(bool lowLevel) { isLowLevelPlayback = lowLevel; }
    static bool getIsLowLevelPlayback() { return isLowLevelPlayback; }

    int status() const { return m_status; } ///< a PlaybackStatus: the outcome of this event's emission
    /// The outcome of the last emission of the process; while several threads play, whose that is is open.
    static std::atomic<int> s_playbackStatus;

protected:
    /// @param time  milliseconds; 0 for an event that is to be played
    Event(int64_t time, int kind) : m_time(time), m_kind(kind) {}
    /// Whether events are serialised across threads and processes. The install option that asks for it is
    /// read once. When it does and there can be no mutex, the answer is false and the status PlaybackFailed.
    bool event_sync_init();
    /// Begins an emission: clears the status and takes the event mutex when events are serialised. Blocks for
    /// 5 seconds at most; when another thread or process keeps the mutex longer, the event is played without
    /// it.
    /// @param unserialised  trace line for an event that is played without the mutex
    /// @param isText        another text of this process is waited for first, without limit
    /// @return false when the event must not be played
    bool enterMutex(const char* unserialised, bool isText);
    /// Ends an emission; without the mutex it does nothing.
    void leaveMutex();
    /// Notes the outcome, and traces it when it is a failure.
    void endWith(int status);

    int64_t m_time;
    int m_kind;

private:
    int m_status = PlaybackDone;
    bool m_holdsMutex = false;
    std::unique_lock<std::recursive_mutex> m_oneText;

    static std::atomic<bool> isLowLevelPlayback;
};

/// What a mouse event acts on.
struct CMouseTarget {
    CMouseTarget() = default; ///< nothing
    /// A null pointer asks for a look-up: without a window the one at the point is taken, with its top-level
    /// window, and the point becomes relative to it; without a top-level window, that of the window. Null
    /// windows are kept as they are: the point is then one of the screen.
    /// @param point  pixels from the window's origin, or from the root's without a window
    CMouseTarget(std::optional<Point> point, const CWindow* window, const TopLevelWindow* topLevel);

    std::optional<Point> m_point;
    CWindow m_window;
    TopLevelWindow m_topLevel;
};

/// A mouse action.
class MouseEvent : public Event {
public:
    enum Kind : int {
        Press = 1,   ///< move to the point, press the button
        Release = 2, ///< release the button where the pointer is
        Move = 3,
        Click = 4, ///< move to the point, press and release the button `count` times
        Drag = 5,  ///< from the start to the end, after count - 1 clicks
        Hover = 6, ///< move to the point, if any, and stay for the delay
        Wheel = 8, ///< turn the wheel where the pointer is
    };
    /// Bits of the modifiers. The button is the right one (3) with RightButton, else the middle one (2) with
    /// MiddleButton, else the left one (1).
    enum Modifier : int {
        MiddleButton = 0x02,
        RightButton = 0x04,
        WithShift = 0x20,
        WithControl = 0x40,
        WithAlt = 0x80,
    };

    /// @param modifiers    Modifier bits; of a recorded event the number of the button
    /// @param delay        milliseconds before the move, or of a hover
    /// @param wheelAmount  notches; negative ones turn towards the user
    MouseEvent(int64_t time, int kind, int count, CMouseTarget start, CMouseTarget end, int modifiers,
               int delay, int wheelAmount);

    void emit() override;
    jobject toJavaEvent(JNIEnv* env) const override;

    /// What a recorded event tells: its Kind, the number of its button (0 for none), and where it was.
    int kind() const { return m_kind; }
    int button() const { return m_modifiers; }
    std::optional<Point> point() const { return m_start.m_point; }

    /// Step of interpolated moves in pixels; values below 1 are ignored.
    static void setMouseMoveInterpolationPx(int px);

private:
    int aim(Point& start, Point& end) const;
    bool needsPointThatIsMissing() const;
    int play(const Point& start, const Point& end) const;
    void drag(const Point& start, const Point& end, unsigned button, int pause) const;

    int m_count;
    CMouseTarget m_start;
    CMouseTarget m_end;
    int m_modifiers;
    int m_delay;
    int m_wheelAmount;
};

/// A key action.
class KeyEvent : public Event {
public:
    enum Kind : int {
        Press = 1,      ///< by keysym
        Release = 2,    ///< by keysym
        KeyString = 3,  ///< a text in the key-string syntax (processkey.h)
        InputChars = 4, ///< plain characters
    };

    /// @param text  modified UTF-8; null for a press or release
    KeyEvent(int64_t time, int kind, int keysym, const char* text, const CWindow& window,
             const TopLevelWindow& topLevel);
    /// @param text  16-bit units up to a terminating 0, copied; null for a press or release
    KeyEvent(int64_t time, int kind, int keysym, const unsigned short* text, const CWindow& window,
             const TopLevelWindow& topLevel);
    /// @param first   what the Java form carries beyond the keysym, with `second`; not used here
    KeyEvent(int64_t time, int kind, int keysym, int first, int second);

    void emit() override;
    jobject toJavaEvent(JNIEnv* env) const override;

private:
    bool aimAtWindow();
    bool isText() const { return m_kind == KeyString || m_kind == InputChars; }
    unsigned long ancestorOrTopLevel() const;
    int play() const;
    bool type(bool parse) const;
    jobject strokeForm(JNIEnv* env) const;
    jobject textForm(JNIEnv* env) const;
    jstring javaText(JNIEnv* env) const;

    int m_keysym;
    int m_first = 0;
    int m_second = 0;
    bool m_hasText = false;
    std::string m_text;      ///< modified UTF-8, when m_wide is false
    std::u16string m_text16; ///< when m_wide is true
    bool m_wide = false;
    CWindow m_window;
    TopLevelWindow m_topLevel;
};

/// A turn of a scroll bar. Emission does nothing on X11.
class ScrollEvent : public Event {
public:
    /// @param data  four numbers of the scroll bar, carried through to the Java form
    ScrollEvent(int64_t time, const CWindow& window, const int (&data)[4]);

    void emit() override;
    jobject toJavaEvent(JNIEnv* env) const override;

private:
    CWindow m_window;
    int m_data[4];
};
