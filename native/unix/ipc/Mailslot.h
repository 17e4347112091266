/// Named endpoints in spy memory through which processes call each other. Stored form: doc/mailslots.md.
#pragma once

#include "common/spy/SpyMemory.h"
#include "include/NativeFailure.h"
#include "unix/sysv/SemaphoreSet.h"

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

class ITalString;

/// A failure of a mailslot, which it names.
class CMailslotException : public CNativeFailure {
public:
    const char* traceText() const override { return message(); }

protected:
    explicit CMailslotException(const std::optional<std::string>& name) : m_name(name.value_or("(Unknown)"))
    {
    }
    const char* formatMessage(const char* format) const;

private:
    std::string m_name;
    mutable std::string m_message;
};

/// The process that receives there has died, or has given the mailslot up.
class CMailslotGoneException : public CMailslotException {
public:
    static constexpr char JavaClass[] = "com/talvern/test/gx/sys/Mailslot$MailslotGoneException";

    explicit CMailslotGoneException(const std::optional<std::string>& name) : CMailslotException(name) {}
    const char* message() const override { return formatMessage("Mailslot [%s] disappeared during send"); }
    const char* javaExceptionClass() const override { return JavaClass; }
};

/// There is no such mailslot.
class CInvalidMailslotException : public CMailslotException {
public:
    static constexpr char JavaClass[] = "com/talvern/test/gx/sys/InvalidMailslotException";

    explicit CInvalidMailslotException(const std::optional<std::string>& name) : CMailslotException(name) {}
    const char* message() const override { return formatMessage("Mailslot does not  exist: %s"); }
    const char* javaExceptionClass() const override { return JavaClass; }
};

/// One process's view of a mailslot: a record that names the receiving process, two semaphores ("events") and
/// two queues, spy vectors that senders and the receiver fill and drain themselves. Nobody owns the record
/// but the process recorded in it: it, or who finds it dead, frees it.
///
/// One thread waits for messages. Any number may post. Java's senders wait for their answer in the request
/// itself (CAnswerBell), so any number of them may wait as well. Hold no heap lock around the calls that
/// block.
///
/// A receiver counts as alive as long as `kill` finds its process id: a child of ours that has died is reaped
/// first, so its status is gone for `wait`; the zombie of another parent, and a new process with the id of a
/// dead one, pass for alive.
///
/// Errors: those of spy memory when the record was freed, CMailslotException where said.
class CMailslot : public CSpyMemory {
public:
    static constexpr int ReplyTimeoutMs = 120000;
    /// The map of names and mailslots, where all processes find it. Java makes it.
    static constexpr char Registry[] = "MailSlots";

    /// As stored. At any address, hence packed; references as their two words.
    struct [[gnu::packed]] CMailbox {
        struct [[gnu::packed]] CReference {
            CShared<uint32_t> m_word;
            CShared<uint32_t> m_uid;
            CSpyMemRef ref() const { return CSpyMemRef::fromWords(m_word.load(), m_uid.load()); }
            void store(const CSpyMemRef& ref);
        };
        /// Process id of the receiver; 0 until it first waits, unless its process did before.
        CShared<int32_t> m_owner;
        CShared<int32_t> m_set;
        CShared<int32_t> m_index; ///< of event 0 in the set
        CReference m_name;
        CReference m_sendQueue;
        CReference m_postQueue;

        /// The ANSI name; none without a block, or when that holds no text.
        std::optional<std::string> name() const;
        /// Frees the block of the name, once.
        void free();
    };

    CMailslot() = default;
    /// @throws CInvalidSpyMemRef  neither null nor the block of a mailslot
    explicit CMailslot(const CSpyMemRef& ref);

    unsigned int type() const override { return CSpyVariant::SpyMailslot; }

    /// Makes a mailslot, which nobody finds yet, with event 0 clear. Takes the heap lock.
    /// @param name       of which the ANSI form is stored
    /// @param sendQueue  vector of the messages that want a reply; becomes the mailslot's, as does postQueue
    /// @return false when the display has no two semaphores left: nothing is kept then
    bool create(const ITalString& name, const CSpyMemRef& sendQueue, const CSpyMemRef& postQueue);
    /// The record in this process; null when there is none.
    CMailbox* mailbox() const { return m_pMailbox; }
    /// Event 0; the null handle without a record, and once the mailslot was detached.
    CSemaphoreHandle handle() const;
    void setHandle(CSemaphoreHandle handle);

    /// Blocks without limit until a sender signals event 0. The first wait of a process makes it the owner
    /// and has its mailslots freed when it ends: at exit, and at SIGTERM, which then ends the process in
    /// place of whatever handler the host had. @return false when the semaphores are gone (traced), or were
    /// given back while it waited
    bool waitForMessage();
    /// Takes one signal of event 0, when there is one.
    void takeSignal();
    /// Signals event 0: the message is in its queue. With `waitForReply`, which no sender of this library
    /// asks for (doc/kept-on-purpose.md), it blocks for event 1, 120 seconds at most, looking each millisecond
    /// whether it came and the receiver lives. One sender at a time: all are answered by that one event.
    /// @return false: no signal was possible (traced), or no reply came in time, with errno EAGAIN
    /// @throws CInvalidMailslotException  there is no record
    /// @throws CMailslotGoneException     the owner is dead or has detached; the mailslot is detached then
    bool send(bool waitForReply);
    /// Signals event 1, by a receiver for such a sender. @return false when there is no mailslot to do it for (traced)
    bool replyTo();

    /// Whether somebody can be sent to.
    /// @throws CInvalidMailslotException  the owner is dead; the mailslot is detached then
    bool attach(int);
    /// Wakes a sender that waits for its reply and gives the semaphores back. The handle becomes null for all
    /// processes, so that whoever does it again gives nobody else's back.
    void detach();
    /// Detaches and frees the name; the record stays.
    void release();
    /// Frees the record, its name and its queues with the requests in them; objects that posted messages
    /// refer to live on. Hold the heap lock.
    void freeAll();

    /// Whether this process owns it.
    bool isOwn() const;
    /// Whether the owner is certain to be dead: never when processes of several process id namespaces have
    /// used the store. @throws CInvalidSpyMemRef  the record was freed
    bool isGone() const;
    /// Whether its semaphores are there, and its owner may live. Signals nothing.
    /// @throws CInvalidSpyMemRef  the record was freed
    bool isAttended() const;

    /// Frees the mailslots of the registry that this process owns. Not those of its parent, for a
    /// child made by fork. Tries to take the heap lock for a tenth of a second; what it leaves behind then is
    /// what a killed process leaves.
    static void exitHandler() noexcept;
    /// Cleans up and ends the process with _exit(-1). The thread it interrupts never goes on: whatever change
    /// of spy memory it was in is undone. When it was just taking or giving back the heap lock, that is not to
    /// be had, and nothing is cleaned. When it holds a lock of the C library that the cleaning needs, an alarm
    /// ends the process after two seconds.
    static void sig_term(int, siginfo_t*, void*);

private:
    void loadFromSpyMem();
    CSemaphoreHandle events() const;
    void storeName(const char* text);
    bool giveEvents();
    void beOwner();
    bool post(CSemaphoreHandle events);
    bool sendAndWait(CSemaphoreHandle events);
    bool has(CSemaphoreHandle events) const;
    [[gnu::format(printf, 2, 3)]] void logError(const char* format, ...) const;

    CMailbox* m_pMailbox = nullptr;
};
static_assert(sizeof(CMailslot::CMailbox) == 36 && offsetof(CMailslot::CMailbox, m_set) == 4 &&
              offsetof(CMailslot::CMailbox, m_index) == 8 && offsetof(CMailslot::CMailbox, m_name) == 12 &&
              offsetof(CMailslot::CMailbox, m_sendQueue) == 20 &&
              offsetof(CMailslot::CMailbox, m_postQueue) == 28);
