/// Where the files that this library writes may lie, and which of the files found there it writes to.
///
/// Another user may have put something into the place of such a file: a link to a file of the victim's, a
/// pipe that nobody reads, a second name of some other file. So the file itself is never reached through a
/// link, and only a regular file of this process's user with a single name is used. Links among the
/// directories on the way are followed: people move their logs to another disk that way.
///
/// Under sudo (root, and SUDO_USER is set) the directories may be that user's, who may be allowed less than
/// root. There no directory on the way is reached through a link either, from the home directory on where the
/// path leads through it and from the root directory elsewhere; files of that user are used like root's.
#pragma once

#include "include/ScopedFile.h"

#include <climits>
#include <cstdio>
#include <fcntl.h>
#include <sys/stat.h>

/// A file by the directory that holds it and its name there, for the system calls that take both. Under sudo
/// the directory is held open, so that nobody can exchange it between two calls. Nothing throws. Any thread.
class CFilePlace {
public:
    /// @param path  borrowed: must outlive this object
    explicit CFilePlace(const char* path) noexcept;
    CFilePlace(const CFilePlace&) = delete;
    CFilePlace& operator=(const CFilePlace&) = delete;

    /// -1 when a directory on the way is missing or not to be used.
    int directory() const noexcept { return m_directory ? m_directory.get() : m_otherwise; }
    int error() const noexcept { return m_error; } ///< the reason as an errno value, ELOOP for a link; else 0
    const char* name() const noexcept { return m_name; }
    /// Whether there is anything of that name.
    bool isTaken() const noexcept;
    bool remove() const noexcept; ///< also an empty directory
    /// Gives the file another name, and replaces what has that. @return whether it has it
    bool moveTo(const CFilePlace& place) const noexcept;

private:
    void walk(const char* path) noexcept;

    CDescriptor m_directory;
    int m_otherwise = AT_FDCWD;
    int m_error = 0;
    const char* m_name;
    char m_path[PATH_MAX];
};

bool isUnderSudo() noexcept;

/// Opens a file for writing, readable for its user alone when it is made. Never blocks.
/// @param mode  O_APPEND, O_TRUNC (once it is known to be the right file), or O_EXCL
/// @param found  unless null, receives what the system says of the file, before it is cut short
/// @return none when the file cannot be opened (errno says why) or is not to be used (errno is ELOOP then)
CDescriptor openToWrite(const CFilePlace& place, int mode, struct stat* found = nullptr) noexcept;

/// The same as a stream, for a dump. @param mode  O_APPEND or O_TRUNC. @return null as above; the caller
/// closes
FILE* openStream(const char* path, int mode) noexcept;

/// Opens a regular file for reading. Anything else in its place (a pipe that nobody writes to, a directory)
/// counts as missing and never blocks. @return null when it cannot be opened; the caller closes it
FILE* openRegularFile(const char* path) noexcept;

/// The same for a file that only root and the user of sudo may have written: under sudo what is not theirs is
/// refused (errno is ELOOP then).
FILE* openOwnFile(const char* path) noexcept;

/// Says on standard error that a file is not to be used, once for each path.
void reportRefused(const char* path) noexcept;
