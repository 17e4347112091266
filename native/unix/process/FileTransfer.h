/// Copies and moves files whole: the target is the old file or the complete new one, at every moment.
#pragma once

/// Both write the new content into a file ".gx-XXXXXX" beside the target (X: letters and digits) and give it
/// the target's name once it is complete and on disk; only a process that is killed meanwhile leaves that
/// file behind. Any thread; they block as long as the file systems do. Why a call failed is traced.
///
/// A target that exists is replaced when it is a file; a directory, a device or a pipe is refused, as source
/// and as target. So is a null or empty path.

/// Copies a file with its permission bits and its times of last access and change. Where the source or the
/// target is a symbolic link, the file behind it is meant; a target that is a stranger's link in a directory
/// that all may write to, such as /tmp, is refused. The owner is this process's user, and the bits "set user
/// id" and "set group id" are not copied. A copy of a file to itself changes nothing and succeeds.
/// @return whether the copy stands
bool copyFile(const char* from, const char* to);

/// Gives a file another name, on another file system if need be: there it is copied as above, with its owner
/// where the system allows that and all its bits then, and removed. Symbolic links are moved themselves,
/// within one file system only, and replaced when they are the target. Moving a file to itself changes
/// nothing and succeeds.
/// @return whether the file has its new name and no longer its old one. When the old name cannot be removed
///         after a copy to another file system, both stand.
bool moveFile(const char* from, const char* to);
