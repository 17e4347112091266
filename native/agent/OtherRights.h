/// Programs that run with other rights than their caller's.
#pragma once

/// Whether a program file is set-user-id, set-group-id or has capabilities. Nothing allocates: may be asked
/// between fork and exec. A file that cannot be looked at counts as such a one.
namespace OtherRights {
bool ofFile(const char* path);
bool ofDescriptor(int file);
bool inPath(const char* name); ///< the first executable file of that name in PATH; one with a "/" is a path
} // namespace OtherRights
