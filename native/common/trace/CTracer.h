/// The process tracer: diagnostics of the input, window and process units.
#pragma once

#include <string_view>

class GxDebug;

class CTracer {
public:
    /// Whether debugTrace writes anything: for a message that takes time to make.
    static bool isOn() noexcept;
    /// Writes a message to the trace file as component "Native" at the level of GxDebug::Debug; nothing when
    /// that level is filtered out. Any thread.
    /// @param format  printf style, without a line end
    [[gnu::format(printf, 1, 2)]] static void debugTrace(const char* format, ...) noexcept;
    /// Writes what failed as errors of a component: a message for each line of the text, and for each part of
    /// a line that is longer than a message may be. Any thread.
    static void traceFailure(const GxDebug& component, std::string_view text) noexcept;
};
