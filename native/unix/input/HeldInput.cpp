#include "unix/input/HeldInput.h"

#include "common/trace/CTracer.h"
#include "include/GxGlobals.h"
#include "include/NeverDestroyed.h"
#include "unix/input/InputServer.h"
#include "unix/input/Keyboards.h"
#include "unix/process/ProcessStat.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>

#include "include/ScopedX.h"
#include "unix/window/WindowProperty.h"
#include <X11/XKBlib.h>
#include <X11/Xlib-xcb.h>
#include <X11/extensions/XTest.h>
#include <xcb/xcb.h>

namespace {
constexpr char playerName[] = "_GXSYS_PLAYER_";
constexpr char keyboardsName[] = "_GXSYS_KEYBOARDS";
constexpr char locksName[] = "_GXSYS_LOCKS";
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

/// The lower half of when a process started, in clock ticks; nothing for one that has ended or cannot be looked
/// at.
std::optional<uint32_t> startOf(uint32_t process)
{
    const std::optional<CProcessStat> stat = CProcessStat::of(static_cast<pid_t>(process));
    return stat && !stat->isZombie() ? std::optional(static_cast<uint32_t>(stat->m_start)) : std::nullopt;
}

struct CRecord {
    static constexpr size_t words = 14;
    static constexpr size_t firstOfCodes = 5;

    uint32_t m_place = 0;
    uint32_t m_process = 0;
    uint32_t m_start = 0;
    bool m_borrows = false;
    bool m_types = false;
    HeldCodes m_down;

    bool operator==(const CRecord&) const = default;
};

CRecord recordOfThisProcess()
{
    const auto process = static_cast<uint32_t>(getpid());
    static const uint32_t s_place = placeOfThisProcess();
    return {s_place, process, startOf(process).value_or(0), false, false, {}};
}

std::vector<uint32_t> wordsOf(const CRecord& record)
{
    std::vector<uint32_t> words{record.m_place, record.m_process, record.m_start, record.m_borrows,
                                record.m_types};
    words.resize(CRecord::words);
    for (size_t code = 0; code < record.m_down.size(); ++code)
        words[CRecord::firstOfCodes + code / 32] |= uint32_t{record.m_down[code]} << code % 32;
    return words;
}

std::optional<CRecord> recordIn(const std::vector<uint32_t>& words)
{
    if (words.size() != CRecord::words)
        return std::nullopt;
    CRecord record{words[0], words[1], words[2], words[3] != 0, words[4] != 0, {}};
    for (size_t code = 0; code < record.m_down.size(); ++code)
        record.m_down[code] = words[CRecord::firstOfCodes + code / 32] >> code % 32 & 1;
    return record;
}

/// What texts do with the locks of the keyboard, from the first one's beginning to the last one's end.
struct CTextLocks {
    uint32_t m_group = 0;    ///< that was locked before
    uint32_t m_affected = 0; ///< the modifiers that are switched
    uint32_t m_on = 0;       ///< those of them that are to be on at the end
    bool m_played = false;   ///< a text has ended without a failure
    bool m_shared = false;   ///< texts were typed at once
};

std::vector<uint32_t> wordsOf(const CTextLocks& locks)
{
    return {locks.m_group, locks.m_affected, locks.m_on, locks.m_played, locks.m_shared};
}

CTextLocks textLocksIn(const std::vector<uint32_t>& words)
{
    if (words.size() != 5)
        return {};
    return {words[0] & 3, words[1] & 0xFF, words[2] & 0xFF, words[3] != 0, words[4] != 0};
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

std::vector<uint32_t> numbersIn(xcb_connection_t* connection, xcb_get_property_cookie_t cookie)
{
    const auto reply = answer(connection, cookie, xcb_get_property_reply);
    const auto words = wordsIn(reply.get(), XCB_ATOM_CARDINAL);
    return {words.begin(), words.end()};
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
    void begin();
    void end();
    template <class Send> void fake(unsigned code, bool down, Send send);
    void beginText(unsigned affected, const std::function<void()>& switchOff);
    void endText(unsigned switched, const std::function<void(unsigned)>& switchOver);
    void borrow();
    void giveBack();

private:
    using Guard = std::lock_guard<std::recursive_mutex>;

    void prepare(const Guard&);
    void followDisplay();
    std::vector<CSlot> settle();
    xcb_connection_t* connection() const { return XGetXCBConnection(m_display); }
    xcb_window_t root() const { return static_cast<xcb_window_t>(DefaultRootWindow(m_display)); }
    void moveTo(Display* display);
    std::vector<CSlot> look();
    void clearUp(std::vector<CSlot>& slots);
    HeldCodes release(const CRecord& record, const HeldCodes& wanted);
    XkbStateRec keyboardState() const;
    void endTexts(const CTextLocks& locks, const std::function<void(unsigned)>& switchOver);
    HeldCodes heldByLiving(const std::vector<CSlot>& slots) const;
    void putLocksBack();
    void claim(const std::vector<CSlot>& slots);
    bool doOthers(bool CRecord::*activity, const std::vector<CSlot>& slots) const;
    void putKeyboardsBack();
    std::vector<uint32_t> read(xcb_atom_t name) const;
    void write(xcb_atom_t name, const std::vector<uint32_t>& words);
    void writeRecord();

    std::recursive_mutex m_mutex; ///< locks are switched on by strokes, with the server grabbed
    Display* m_display = nullptr;
    std::vector<xcb_atom_t> m_known; ///< names of players, by their numbers
    xcb_atom_t m_keyboards = 0;
    xcb_atom_t m_locks = 0;
    xcb_atom_t m_name = 0; ///< the own one; 0 until there is one
    CRecord m_record;      ///< as it is to be on record; names what is down, or was in this event
    CRecord m_written;
    HeldCodes m_down; ///< what is down now
    int m_events = 0; ///< that are being played
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
    m_locks = atomOf(connection(), locksName, false);
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
        const auto record = recordIn(numbersIn(connection(), questions[i].m_record));
        const bool isLeft = record && m_known[i] != m_name && (owner == 0 || hasEnded(*record));
        slots.push_back({m_known[i], owner, record, isLeft});
    }
    return slots;
}

std::vector<uint32_t> CPlayers::read(xcb_atom_t name) const
{
    const auto cookie =
        xcb_get_property(connection(), 0, root(), name, XCB_ATOM_CARDINAL, 0, longestProperty);
    return numbersIn(connection(), cookie);
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

/// Whether another living player is at it.
bool CPlayers::doOthers(bool CRecord::*activity, const std::vector<CSlot>& slots) const
{
    return std::any_of(slots.begin(), slots.end(), [&](const CSlot& slot) {
        return slot.m_name != m_name && slot.isOfLiving() && *slot.m_record.*activity;
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

/// Does nothing when the locks have been put back already.
void CPlayers::putLocksBack()
{
    const std::vector<uint32_t> words = read(m_locks);
    if (words.empty())
        return;
    const CTextLocks locks = textLocksIn(words);
    XkbLockModifiers(m_display, XkbUseCoreKbd, locks.m_affected, locks.m_on);
    XkbLockGroup(m_display, XkbUseCoreKbd, locks.m_group);
    xcb_delete_property(connection(), root(), m_locks);
}

HeldCodes CPlayers::heldByLiving(const std::vector<CSlot>& slots) const
{
    HeldCodes held = m_record.m_down;
    for (const CSlot& slot : slots)
        if (slot.isOfLiving())
            held |= slot.m_record->m_down;
    return held;
}

/// Ends with the records, so that whoever goes on after a death here finds them.
void CPlayers::clearUp(std::vector<CSlot>& slots)
{
    const HeldCodes wanted = heldByLiving(slots);
    bool hasBorrowed = false;
    bool hasTyped = false;
    for (CSlot& slot : slots) {
        if (!slot.m_isLeft)
            continue;
        if (slot.m_owner != 0)
            XKillClient(m_display, slot.m_owner);
        hasBorrowed |= std::exchange(slot.m_record->m_borrows, false);
        hasTyped |= std::exchange(slot.m_record->m_types, false);
        slot.m_record->m_down = release(*slot.m_record, wanted);
    }
    if (hasTyped)
        letKeysRepeat(m_display, true); // it may have ended in the middle of a stroke (CWholeStrokes)
    if (hasTyped && m_texts == 0 && !doOthers(&CRecord::m_types, slots)) {
        CTracer::debugTrace("A process has ended in the middle of a text: put locks and group back");
        putLocksBack(); // after the keys: the release of a lock key may unlock
    }
    if (hasBorrowed && m_borrowers == 0 && !doOthers(&CRecord::m_borrows, slots)) {
        CTracer::debugTrace("A process has ended that had borrowed a key: put the keyboards back");
        putKeyboardsBack();
    }
    for (const CSlot& slot : slots)
        if (slot.m_isLeft && slot.m_record->m_down.any())
            write(slot.m_name, wordsOf(*slot.m_record));
        else if (slot.m_isLeft)
            xcb_delete_property(connection(), root(), slot.m_name);
}

void CPlayers::followDisplay()
{
    if (m_display != g_display)
        moveTo(g_display);
}

/// With the server grabbed: clears up after those that have gone, and finds itself a name if it has none.
std::vector<CSlot> CPlayers::settle()
{
    std::vector<CSlot> slots = look();
    clearUp(slots);
    if (m_name == 0)
        claim(look());
    return slots;
}

/// Grabs the server only where there is something to do.
void CPlayers::prepare(const Guard&)
{
    followDisplay();
    const std::vector<CSlot> slots = look();
    const bool isAnyLeft =
        std::any_of(slots.begin(), slots.end(), [](const CSlot& slot) { return slot.m_isLeft; });
    if (m_name != 0 && !isAnyLeft)
        return;
    const CServerGrab grab(m_display);
    settle();
}

void CPlayers::begin()
{
    const Guard guard(m_mutex);
    prepare(guard);
    ++m_events;
}

/// Takes off the record what is up again: while an event lasts it only grows.
void CPlayers::end()
{
    const Guard guard(m_mutex);
    if (--m_events > 0)
        return;
    if (m_display != g_display || m_name == 0)
        return;
    m_record.m_down = m_down;
    if (m_record == m_written)
        return;
    writeRecord();
    xcb_flush(connection());
}

/// What is down is on record before the server is told to press it, in the order of the strokes of all
/// threads.
template <class Send> void CPlayers::fake(unsigned code, bool down, Send send)
{
    const Guard guard(m_mutex);
    if (m_display == g_display && m_name != 0 && code < m_down.size()) {
        m_down[code] = down;
        if (down && !m_record.m_down[code]) {
            m_record.m_down[code] = true;
            writeRecord();
        }
    }
    send();
}

/// Another one may have been killed since the event began: what it kept of the locks goes back first, or
/// what it made of them would be kept as theirs. The first one finds out, besides, whether Num Lock can be
/// switched, and must not take the strokes of others for its own.
void CPlayers::beginText(unsigned affected, const std::function<void()>& switchOff)
{
    const Guard guard(m_mutex);
    followDisplay();
    const CServerGrab grab(m_display);
    const bool areOthers = doOthers(&CRecord::m_types, settle());
    const bool isFirst = m_texts++ == 0 && !areOthers;
    m_record.m_types = true;
    writeRecord();
    const XkbStateRec state = keyboardState();
    CTextLocks locks{state.locked_group, affected, state.locked_mods & affected};
    if (!isFirst) {
        locks = textLocksIn(read(m_locks));
        locks.m_shared = true;
    }
    write(m_locks, wordsOf(locks));
    if (state.locked_group != 0)
        XkbLockGroup(m_display, XkbUseCoreKbd, 0);
    if (isFirst)
        switchOff();
}

XkbStateRec CPlayers::keyboardState() const
{
    XkbStateRec state{};
    XkbGetState(m_display, XkbUseCoreKbd, &state);
    return state;
}

/// Strokes of a lock key that two players press at once switch the lock once, so what is on is asked of the
/// server then.
void CPlayers::endTexts(const CTextLocks& locks, const std::function<void(unsigned)>& switchOver)
{
    if (switchOver)
        switchOver(locks.m_on ^ (locks.m_shared ? keyboardState().locked_mods & locks.m_affected : 0));
    else if (locks.m_played)
        XkbLockModifiers(m_display, XkbUseCoreKbd, locks.m_affected, locks.m_on);
    if (locks.m_group != 0)
        XkbLockGroup(m_display, XkbUseCoreKbd, locks.m_group);
    xcb_delete_property(connection(), root(), m_locks);
}

/// Clears up before: a lock key that a killed one holds down could not be pressed.
/// @param switchOver  empty after a failure
void CPlayers::endText(unsigned switched, const std::function<void(unsigned)>& switchOver)
{
    const Guard guard(m_mutex);
    const CServerGrab grab(m_display);
    const bool areOthers = doOthers(&CRecord::m_types, settle());
    CTextLocks locks = textLocksIn(read(m_locks));
    locks.m_on ^= switched & locks.m_affected;
    locks.m_played |= switchOver != nullptr;
    if (--m_texts > 0 || areOthers)
        write(m_locks, wordsOf(locks));
    else
        endTexts(locks, switchOver);
    if (m_texts > 0)
        return;
    m_record.m_types = false;
    writeRecord();
}

void CPlayers::borrow()
{
    const Guard guard(m_mutex);
    if (m_borrowers > 0) {
        ++m_borrowers;
        return;
    }
    followDisplay();
    const CServerGrab grab(m_display);
    if (!doOthers(&CRecord::m_borrows, settle()))
        write(m_keyboards, keysOfAllKeyboards(m_display));
    ++m_borrowers;
    m_record.m_borrows = true;
    writeRecord();
}

void CPlayers::giveBack()
{
    const Guard guard(m_mutex);
    if (m_borrowers > 1) {
        --m_borrowers;
        return;
    }
    const CServerGrab grab(m_display);
    if (!doOthers(&CRecord::m_borrows, settle()))
        putKeyboardsBack();
    m_borrowers = 0;
    m_record.m_borrows = false;
    writeRecord();
}

/// Does nothing when nobody has saved them.
void CPlayers::putKeyboardsBack()
{
    const std::vector<uint32_t> keys = read(m_keyboards);
    if (keys.empty())
        return;
    putBackKeys(m_display, keys);
    xcb_delete_property(connection(), root(), m_keyboards);
}

/// Never deleted: threads may play while the process ends.
CPlayers& players()
{
    static CNeverDestroyed<CPlayers> s_only;
    return *s_only;
}
} // namespace

void fakeKey(unsigned char key, bool press, unsigned long delay)
{
    players().fake(key, press, [=] { XTestFakeKeyEvent(g_display, key, press, delay); });
}

void fakeButton(unsigned button, bool press, unsigned long delay)
{
    players().fake(firstButton + button, press,
                   [=] { XTestFakeButtonEvent(g_display, button, press, delay); });
}

CPlayedInput::CPlayedInput()
{
    players().begin();
}

CPlayedInput::~CPlayedInput()
{
    players().end();
}

CSwitchedLocks::CSwitchedLocks(unsigned affected, const std::function<void()>& switchOff)
{
    players().beginText(affected, switchOff);
}

CSwitchedLocks::~CSwitchedLocks()
{
    if (!m_ended)
        players().endText(0, nullptr);
}

void CSwitchedLocks::end(unsigned switched, const std::function<void(unsigned)>& switchOver)
{
    m_ended = true;
    players().endText(switched, switchOver);
}

CBorrowedKeyboards::CBorrowedKeyboards()
{
    players().borrow();
}

CBorrowedKeyboards::~CBorrowedKeyboards()
{
    players().giveBack();
}
