#include "common/trace/GxInstallOptions.h"

#include "common/trace/CRegistryInformation.h"
#include "common/trace/FilePlace.h"
#include "common/trace/GxDebug.h"

#include <charconv>
#include <climits>
#include <cstring>
#include <fcntl.h>
#include <unistd.h>
#include <memory>
#include <mutex>
#include <string>
#include <strings.h>

const char* const GxInstallOptions::installKeyName = "Software\\Quessa\\Helio Bench";
const char* const GxInstallOptions::installDirValueName = "Talvern GX Install Directory";
const char* const GxInstallOptions::fileSeparator = "/";
const char* const GxInstallOptions::EOL = "\n";
const char* const GxInstallOptions::OPTIONNOTSET = "<GxInstallOption Not Set>";
const char* const GxInstallOptions::ACCELERATE_ON_LINUX = "talvern.test.gx.accelerate_on_linux";
const char* const GxInstallOptions::EXCLUDE_PROCESS_LIST = "vtx.list.exclude.processes";
const char* const GxInstallOptions::ENABLE_FAST_PROCESSING = "talvern.test.gx.shortenprocesstimeout";
const char* const GxInstallOptions::USE_CTRL_WITH_ALTGR = "talvern.test.gx.usectrlwithaltgr";
const char* const GxInstallOptions::ENABLE_LCIE_PROCESSING = "talvern.test.gx.enablelcieprocessing";
const char* const GxInstallOptions::RETRY_OUTOFSYNC_KB_EVENTS = "talvern.test.gx.retryoutofsynckbevents";
const char* const GxInstallOptions::PLAY_WITH_NUMPAD = "talvern.test.gx.playspecial";
const char* const GxInstallOptions::HTML_NOT_BROKEN_DOM = "talvern.test.gx.html.notbrokendom";
const char* const GxInstallOptions::RESPECT_WIDE_SPACE = "talvern.test.gx.html.respectwidespace";
const char* const GxInstallOptions::BROWSER_INFEST = "talvern.test.gx.browser.infest_on_demand";
const char* const GxInstallOptions::PLAYER_HOOK64PROCESS_ENABLED =
    "talvern.test.gx.player.hook64process.enabled";
const char* const GxInstallOptions::SUPPORT_IE_PROTECTED_MODE = "talvern.test.gx.support_protected_mode";
const char* const GxInstallOptions::HTML_IE_OWNERLESSDIALOG =
    "talvern.test.gx.html.enablesupport4ownerlessiedialog";
const char* const GxInstallOptions::HTML_ENABLE_IE7PERFORMCHANGES =
    "talvern.test.gx.html.enableie7performancechanges";
const char* const GxInstallOptions::HTML_ENABLE_DOJOFEATURE = "talvern.test.gx.html.enabledojofeature";
const char* const GxInstallOptions::HTML_FF_ZINDEXFORDIV = "talvern.test.gx.html.ff.zindexfordiv";
const char* const GxInstallOptions::HTML_AJAX_AUTOTRACEON = "talvern.test.gx.html.ajax.autotrace";
const char* const GxInstallOptions::ALLOW_MULTIPLE_THREADS =
    "talvern.test.gx.script.playback.mouse.allow_multiple_threads";
const char* const GxInstallOptions::SINGLE_MOUSE_MOVE = "talvern.test.gx.script.playback.mouse.single_move";
const char* const GxInstallOptions::WINDOWS_TONOT_LISTEN_ON = "talvern.test.gx.noport_for_window";
const char* const GxInstallOptions::DEBUG_NATIVE_TO_CONSOLE = "talvern.test.gx.debug.native_to_console";
const char* const GxInstallOptions::DEBUG_NATIVE_TO_FILE = "talvern.test.gx.debug.native_to_file";
const char* const GxInstallOptions::INSTALLDIR_IGNORE_MISMATCH = "talvern.test.gx.installdir.ignore_mismatch";
const char* const GxInstallOptions::STRING = "talvern.test.gx.support";
const char* const GxInstallOptions::DEBUG_OUTPUT_TO_CONSOLE = "talvern.test.gx.debug.debugconsole";
const char* const GxInstallOptions::DEBUG_FILENAME = "talvern.test.gx.debug.filename";
const char* const GxInstallOptions::DEBUG_FORMAT = "talvern.test.gx.debug.format";
const char* const GxInstallOptions::DEBUG_FACILITIES = "talvern.test.gx.debug.filter";
const char* const GxInstallOptions::DEBUG_CLEAR = "talvern.test.gx.debug.clear_on_init";
const char* const GxInstallOptions::DEBUG_ENABLED = "talvern.test.gx.debug.enabled";
const char* const GxInstallOptions::BACK2MLDEBUG = "talvern.test.gx.debug.back2mldebug";
const char* const GxInstallOptions::WINDOWLISTENER = "talvern.test.gx.windowlistener";
const char* const GxInstallOptions::NATIVEPATH = "talvern.test.gx.nativepath";
const char* const GxInstallOptions::MESSAGESBASE = "talvern.test.gx.messagesbase";
const char* const GxInstallOptions::JAVAC_OPTIONS = "talvern.test.gx.javac.options";
const char* const GxInstallOptions::JAVAC = "talvern.test.gx.javac";
const char* const GxInstallOptions::CSC_OPTIONS = "talvern.test.gx.csc.options";
const char* const GxInstallOptions::CSC = "talvern.test.gx.csc";
const char* const GxInstallOptions::VBC_OPTIONS = "talvern.test.gx.vbc.options";
const char* const GxInstallOptions::VBC = "talvern.test.gx.vbc";

namespace {
constexpr size_t maxFileSize = 1 << 20;
constexpr unsigned installDirSize = 512;
constexpr char utf16Mark[] = "\xFF\xFE";
constexpr char utf8Mark[] = "\xEF\xBB\xBF";

// Usable before this unit's initialisers have run and after the destructors: none of these has any of its
// own.
constinit std::mutex s_lock;
constinit GxInstallOptions::Properties* s_options = nullptr;
constinit const char* installDir = nullptr;
constinit bool s_exiting = false;

GxInstallOptions s_instance;

bool isSpace(char c)
{
    return std::strchr(" \t\n\v\f\r", c) && c;
}

/// At most maxFileSize bytes, without the line that the limit cut.
std::string contentOf(FILE* file)
{
    std::string content;
    char chunk[4096];
    while (const size_t got = std::fread(chunk, 1, sizeof chunk, file)) {
        if (content.size() + got > maxFileSize) {
            content.resize(content.rfind('\n') + 1);
            break;
        }
        content.append(chunk, got);
    }
    return content;
}

const char* findInstallDir() noexcept
{
    static char found[installDirSize];
    if (!installDir && CRegistryInformation::getMarloInstall(found, sizeof found))
        installDir = found;
    return installDir;
}

FILE* openOptionsFile()
{
    const char* directory = findInstallDir();
    if (!directory)
        return nullptr;
    return openRegularFile(
        (std::string(directory) + GxInstallOptions::fileSeparator + "marlo.properties").c_str());
}

/// The table, or null while there is no file to fill it from.
GxInstallOptions::Properties* loadedOptions()
{
    if (s_exiting)
        return nullptr;
    if (!s_options)
        s_options = new GxInstallOptions::Properties;
    if (!s_options->IsLoaded())
        if (const ScopedFile file{openOptionsFile()})
            s_options->Load(file.get());
    return s_options->IsLoaded() ? s_options : nullptr;
}

bool writePairs(const GxInstallOptions::Properties& table, FILE* file)
{
    for (int i = 0; i < table.Count(); ++i)
        if (std::fprintf(file, "%s=%s\r\n", table.KeyAt(i), table.ValueAt(i)) < 0 || std::fflush(file) != 0)
            return false;
    return true;
}

/// Creates a file that nothing else has open; what a crashed process of the same id left there goes first.
FILE* createFile(const CFilePlace& place)
{
    place.remove();
    CDescriptor created = openToWrite(place, O_EXCL);
    return created ? fdopen(created.release(), "wb") : nullptr;
}
} // namespace

bool isTrue(const char* text) noexcept
{
    return text && strcasecmp(text, "true") == 0;
}

unsigned parseUnsigned(const char* text) noexcept
{
    unsigned number = 0;
    while (isSpace(*text))
        ++text;
    const auto end = std::from_chars(text, text + std::strlen(text), number);
    return end.ec == std::errc::result_out_of_range ? UINT_MAX : number;
}

char* GxInstallOptions::Properties::GetProperty(const char* key, const char* defaultValue,
                                                bool ignoreCase) const
{
    if (!ignoreCase) {
        char** const found = Find(key);
        return found ? *found : const_cast<char*>(defaultValue);
    }
    for (int i = Count() - 1; i >= 0; --i)
        if (strcasecmp(KeyAt(i), key) == 0)
            return ValueAt(i);
    return const_cast<char*>(defaultValue);
}

void GxInstallOptions::Properties::setProperty(const char* key, int value)
{
    char text[16];
    std::snprintf(text, sizeof text, "%d", value);
    Add(key, text);
}

void GxInstallOptions::Properties::setProperty(const char* key, bool value)
{
    Add(key, value ? "true" : "false");
}

void GxInstallOptions::Properties::Load(FILE* file)
{
    std::string content = contentOf(file);
    if (content.starts_with(utf16Mark))
        return;
    RemoveAll();
    size_t start = content.starts_with(utf8Mark) ? std::strlen(utf8Mark) : 0;
    while (start < content.size()) {
        const size_t end = std::min(content.find('\n', start), content.size());
        content[end] = '\0'; // of a line with zero bytes only the text before the first counts
        loadLine(&content[start]);
        start = end + 1;
    }
    m_loaded = true;
}

void GxInstallOptions::Properties::loadLine(char* line)
{
    char* value = std::strchr(line, '=');
    if (*line == '#' || !value)
        return;
    *value++ = '\0';
    if (char* const rest = std::strchr(value, '='))
        *rest = '\0';
    if (*Trim(line) && *Trim(value))
        Add(line, value);
}

void GxInstallOptions::Properties::save(const char* path)
{
    const CFilePlace place(path);
    if (!place.remove())
        GxDebug::ConsoleWrite("Error removing preference file");
    // Written beside its place and moved there: another process that starts now must not read half of it.
    const std::string draftPath = std::string(path) + '.' + std::to_string(getpid());
    const CFilePlace draft(draftPath.c_str());
    GxDebug::printStep("Now opening the file : %s\n", path);
    ScopedFile file(createFile(draft));
    if (file)
        GxDebug::printStep("Successfully opened the file : %s\n", path);
    else
        GxDebug::printStep("Failed to open the file : %s\n", path);
    const bool written = file && writePairs(*this, file.get());
    file.reset();
    if (!written || !draft.moveTo(place)) {
        draft.remove();
        GxDebug::ConsoleWrite("Error writing preference file");
        return;
    }
    GxDebug::printStep("Calling setOwner on file : %s\n", path);
    GxDebug::setOwner(path, place);
}

void GxInstallOptions::Properties::dump(FILE* stream) const
{
    std::fputs("Dumping properties....\n", stream);
    std::fprintf(stream, "# Keys = %d\n", Count());
    for (int i = 0; i < Count(); ++i)
        std::fprintf(stream, "%s=%s\r\n", KeyAt(i), ValueAt(i));
}

GxInstallOptions::~GxInstallOptions()
{
    const std::lock_guard guard(s_lock);
    s_exiting = true;
    delete std::exchange(s_options, nullptr);
}

const char* GxInstallOptions::GetOption(const char* key) noexcept
try {
    const std::lock_guard guard(s_lock);
    const Properties* const options = loadedOptions();
    const char* const value = options ? options->GetProperty(key, OPTIONNOTSET) : OPTIONNOTSET;
    return strcasecmp(value, OPTIONNOTSET) == 0 ? nullptr : value;
} catch (const std::exception&) {
    return nullptr; // no memory: unset, as after any other failure
}

const char* GxInstallOptions::GetInstallDir() noexcept
{
    const std::lock_guard guard(s_lock);
    return findInstallDir();
}

void GxInstallOptions::SetInstallDir(const char* dir) noexcept
{
    const std::lock_guard guard(s_lock);
    if (dir && (!installDir || strcasecmp(dir, installDir) == 0))
        installDir = dir;
}

FILE* GxInstallOptions::GetPropertiesStream() noexcept
try {
    const std::lock_guard guard(s_lock);
    return openOptionsFile();
} catch (const std::exception&) {
    return nullptr;
}

void GxInstallOptions::StripTrailingSlash(char* path) noexcept
{
    const size_t length = std::strlen(path);
    if (length > 0 && (path[length - 1] == '/' || path[length - 1] == '\\'))
        path[length - 1] = '\0';
}

char* GxInstallOptions::Trim(char* text) noexcept
{
    size_t length = std::strlen(text);
    while (length > 0 && isSpace(text[length - 1]))
        --length;
    size_t start = 0;
    while (start < length && isSpace(text[start]))
        ++start;
    std::memmove(text, text + start, length - start);
    text[length - start] = '\0';
    return text;
}
