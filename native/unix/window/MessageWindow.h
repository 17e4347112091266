/// Requests for the GUI thread of the application under test, sent as client messages.
///
/// A message carries 32 bits a word, so on a 64-bit machine the addresses in it arrive cut. The whole request
/// waits in a list of this process, and a message that arrives names it by the low halves of its words.
#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <mutex>

/// A private window on the library's connection that such messages are sent to. One static object for each
/// kind of sender; its window and the atom "gx_marlo_channel" are made by the first message and stay.
class CMessageWindow {
public:
    /// The words of a message; those that a sender has no use for are 0.
    using Words = std::array<unsigned long, 4>;

    /// Sends a message and returns once the server has it. Any thread.
    /// @param request  what the message asks for; owns all that must outlive the call. Runs at most once, on
    /// the thread that delivers
    /// @return false when there is no X server: nothing waits then
    bool send(const Words& words, std::function<void()> request);

    /// Runs the requests whose messages have arrived, in order, on the calling thread: the GUI thread. Does
    /// not block. What a request throws is traced.
    /// @return how many ran
    static int deliver();

    /// A descriptor that is readable while something may wait to be delivered: a message can also be read off
    /// the connection by another thread's round trip, so watching the connection alone is not enough.
    /// `deliver` empties it.
    /// @return -1 when the system has none left
    static int wakeDescriptor();
    /// Makes the descriptor readable: at once, or after a turn that is under way.
    static void wake();

    /// A turn of the GUI thread, while it lives. The program has as long for its own events before the next
    /// one, up to a millisecond, however much is sent.
    class CTurn {
    public:
        CTurn();
        ~CTurn();
        CTurn(const CTurn&) = delete;

    private:
        const std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    };

private:
    unsigned long window();

    std::mutex m_making;
    unsigned long m_window = 0;
};
