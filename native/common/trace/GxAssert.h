/// Assertions that stay live in every build.
#pragma once

/// Writes the assertion's text, its place and "Assertion failed" to standard error and ends the process with
/// abort(). Any thread.
[[noreturn]] void gxAssertFailed(const char* text, const char* file, int line) noexcept;

/// Ends the process unless `condition` holds. The text that users see is an argument of its own, so that no
/// renaming or formatting of the code changes it.
#define GX_ASSERT(condition, text)                                                                           \
    ((condition) ? static_cast<void>(0) : gxAssertFailed(text, __FILE__, __LINE__))
