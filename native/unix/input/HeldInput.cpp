#include "HeldInput.h"

#include "CTracer.h"
#include "GxGlobals.h"
#include "Keyboards.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <functional>
#include <iterator>
#include <mutex>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "ScopedX.h"
#include <X11/Xlib-xcb.h>
#include <X11/extensions/XTest.h>
#include <xcb/xcb.h>

namespace {
constexpr char playerName[] = "_GXSYS_PLAYER_";
constexpr char keyboardsName[] = "_GXSYS_KEYBOARDS";
constexpr uint32_t longestProperty = 1 << 22; ///< in words

/// The machine and the process namespace as one number; 0 when that cannot be told.
uint32_t placeOfThisProcess()
{
    std::string boot;
    char space[64];
    std::getline(std::ifstream("/proc/sys/kernel/random/boot_id"), boot);
    const ssize_t length = readlink("/proc/self/ns/pid", space, sizeof space);
    if (boot.empty() || length <= 0)
        return 0;
    return static_cast<uint32_t>(std::hash<std::string>()(boot.append(space, static_cast<size_t>(length))));
}

/// When a process started, in clock ticks; nothing for one that has ended or cannot be looked at.
std::optional<uint32_t> startOf(uint32_t process)
{
    constexpr int fieldsBetween = 18; // from the parent to the start time
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string text(std::istreambuf_iterator<char>(file), {});
    const size_t name = text.rfind(')'); // it may hold blanks and parentheses
    if (name == std::string::npos || text.compare(name, 3, ") Z") == 0)
        return std::nullopt;
    size_t at = text.find(' ', name + 2);
    for (int field = 0; field < fieldsBetween && at != std::string::npos; ++field)
        at = text.find(' ', at + 1);
    return at == std::string::npos ? std::nullopt
                                   : std::optional(static_cast<uint32_t>(std::stoull(text.substr(at + 1))));
}

struct CRecord {
    static constexpr size_t words = 14;
    static constexpr size_t firstOfCodes = 5;

    uint32_t m_place = 0;
    uint32_t m_process = 0;
    uint32_t m_start = 0;
    bool m_borrows = false;
    uint32_t m_locks = 0;
    HeldCodes m_down;

    bool operator==(const CRecord&) const = default;
};

CRecord recordOfThisProcess()
{
    const auto process = static_cast<uint32_t>(getpid());
    static const uint32_t s_place = placeOfThisProcess();
    return {s_place, process, startOf(process).value_or(0), false, 0, {}};
}

std::vector<uint32_t> wordsOf(const CRecord& record)
{
    std::vector<uint32_t> words{record.m_place, record.m_process, record.m_start, record.m_borrows,
                                record.m_locks};
    words.resize(CRecord::words);
    for (size_t code = 0; code < record.m_down.size(); ++code)
        words[CRecord::firstOfCodes + code / 32] |= uint32_t{record.m_down[code]} << code % 32;
    return words;
}

std::optional<CRecord> recordIn(const std::vector<uint32_t>& words)
{
    if (words.size() != CRecord::words)
        return std::nullopt;
    CRecord record{words[0], words[1], words[2], words[3] != 0, words[4], {}};
    for (size_t code = 0; code < record.m_down.size(); ++code)
        record.m_down[code] = words[CRecord::firstOfCodes + code / 32] >> code % 32 & 1;
    return record;
}

/// Whether the process of a record has ended, as far as it can be seen from here. The server may not have
/// noticed yet, or still keep a delay for it; and a child of it may have the connection.
bool hasEnded(const CRecord& record)
{
    static const uint32_t s_place = placeOfThisProcess();
    if (record.m_place == 0 || record.m_place != s_place)
        return false;
    if (kill(static_cast<pid_t>(record.m_process), 0) != 0)
        return errno == ESRCH;
    const std::string directory = "/proc/" + std::to_string(record.m_process);
    return access((directory + "/stat").c_str(), R_OK) == 0 && startOf(record.m_process) != record.m_start;
}

std::vector<uint32_t> wordsIn(xcb_connection_t* connection, xcb_get_property_cookie_t cookie)
{
    const MallocPtr<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* const first = static_cast<const uint32_t*>(xcb_get_property_value(reply.get()));
    return {first, first + reply->value_len};
}

/// Nobody else plays, connects or goes while it lives.
class CServerGrab {
public:
    explicit CServerGrab(Display* display) : m_display(display) { XGrabServer(display); }
    ~CServerGrab()
    {
        XUngrabServer(m_display);
        XFlush(m_display);
    }
    CServerGrab(const CServerGrab&) = delete;
    CServerGrab& operator=(const CServerGrab&) = delete;

private:
    Display* m_display;
};

/// One name of a player, and who has it.
struct CSlot {
    xcb_atom_t m_name;
    xcb_window_t m_owner; ///< 0: nobody, or one that has gone
    std::optional<CRecord> m_record;
    bool m_isLeft; ///< by a player that has gone

    bool isOfLiving() const { return m_record && !m_isLeft; }
};

/// The records, as this process sees them, and its own.
class CPlayers {
public:
    void begin() { prepare(std::lock_guard(m_mutex)); }
    void end();
    void note(unsigned code, bool down);
    void switchLocks(uint32_t before);
    void keepLocks();
    void borrow();
    void giveBack();

private:
    void prepare(const std::lock_guard<std::mutex>&);
    xcb_connection_t* connection() const { return XGetXCBConnection(m_display); }
    xcb_window_t root() const { return static_cast<xcb_window_t>(DefaultRootWindow(m_display)); }
    void moveTo(Display* display);
    std::vector<CSlot> look();
    void clearUp(std::vector<CSlot> slots);
    HeldCodes release(const CRecord& record, const HeldCodes& wanted);
    void putLocksBack(CRecord& record);
    void claim(const std::vector<CSlot>& slots);
    bool othersBorrow(const std::vector<CSlot>& slots) const;
    void putKeyboardsBack();
    void write(xcb_atom_t name, const std::vector<uint32_t>& words);
    void writeRecord();

    std::mutex m_mutex;
    Display* m_display = nullptr;
    std::vector<xcb_atom_t> m_known; ///< names of players, by their numbers
    xcb_atom_t m_keyboards = 0;
    xcb_atom_t m_name = 0; ///< the own one; 0 until there is one
    CRecord m_record;      ///< as it is to be on record; names what is down, or was in this event
    CRecord m_written;
    HeldCodes m_down; ///< what is down now
    int m_texts = 0;
    int m_borrowers = 0;
};

xcb_atom_t atomOf(xcb_connection_t* connection, const std::string& name, bool mustExist)
{
    const auto cookie =
        xcb_intern_atom(connection, mustExist, static_cast<uint16_t>(name.size()), name.c_str());
    const MallocPtr<xcb_intern_atom_reply_t> reply(xcb_intern_atom_reply(connection, cookie, nullptr));
    return reply ? reply->atom : xcb_atom_t{XCB_ATOM_NONE};
}

std::string nameOf(size_t number)
{
    return playerName + std::to_string(number);
}

/// What was on record on another connection ended with that.
void CPlayers::moveTo(Display* display)
{
    m_display = display;
    m_known.clear();
    m_name = 0;
    m_down.reset();
    m_record = recordOfThisProcess();
    m_keyboards = atomOf(connection(), keyboardsName, false);
}

/// Names that are new since the last look cost a round trip more.
std::vector<CSlot> CPlayers::look()
{
    struct CQuestion {
        xcb_get_selection_owner_cookie_t m_owner;
        xcb_get_property_cookie_t m_record;
    };
    for (xcb_atom_t next; (next = atomOf(connection(), nameOf(m_known.size()), true)) != XCB_ATOM_NONE;)
        m_known.push_back(next);
    std::vector<CQuestion> questions;
    for (const xcb_atom_t name : m_known)
        questions.push_back({xcb_get_selection_owner(connection(), name),
                             xcb_get_property(connection(), 0, root(), name, XCB_ATOM_CARDINAL, 0, 64)});
    std::vector<CSlot> slots;
    for (size_t i = 0; i < questions.size(); ++i) {
        const MallocPtr<xcb_get_selection_owner_reply_t> reply(
            xcb_get_selection_owner_reply(connection(), questions[i].m_owner, nullptr));
        const xcb_window_t owner = reply ? reply->owner : 0;
        const auto record = recordIn(wordsIn(connection(), questions[i].m_record));
        const bool isLeft = record && m_known[i] != m_name && (owner == 0 || hasEnded(*record));
        slots.push_back({m_known[i], owner, record, isLeft});
    }
    return slots;
}

void CPlayers::write(xcb_atom_t name, const std::vector<uint32_t>& words)
{
    xcb_change_property(connection(), XCB_PROP_MODE_REPLACE, root(), name, XCB_ATOM_CARDINAL, 32,
                        static_cast<uint32_t>(words.size()), words.data());
}

void CPlayers::writeRecord()
{
    write(m_name, wordsOf(m_record));
    m_written = m_record;
}

/// A name that nobody has, or a new one.
void CPlayers::claim(const std::vector<CSlot>& slots)
{
    const auto free = std::find_if(slots.begin(), slots.end(),
                                   [](const CSlot& slot) { return slot.m_owner == 0 && !slot.m_record; });
    m_name = free != slots.end() ? free->m_name : atomOf(connection(), nameOf(m_known.size()), false);
    const Window window =
        XCreateWindow(m_display, root(), -1, -1, 1, 1, 0, 0, InputOnly, nullptr, 0, nullptr);
    XSetSelectionOwner(m_display, m_name, window, CurrentTime);
    writeRecord();
}

bool CPlayers::othersBorrow(const std::vector<CSlot>& slots) const
{
    return std::any_of(slots.begin(), slots.end(), [&](const CSlot& slot) {
        return slot.m_name != m_name && slot.isOfLiving() && slot.m_record->m_borrows;
    });
}

/// Releases what a player has left down and nobody else wants.
/// @return what is still to be released
HeldCodes CPlayers::release(const CRecord& record, const HeldCodes& wanted)
{
    const HeldCodes held = record.m_down & heldByXTest(m_display);
    const HeldCodes left = held & ~wanted;
    std::string text;
    for (unsigned code = 0; code < left.size(); ++code) {
        if (!left[code])
            continue;
        text += (code < firstButton ? " key " : " button ") + std::to_string(code % firstButton);
        if (code < firstButton)
            XTestFakeKeyEvent(m_display, code, False, 0);
        else
            XTestFakeButtonEvent(m_display, code - firstButton, False, 0);
    }
    if (left.any())
        CTracer::debugTrace("Process %u has ended without releasing what it held: released%s",
                            record.m_process, text.c_str());
    return held & wanted;
}

void CPlayers::putLocksBack(CRecord& record)
{
    const uint32_t locks = std::exchange(record.m_locks, 0);
    if (locks == 0)
        return;
    CTracer::debugTrace("Process %u has ended in the middle of a text: put locks and group back",
                        record.m_process);
    XkbLockModifiers(m_display, XkbUseCoreKbd, locks >> 8 & 0xFF, locks & 0xFF);
    XkbLockGroup(m_display, XkbUseCoreKbd, locks >> 16 & 3);
}

/// Ends with the records, so that whoever goes on after a death here finds them.
void CPlayers::clearUp(std::vector<CSlot> slots)
{
    HeldCodes wanted = m_record.m_down;
    bool isTyping = m_texts > 0; // with locks switched off
    for (const CSlot& slot : slots) {
        if (slot.isOfLiving()) {
            wanted |= slot.m_record->m_down;
            isTyping |= slot.m_record->m_locks != 0;
        } else if (slot.m_isLeft && slot.m_owner != 0) {
            XKillClient(m_display, slot.m_owner);
        }
    }
    bool hasBorrowed = false;
    for (CSlot& slot : slots) {
        if (!slot.m_isLeft)
            continue;
        hasBorrowed |= std::exchange(slot.m_record->m_borrows, false);
        slot.m_record->m_down = release(*slot.m_record, wanted);
        if (!isTyping) // after the keys: the release of a lock key may unlock
            putLocksBack(*slot.m_record);
    }
    if (hasBorrowed && m_borrowers == 0 && !othersBorrow(slots)) {
        CTracer::debugTrace("A process has ended that had borrowed a key: put the keyboards back");
        putKeyboardsBack();
    }
    for (const CSlot& slot : slots)
        if (slot.m_isLeft && (slot.m_record->m_down.any() || slot.m_record->m_locks != 0))
            write(slot.m_name, wordsOf(*slot.m_record));
        else if (slot.m_isLeft)
            xcb_delete_property(connection(), root(), slot.m_name);
}

/// Finds itself a name if it has none, and clears up after those that have gone.
void CPlayers::prepare(const std::lock_guard<std::mutex>&)
{
    if (m_display != g_display)
        moveTo(g_display);
    const std::vector<CSlot> before = look();
    const bool isAnyLeft =
        std::any_of(before.begin(), before.end(), [](const CSlot& slot) { return slot.m_isLeft; });
    if (m_name != 0 && !isAnyLeft)
        return;
    const CServerGrab grab(m_display);
    clearUp(look());
    if (m_name == 0)
        claim(look());
}

/// Until now the record may have named more than is down.
void CPlayers::end()
{
    const std::lock_guard guard(m_mutex);
    if (m_display != g_display || m_name == 0)
        return;
    m_record.m_down = m_down;
    if (m_record == m_written)
        return;
    writeRecord();
    xcb_flush(connection());
}

void CPlayers::note(unsigned code, bool down)
{
    const std::lock_guard guard(m_mutex);
    if (m_display != g_display || m_name == 0 || code >= m_down.size())
        return;
    m_down[code] = down;
    if (!down || m_record.m_down[code])
        return;
    m_record.m_down[code] = true;
    writeRecord();
}

void CPlayers::switchLocks(uint32_t before)
{
    const std::lock_guard guard(m_mutex);
    if (m_texts++ > 0 || m_name == 0)
        return;
    m_record.m_locks = before;
    writeRecord();
}

/// The record is written at the end of the event.
void CPlayers::keepLocks()
{
    const std::lock_guard guard(m_mutex);
    if (--m_texts == 0)
        m_record.m_locks = 0;
}

void CPlayers::borrow()
{
    const std::lock_guard guard(m_mutex);
    if (m_borrowers++ > 0)
        return;
    prepare(guard);
    const CServerGrab grab(m_display);
    if (!othersBorrow(look())) {
        putKeyboardsBack(); // after one that has gone, if it comes to that
        write(m_keyboards, keysOfAllKeyboards(m_display));
    }
    m_record.m_borrows = true;
    writeRecord();
}

void CPlayers::giveBack()
{
    const std::lock_guard guard(m_mutex);
    if (--m_borrowers > 0)
        return;
    const CServerGrab grab(m_display);
    if (!othersBorrow(look()))
        putKeyboardsBack();
    m_record.m_borrows = false;
    writeRecord();
}

/// Does nothing when nobody has saved them.
void CPlayers::putKeyboardsBack()
{
    const auto cookie =
        xcb_get_property(connection(), 0, root(), m_keyboards, XCB_ATOM_CARDINAL, 0, longestProperty);
    const std::vector<uint32_t> keys = wordsIn(connection(), cookie);
    if (keys.empty())
        return;
    putBackKeys(m_display, keys);
    xcb_delete_property(connection(), root(), m_keyboards);
}

/// Never deleted: threads may play while the process ends.
CPlayers& players()
{
    static auto* const s_only = new CPlayers;
    return *s_only;
}
} // namespace

void fakeKey(unsigned char key, bool press, unsigned long delay)
{
    if (press)
        players().note(key, true);
    XTestFakeKeyEvent(g_display, key, press, delay);
    if (!press)
        players().note(key, false);
}

void fakeButton(unsigned button, bool press, unsigned long delay)
{
    if (press)
        players().note(firstButton + button, true);
    XTestFakeButtonEvent(g_display, button, press, delay);
    if (!press)
        players().note(firstButton + button, false);
}

CPlayedInput::CPlayedInput()
{
    players().begin();
}

CPlayedInput::~CPlayedInput()
{
    players().end();
}

CSwitchedLocks::CSwitchedLocks(unsigned affected)
{
    constexpr uint32_t isText = 1U << 31;
    XkbStateRec state{};
    if (XkbGetState(g_display, XkbUseCoreKbd, &state) == Success)
        m_group = state.locked_group;
    players().switchLocks(isText | m_group << 16 | affected << 8 | (state.locked_mods & affected));
    if (m_group != 0)
        XkbLockGroup(g_display, XkbUseCoreKbd, 0);
}

CSwitchedLocks::~CSwitchedLocks()
{
    if (m_group != 0)
        XkbLockGroup(g_display, XkbUseCoreKbd, m_group);
    players().keepLocks();
}

CBorrowedKeyboards::CBorrowedKeyboards()
{
    players().borrow();
}

CBorrowedKeyboards::~CBorrowedKeyboards()
{
    players().giveBack();
}
