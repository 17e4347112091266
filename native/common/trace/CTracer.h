/// The process tracer: diagnostics of the input, window and process units.
#pragma once

class CTracer {
public:
    /// Writes a message to the trace file as component "Native" at the level of GxDebug::Debug; nothing when
    /// that level is filtered out. Any thread.
    /// @param format  printf style, without a line end
    [[gnu::format(printf, 1, 2)]] static void debugTrace(const char* format, ...) noexcept;
};
