/// Install options: the switches of an installation, and the table of key/value texts that option and
/// preference files are read into.
#pragma once

#include "common/trace/Hashtable.h"

#include <cstdio>

/// The options file "marlo.properties" of the install directory. Everything is static; the one instance
/// exists so that its destructor frees the table at exit. Any thread, at any time: before the library's
/// static initialisers have run, and after its destructors (every option is unset then).
class GxInstallOptions {
public:
    /// A table of texts that can be read from and written to a file of lines "key=value".
    class Properties : public StringHash {
    public:
        Properties() : StringHash(100) {}
        bool IsLoaded() const { return m_loaded; }
        /// The text of a key, or `defaultValue`. Owned by the table; valid until the table changes.
        /// @param ignoreCase  compare without case; of several such keys the last in strcmp order counts
        char* GetProperty(const char* key, const char* defaultValue, bool ignoreCase = false) const;
        void setProperty(const char* key, const char* value) { Add(key, value); }
        void setProperty(const char* key, int value);
        void setProperty(const char* key, bool value);
        /// Replaces the content by that of a file: the text before the first "=" of a line is the key, that
        /// up to the second the value, both without white space around them. Skipped are lines that start
        /// with "#", and pairs that lack a key or a value. A UTF-8 byte-order mark is passed over; a file
        /// that starts with the UTF-16 little-endian one is left unread, and the table not loaded. Of a file
        /// above 1 MiB only the whole lines of the first 1 MiB are read.
        void Load(FILE* file);
        /// Writes every pair as "key=value\r\n" in strcmp order of the keys, removing the file first. A
        /// reader sees the whole file or none. Failures are reported on standard error.
        void save(const char* path);
        void dump(FILE* stream) const; ///< every pair, for a developer

    private:
        void loadLine(char* line);

        bool m_loaded = false;
    };

    constexpr GxInstallOptions() = default;
    ~GxInstallOptions();
    GxInstallOptions(const GxInstallOptions&) = delete;
    GxInstallOptions& operator=(const GxInstallOptions&) = delete;

    /// The text of an option (one of the keys below), null when it is not set. The options file is read by
    /// the first call that finds one; later changes to it are not seen. The text lives until the process
    /// exits.
    static const char* GetOption(const char* key) noexcept;
    /// The install directory, null while it is not known. Looked for in the environment until it is found.
    static const char* GetInstallDir() noexcept;
    /// Sets the install directory unless another one is known already; one that differs in case only replaces
    /// it.
    /// @param dir  borrowed: it must live as long as the process
    static void SetInstallDir(const char* dir) noexcept;
    /// The options file, opened for reading; null when there is none.
    static FILE* GetPropertiesStream() noexcept;
    static void StripTrailingSlash(char* path) noexcept; ///< removes one "/" or "\" from the end, in place
    static char* Trim(char* text) noexcept; ///< removes white space from both ends, in place; answers `text`

    // Where other platforms keep the install directory; not consulted here.
    static const char* const installKeyName;
    static const char* const installDirValueName;
    static const char* const fileSeparator;
    static const char* const EOL;
    static const char* const OPTIONNOTSET; ///< the value that stands for "not set"

    // Keys that this library reads: playback, then the legacy trace.
    static const char* const SINGLE_MOUSE_MOVE;
    static const char* const ALLOW_MULTIPLE_THREADS;
    static const char* const ACCELERATE_ON_LINUX;
    static const char* const DEBUG_ENABLED;
    static const char* const DEBUG_FILENAME;
    static const char* const DEBUG_CLEAR;
    static const char* const DEBUG_FACILITIES;
    static const char* const DEBUG_FORMAT;
    static const char* const DEBUG_NATIVE_TO_CONSOLE;
    static const char* const DEBUG_NATIVE_TO_FILE;
    static const char* const BACK2MLDEBUG;

    // Keys that installations may have, and nothing here reads.
    static const char* const EXCLUDE_PROCESS_LIST;
    static const char* const ENABLE_FAST_PROCESSING;
    static const char* const USE_CTRL_WITH_ALTGR;
    static const char* const ENABLE_LCIE_PROCESSING;
    static const char* const RETRY_OUTOFSYNC_KB_EVENTS;
    static const char* const PLAY_WITH_NUMPAD;
    static const char* const HTML_NOT_BROKEN_DOM;
    static const char* const RESPECT_WIDE_SPACE;
    static const char* const BROWSER_INFEST;
    static const char* const PLAYER_HOOK64PROCESS_ENABLED;
    static const char* const SUPPORT_IE_PROTECTED_MODE;
    static const char* const HTML_IE_OWNERLESSDIALOG;
    static const char* const HTML_ENABLE_IE7PERFORMCHANGES;
    static const char* const HTML_ENABLE_DOJOFEATURE;
    static const char* const HTML_FF_ZINDEXFORDIV;
    static const char* const HTML_AJAX_AUTOTRACEON;
    static const char* const WINDOWS_TONOT_LISTEN_ON;
    static const char* const INSTALLDIR_IGNORE_MISMATCH;
    static const char* const STRING;
    static const char* const DEBUG_OUTPUT_TO_CONSOLE;
    static const char* const WINDOWLISTENER;
    static const char* const NATIVEPATH;
    static const char* const MESSAGESBASE;
    static const char* const JAVAC_OPTIONS;
    static const char* const JAVAC;
    static const char* const CSC_OPTIONS;
    static const char* const CSC;
    static const char* const VBC_OPTIONS;
    static const char* const VBC;
};

/// Whether an option or a preference says yes: "true" in any case. Null says no.
bool isTrue(const char* text) noexcept;

/// An unsigned decimal at the start of a text, behind white space: 0 when there is none, the largest number
/// when it is larger still.
unsigned parseUnsigned(const char* text) noexcept;
