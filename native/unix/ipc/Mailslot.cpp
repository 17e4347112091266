#include "unix/ipc/Mailslot.h"

#include "common/spy/SpyVector.h"
#include "common/trace/CTracer.h"
#include "common/trace/ErrorString.h"
#include "common/trace/GxAssert.h"
#include "include/ITalString.h"
#include "unix/ipc/MailslotEnd.h"
#include "unix/ipc/MailslotEvent.h"
#include "unix/ipc/SemaphoreList.h"
#include "unix/process/ChildWait.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <unistd.h>

namespace {
/// References of mailslots that this process has waited at, by the index of their semaphores.
std::array<std::atomic<int64_t>, CSemaphoreList::Indices> s_own;

/// Frees what a reference names; somebody else may have done so already.
template <class Free> void freeOnce(Free&& free)
{
    try {
        free();
    } catch (const CInvalidSpyMemRef&) {
        // Traced where it was found.
    }
}

/// @param withVectors  also the vectors it refers to: requests belong to their queue
void freeQueue(const CSpyMemRef& ref, bool withVectors)
{
    if (!ref)
        return;
    CSpyVector queue(ref);
    for (int index = 0; withVectors && index < static_cast<int>(queue.size()); ++index)
        if (const CSpyVariant element = queue.get(index); element.isa(CSpyVariant::SpyVector))
            freeOnce([&] { CSpyVector(element.ref()).free(); });
    queue.free();
}
} // namespace

const char* CMailslotException::formatMessage(const char* format) const
{
    if (m_message.empty()) {
        m_message = format;
        m_message.replace(m_message.find("%s"), 2, m_name);
    }
    return m_message.c_str();
}

void CMailslot::CMailbox::CReference::store(const CSpyMemRef& ref)
{
    CSpyJournal::keep(*this);
    m_word.store(ref.word());
    m_uid.store(ref.uid());
}

std::optional<std::string> CMailslot::CMailbox::name() const
{
    const CSpyMemRef block = m_name.ref();
    if (!block)
        return std::nullopt;
    const CSpyHeap::CReading reading;
    // Without the lock, which would cost a sender more than its message: what others do to it stays a text.
    const auto* text = static_cast<const char*>(block.address());
    const size_t room = block.size(), length = strnlen(text, room);
    return length == room ? std::nullopt : std::optional(std::string(text, length));
}

void CMailslot::CMailbox::free()
{
    CSpyMemRef block = m_name.ref();
    if (!block)
        return;
    m_name.store({});
    block.free();
}

CMailslot::CMailslot(const CSpyMemRef& ref) : CSpyMemory(ref)
{
    loadFromSpyMem();
    // The list gives index 0 to nobody. In the set of the heap mutex it is that mutex, as is every index
    // whose low 16 bits are 0: signals to a block that is no mailslot's would lock the heap for good.
    const CSemaphoreHandle named = handle();
    if (!named.isNull() && (named.m_index < 1 || named.m_index >= CSemaphoreList::Indices))
        throw CInvalidSpyMemRef(m_ref);
}

void CMailslot::loadFromSpyMem()
{
    if (isNull())
        return;
    auto* const record = static_cast<CMailbox*>(m_ref.address());
    if (m_ref.size() < sizeof *record)
        throw CInvalidSpyMemRef(m_ref);
    m_pMailbox = record;
}

bool CMailslot::create(const ITalString& name, const CSpyMemRef& sendQueue, const CSpyMemRef& postQueue)
{
    const char* const text = name;
    const CSpyUnit unit;
    allocate(sizeof(CMailbox), 0);
    loadFromSpyMem();
    CSpyJournal::keep(*m_pMailbox);
    *m_pMailbox = CMailbox{};
    try {
        storeName(text ? text : "");
        if (giveEvents()) {
            m_pMailbox->m_owner.store(g_pid);
            m_pMailbox->m_sendQueue.store(sendQueue);
            m_pMailbox->m_postQueue.store(postQueue);
            CTracer::debugTrace("Created Mailslot [%s] id = %d  index=%d\r\n", text ? text : "",
                                handle().m_set, handle().m_index);
            return true;
        }
    } catch (...) {
        freeAll();
        throw;
    }
    freeAll();
    return false;
}

void CMailslot::storeName(const char* text)
{
    const auto size = static_cast<unsigned>(std::strlen(text) + 1);
    CSpyMemRef block = rawAlloc(size, 0);
    m_pMailbox->m_name.store(block);
    block.write(text, size);
}

/// The list counts more semaphores than its set has: those beyond it cannot be cleared.
bool CMailslot::giveEvents()
{
    CSemaphoreList list;
    const CSemaphoreHandle events = list.allocSemaphore(2);
    if (events.isNull())
        return false;
    CMailslotEvent event(events);
    if (!event.clear(CMailslotEvent::Message) || !event.clear(CMailslotEvent::Reply)) {
        list.freeSemaphore(events, 2);
        return false;
    }
    setHandle(events);
    return true;
}

CSemaphoreHandle CMailslot::handle() const
{
    return m_pMailbox ? CSemaphoreHandle(m_pMailbox->m_set.load(), m_pMailbox->m_index.load())
                      : CSemaphoreHandle();
}

/// The semaphores to work on: those of the record when they are the list's, as all that this library stores
/// are.
CSemaphoreHandle CMailslot::events() const
{
    const CSemaphoreHandle named = handle();
    if (named.isNull() || CSemaphoreList::has(named))
        return named;
    logError("A mailslot names semaphores that are not its display's: set %d, index %d", named.m_set,
             named.m_index);
    return {};
}

void CMailslot::setHandle(CSemaphoreHandle handle)
{
    GX_ASSERT(m_pMailbox, "m_pMailbox != 0");
    CSpyJournal::keep(*m_pMailbox);
    m_pMailbox->m_set.store(handle.m_set);
    m_pMailbox->m_index.store(handle.m_index);
}

/// Without an owner there is nobody to reap: 0 would stand for any child of this process group.
bool CMailslot::isGone() const
{
    m_ref.isValid();
    const pid_t owner = m_pMailbox ? m_pMailbox->m_owner.load() : 0;
    if (owner <= 0 || !CSpyJournal::seesAll())
        return false;
    reapChild(owner);
    return kill(owner, 0) == -1 && errno == ESRCH;
}

bool CMailslot::isAttended() const
{
    const CSemaphoreHandle events = this->events();
    return !events.isNull() && CMailslotEvent(events).isThere() && !isGone();
}

/// Those of this process, whatever process another namespace knows by its id. What was freed may be listed.
bool CMailslot::isOwn() const
{
    return m_pMailbox && m_pMailbox->m_owner.load() == g_pid &&
           (CSpyJournal::seesAll() ||
            std::find(std::begin(s_own), std::end(s_own), m_ref.handle()) != std::end(s_own));
}

void CMailslot::beOwner()
{
    static const CEndOfProcess end(exitHandler, sig_term);
    const pid_t process = getpid();
    const bool isFirst = g_pid.exchange(process) != process;
    // A mailslot that was made before the first wait has no owner yet.
    if (isFirst || m_pMailbox->m_owner.load() == 0)
        m_pMailbox->m_owner.store(process);
    if (m_pMailbox->m_owner.load() == process)
        s_own[static_cast<size_t>(handle().m_index) % std::size(s_own)] = m_ref.handle();
}

bool CMailslot::waitForMessage()
{
    GX_ASSERT(m_pMailbox, "m_pMailbox != 0");
    beOwner();
    const CSemaphoreHandle events = this->events();
    CMailslotEvent event(events);
    errno = EIDRM;
    if (events.isNull() || !event.wait(CMailslotEvent::Message)) {
        logError("event.wait() returned error -> %s", CErrorString(errno).text());
        return false;
    }
    if (has(events))
        return true;
    event.add(CMailslotEvent::Message); // the signal is for whoever got the semaphores meanwhile
    return false;
}

void CMailslot::takeSignal()
{
    if (const CSemaphoreHandle events = this->events(); !events.isNull())
        CMailslotEvent(events).take(CMailslotEvent::Message);
}

bool CMailslot::has(CSemaphoreHandle events) const
try {
    return m_ref.isValid() && handle() == events;
} catch (const CInvalidSpyMemRef&) {
    return false;
}

bool CMailslot::send(bool waitForReply)
{
    if (!m_pMailbox) {
        std::fputs("throwing invalid mailslot exception\n", stderr);
        throw CInvalidMailslotException(std::nullopt);
    }
    const CMailslotGoneException gone(m_pMailbox->name()); // keeps the name, which goes with the mailslot
    try {
        const CSemaphoreHandle events = this->events();
        if (events.isNull())
            throw gone;
        return waitForReply ? sendAndWait(events) : post(events);
    } catch (const CInvalidSpyMemRef&) {
        throw gone;
    } catch (const CMailslotGoneException&) {
        detach();
        throw gone;
    }
}

bool CMailslot::post(CSemaphoreHandle events)
{
    const bool signalled = CMailslotEvent(events).signal(CMailslotEvent::Message, *this);
    if (!signalled)
        logError("Post Message failed: %s", CErrorString(errno).text());
    return signalled;
}

bool CMailslot::sendAndWait(CSemaphoreHandle events)
{
    CMailslotEvent event(events);
    if (!event.clear(CMailslotEvent::Reply) || !event.signal(CMailslotEvent::Message, *this)) {
        logError("failed: %s", CErrorString(errno).text());
        return false;
    }
    const bool replied = event.wait(CMailslotEvent::Reply, *this);
    if (!replied) {
        const int reason = errno;
        logError("Error waiting for reply: %s", CErrorString(reason).text());
        errno = reason;
    }
    return replied;
}

bool CMailslot::replyTo()
{
    const CSemaphoreHandle events = this->events();
    if (events.isNull() || events.m_set < 0) {
        logError("Error in replyTo");
        return false;
    }
    const bool signalled = CMailslotEvent(events).signal(CMailslotEvent::Reply, *this);
    if (!signalled)
        logError("Error setting replyTo event: %s", CErrorString(errno).text());
    return signalled;
}

bool CMailslot::attach(int)
{
    if (handle().isNull()) {
        logError("Could not attach to mailslot");
        return false;
    }
    if (CSpyJournal::seesAll() && kill(m_pMailbox->m_owner.load(), 0) == -1) {
        logError("Attempting to send to Mailslot which is deceased.");
        const CInvalidMailslotException named(m_pMailbox->name());
        detach();
        throw named;
    }
    return true;
}

void CMailslot::detach()
{
    if (isNull() || !m_ref.isValid() || !m_pMailbox)
        return;
    const CSpyUnit unit;
    const CSemaphoreHandle events = this->events();
    setHandle({});
    if (events.isNull())
        return;
    CMailslotEvent(events).signal(CMailslotEvent::Reply, *this);
    CSemaphoreList().freeSemaphore(events, 2);
}

void CMailslot::release()
{
    if (isNull())
        return;
    m_ref.isValid(); // a stale reference is refused without waiting for the mutex
    const CSpyUnit unit;
    detach();
    if (m_pMailbox)
        m_pMailbox->free();
}

void CMailslot::freeAll()
{
    const CSpyUnit unit;
    freeOnce([&] { release(); });
    const CMailbox record = readOnce(*m_pMailbox);
    freeOnce([&] { freeQueue(record.m_sendQueue.ref(), true); });
    freeOnce([&] { freeQueue(record.m_postQueue.ref(), false); });
    m_pMailbox = nullptr;
    free();
}

void CMailslot::logError(const char* format, ...) const
{
    char text[2048];
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    CTracer::debugTrace("%s", text);
}
