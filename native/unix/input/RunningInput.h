/// Input that is being played when the process ends.
///
/// A thread may type or drag while another one ends the process, as a playback does that its stop key ended:
/// the JVM lets threads in native code run on. What has begun is then told to stop: it sends its remaining
/// releases without delay, puts locks and keyboard map back and ends. The end of the process waits for it,
/// two seconds at most; a delay that the X server is keeping cannot be cut short.
///
/// Any thread.
#pragma once

/// One piece of input, from its first request to its last.
class CRunningInput {
public:
    CRunningInput();
    ~CRunningInput();
    CRunningInput(const CRunningInput&) = delete;
    CRunningInput& operator=(const CRunningInput&) = delete;

    /// False when the process was ending already: nothing may be sent.
    bool mayBegin() const { return m_mayBegin; }

    /// Whether the process ends, so that what runs has to stop.
    static bool mustStop();
    /// Sleeps, resuming after signals; at the end of the process the rest of the time is left out.
    static void pause(int milliseconds);
    /// Has the end of the process call `action` after what runs has stopped, and wait two seconds for it at
    /// most: for what outlasts the calls that began it. Only when something has run.
    /// @param action  throws nothing
    static void atEnd(void (*action)());

private:
    const bool m_mayBegin;
};
