/// Writing lines to log and trace files, and rolling these over. Any thread; several processes may write the
/// same file. Nothing throws. A file that is not to be used (see FilePlace.h) is left alone and named on
/// standard error, once. Where a full disk takes only a piece of a line, the piece is cut to end in a line
/// end.
#pragma once

#include <climits>
#include <string_view>

constexpr unsigned noSizeLimit = UINT_MAX;

/// Appends one line with one write. A file that is larger than the limit (its size in whole KiB) is renamed
/// first and begun anew. Never waits for another process. What cannot be written goes to standard output,
/// with a message on standard error.
/// @param text      the line with its line end
/// @param limitKiB  noSizeLimit lets the file grow
/// @return whether the file could be opened
bool WriteMessage(const char* path, std::string_view text, unsigned limitKiB = noSizeLimit) noexcept;

/// One write. @return whether all of it was written
bool appendToFile(const char* path, std::string_view text) noexcept;
void emptyFile(const char* path) noexcept; ///< creates it when it is missing
