// gx store: what processes share on this display, and what dead ones have left.
#include "common/jni/JniDataTypes.h"
#include "common/spy/AsciiName.h"
#include "common/spy/IVariantIterator.h"
#include "common/spy/SpyMap.h"
#include "common/spy/SpyNames.h"
#include "common/text/CodeSet.h"
#include "gx/CommandLine.h"
#include "gx/Commands.h"
#include "gx/Json.h"
#include "gx/Seen.h"
#include "gx/StoreLeavings.h"
#include "include/SpyHeap.h"
#include "unix/ipc/Mailslot.h"
#include "unix/ipc/Mutex.h"
#include "unix/sysv/HoldRecords.h"
#include "unix/sysv/SharedMemory.h"
#include "unix/sysv/SharedMemoryHeader.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

namespace {
constexpr int longestWaitMs = 2000;

struct CHeap {
    HEAPID id;
    unsigned size;
    UNIQUEID transaction;
    CHeapStats stats;
};
struct CName {
    std::string name; ///< UTF-8
    std::string kind;
};
struct CLock {
    std::string name;
    std::optional<CLockHolder> holder;
};
struct CSlot {
    std::string name;
    pid_t owner;
    bool isGone;
};

/// Everything in it as it was at one moment.
struct CStore {
    std::string display;
    bool isInUse = false;
    std::string whyUnread; ///< why there are no contents
    std::optional<CLockHolder> holder;
    std::vector<CHeap> heaps;
    std::vector<CName> names;
    std::vector<CLock> mutexes;
    std::vector<CSlot> mailslots;
    std::vector<CLeaving> leavings, removed;
    std::vector<std::string> removedSlots;
};

std::u16string unitsOf(const CSpyVariant& text)
{
    std::u16string units(text.getStringLen() / 2, u'\0');
    if (!units.empty())
        std::memcpy(units.data(), text.getString(), units.size() * 2);
    return units;
}

std::string inUtf8(const std::u16string& units)
{
    std::string text;
    fromUnits("UTF-8", units, text);
    return text;
}

std::string kindOf(const CSpyVariant& value)
{
    const char* const name = CSpyVariant::nameOf(value.type());
    return name ? name : "kind " + std::to_string(value.type());
}

/// Calls visit(name, value) for each entry. Under the heap mutex.
template <class Visit> void forEachIn(const CSpyMap& map, Visit visit)
{
    const auto keys = map.keys();
    while (keys && keys->hasMoreElements()) {
        const std::u16string name = unitsOf(keys->nextElement());
        visit(name, map.get(CTalString(reinterpret_cast<const unsigned short*>(name.data()),
                                       static_cast<unsigned short>(name.size()))));
    }
}

std::vector<CHeap> heapsNow()
{
    std::vector<CHeap> heaps;
    const CSpyHeap& base = *CSpyHeap::getHeap(0);
    for (HEAPID id = 0; id <= MaxHeap; ++id)
        if (const CSpyHeap* const heap =
                id == 0 || base.header()->isUsed(id) ? CSpyHeap::getHeap(id) : nullptr) {
            CHeapStats stats;
            heap->updateStats(stats);
            heaps.push_back({id, heap->size(), CSpyHeap::getTransactionId(id), stats});
        }
    return heaps;
}

void readMutexes(CStore& store, const CSpyMap& mutexes)
{
    forEachIn(mutexes, [&](const std::u16string& name, const CSpyVariant& value) {
        if (!value.isa(CSpyVariant::SpyLong))
            return;
        const CSemaphoreHandle handle(value.as<int64_t>());
        CHoldRecords::setNamedSet(handle.m_set);
        store.mutexes.push_back({inUtf8(name), CUnixMutex(handle).holder()});
    });
}

void readMailslots(CStore& store, const CSpyMap& slots)
{
    forEachIn(slots, [&](const std::u16string& name, const CSpyVariant& value) {
        if (!value.isa(CSpyVariant::SpyMailslot))
            return;
        const CMailslot slot(value.ref());
        const auto* const record = slot.mailbox();
        store.mailslots.push_back({inUtf8(name), record ? record->m_owner.load() : 0, slot.isGone()});
    });
}

void readContents(CStore& store)
{
    const CSpyHeapLock lock(longestWaitMs);
    store.heaps = heapsNow();
    const CSpyMemRef names = CSpyHeap::getHeap(0)->global(CSpyNames::GlobalSlot);
    if (!names)
        return;
    forEachIn(CSpyMap(names), [&](const std::u16string& name, const CSpyVariant& value) {
        store.names.push_back({inUtf8(name), kindOf(value)});
        if (store.names.back().name == CUnixMutex::Registry)
            readMutexes(store, CSpyMap(value.ref()));
        else if (store.names.back().name == CMailslot::Registry)
            readMailslots(store, CSpyMap(value.ref()));
    });
}

/// What the registry of names has, which is not made where there is none.
CSpyVariant valueOf(const char* name)
{
    const CSpyMemRef names = CSpyHeap::getHeap(0)->global(CSpyNames::GlobalSlot);
    return !names ? CSpyVariant() : CSpyMap(names).get(CAsciiName(name));
}

/// Those of dead receivers, in a store that this user has made.
void sweepMailslots(CStore& store)
{
    const CSpyHeapLock lock(longestWaitMs);
    const CSpyCall call; // each of them, or none
    const CSpyVariant found = valueOf(CMailslot::Registry);
    if (!found.isa(CSpyVariant::SpyMap))
        return;
    CSpyMap slots(found.ref());
    std::vector<std::u16string> gone;
    forEachIn(slots, [&](const std::u16string& name, const CSpyVariant& value) {
        if (value.isa(CSpyVariant::SpyMailslot) && CMailslot(value.ref()).isGone())
            gone.push_back(name);
    });
    for (const std::u16string& name : gone) {
        const CTalString key(reinterpret_cast<const unsigned short*>(name.data()),
                             static_cast<unsigned short>(name.size()));
        CMailslot(slots.get(key).ref()).freeAll();
        slots.remove(key);
        store.removedSlots.push_back(inUtf8(name));
    }
}

/// Attaches the store of this display if it is in use. Nobody makes or removes it meanwhile.
bool attach(const char* display)
{
    const CSharedMemoryGuard guard;
    return StoreLeavings::isInUse(display) && CSpyHeap::getHeap(0);
}

void look(CStore& store, bool sweeps)
try {
    store.isInUse = attach(store.display.c_str());
    if (!store.isInUse)
        return;
    store.holder = CSpyMemory::lockHolder();
    if (sweeps && StoreLeavings::makerOf(store.display.c_str()) == static_cast<int>(geteuid()))
        sweepMailslots(store);
    readContents(store);
} catch (const CSpyHeapLockedException&) {
    store.whyUnread = "the lock around the heaps was not to be had for 2 s";
}

std::string described(const std::optional<CLockHolder>& holder)
{
    if (!holder)
        return "free";
    std::string text = "held by ";
    text += holder->m_process ? "process " + std::to_string(holder->m_process)
                              : "a process that cannot be seen from here";
    if (!holder->m_processName.empty())
        text += " (" + holder->m_processName + ")";
    if (holder->m_thread)
        text += ", thread " + std::to_string(holder->m_thread);
    if (holder->m_forMs)
        text += ", for " + std::to_string(*holder->m_forMs) + " ms";
    return holder->m_isAlive ? text : text + ", which is dead";
}

std::string described(const CSlot& slot)
{
    if (slot.owner == 0)
        return "nobody has waited there yet";
    return "process " + std::to_string(slot.owner) + (slot.isGone ? ", which is dead" : "");
}

std::string described(const CLeaving& leaving)
{
    char line[160];
    std::snprintf(line, sizeof line, "  %-10s key 0x%08x  %9zu %s  of %s", leaving.what(),
                  static_cast<unsigned>(leaving.key), leaving.size,
                  leaving.kind == CLeaving::Semaphores ? "semaphores" : "bytes",
                  StoreLeavings::nameOfUser(leaving.owner).c_str());
    std::string text = line;
    if (leaving.process > 0)
        text += ", process " + std::to_string(leaving.process);
    if (!leaving.display.empty())
        text += ", display " + leaving.display;
    return leaving.whyStays.empty() ? text : text + "; stays: " + leaving.whyStays;
}

void printContents(const CStore& store)
{
    std::printf("lock around the heaps: %s\n", described(store.holder).c_str());
    if (!store.whyUnread.empty())
        std::printf("nothing is read of what is in it: %s\n", store.whyUnread.c_str());
    for (const CHeap& heap : store.heaps)
        std::printf("heap %u%s: %u bytes, %u in %u blocks used, %u free\n", heap.id,
                    heap.transaction ? (" of transaction " + std::to_string(heap.transaction)).c_str() : "",
                    heap.size, heap.stats.numberBytesAllocated, heap.stats.numberUsedBlocks,
                    heap.stats.numberBytesFree);
    for (const CName& name : store.names)
        std::printf("name \"%s\": %s\n", Seen::shown(name.name).c_str(), name.kind.c_str());
    for (const CLock& mutex : store.mutexes)
        std::printf("mutex \"%s\": %s\n", Seen::shown(mutex.name).c_str(), described(mutex.holder).c_str());
    for (const CSlot& slot : store.mailslots)
        std::printf("mailslot \"%s\": %s\n", Seen::shown(slot.name).c_str(), described(slot).c_str());
}

void print(const CStore& store, bool sweeps)
{
    if (store.isInUse) {
        std::printf("store of display %s\n", store.display.c_str());
        printContents(store);
    } else {
        std::printf("no process uses a store on display %s\n", store.display.c_str());
    }
    for (const std::string& slot : store.removedSlots)
        std::printf("removed: the mailslot \"%s\" of a dead process\n", Seen::shown(slot).c_str());
    if (!store.removed.empty())
        std::puts("removed, left by dead processes of this user:");
    for (const CLeaving& leaving : store.removed)
        std::puts(described(leaving).c_str());
    if (!store.leavings.empty())
        std::puts(sweeps ? "left, and not this user's to remove:"
                         : "left by dead processes; gx store --sweep removes those of this user:");
    for (const CLeaving& leaving : store.leavings)
        std::puts(described(leaving).c_str());
}

void write(CJson& json, const std::optional<CLockHolder>& holder)
{
    if (!holder) {
        json.null();
        return;
    }
    json.object().memberIfKnown("process", holder->m_process).member("name", holder->m_processName);
    json.memberIfKnown("thread", holder->m_thread).key("forMs");
    holder->m_forMs ? json.value(*holder->m_forMs) : json.null();
    json.member("alive", holder->m_isAlive).endObject();
}

void write(CJson& json, const char* name, const std::vector<CLeaving>& leavings)
{
    json.key(name).array();
    for (const CLeaving& each : leavings) {
        json.object()
            .member("kind", each.what())
            .member("key", each.key)
            .member("id", each.id)
            .member("size", each.size);
        json.member("display", each.display).member("owner", StoreLeavings::nameOfUser(each.owner));
        json.memberIfKnown("process", each.process).member("stays", each.whyStays).endObject();
    }
    json.endArray();
}

void writeContents(CJson& json, const CStore& store)
{
    json.key("heaps").array();
    for (const CHeap& heap : store.heaps)
        json.object()
            .member("id", heap.id)
            .member("bytes", heap.size)
            .member("transaction", heap.transaction)
            .member("usedBytes", heap.stats.numberBytesAllocated)
            .member("usedBlocks", heap.stats.numberUsedBlocks)
            .member("freeBytes", heap.stats.numberBytesFree)
            .endObject();
    json.endArray().key("names").array();
    for (const CName& name : store.names)
        json.object().member("name", name.name).member("kind", name.kind).endObject();
    json.endArray().key("mutexes").array();
    for (const CLock& mutex : store.mutexes) {
        json.object().member("name", mutex.name).key("holder");
        write(json, mutex.holder);
        json.endObject();
    }
    json.endArray().key("mailslots").array();
    for (const CSlot& slot : store.mailslots)
        json.object()
            .member("name", slot.name)
            .memberIfKnown("owner", slot.owner)
            .member("dead", slot.isGone)
            .endObject();
    json.endArray();
}

void printJson(const CStore& store)
{
    CJson json;
    json.object()
        .member("display", store.display)
        .member("inUse", store.isInUse)
        .member("unread", store.whyUnread)
        .key("lock");
    write(json, store.holder);
    writeContents(json, store);
    json.key("removedMailslots").array();
    for (const std::string& slot : store.removedSlots)
        json.value(slot);
    json.endArray();
    write(json, "removed", store.removed);
    write(json, "leavings", store.leavings);
    json.endObject().print();
}
} // namespace

std::string storeFailure()
try {
    throw;
} catch (const CSpyHeapException& e) {
    return std::string("the store of this display: ") + e.message() +
           "; gx doctor says whether limits are the cause";
} catch (const CInvalidSpyMemRef&) {
    return "the store of this display: what a name leads to was freed, or was never there; ask again, since it changes as programs use it";
} catch (const CNoSegmentHeader&) {
    return "the store of this display: its directory, key 0x6D, is not to be had; a trace names what lies there (doc/diagnostics.md)";
} catch (...) {
    return "it failed, and nobody knows why; a trace says what was done before (doc/diagnostics.md)";
}

int runStore(const CCall& call)
{
    const char* const display = std::getenv("DISPLAY");
    if (!display || !*display)
        throw CNotSo("no store", "DISPLAY is not set, and each display has a store of its own",
                     "set it to that of the programs, such as :0");
    CSharedMemoryHeader::lookOnly();
    CStore store;
    store.display = display;
    look(store, call.has("sweep"));
    if (call.has("sweep"))
        store.removed = StoreLeavings::sweep();
    store.leavings = StoreLeavings::find();
    if (call.json())
        printJson(store);
    else
        print(store, call.has("sweep"));
    return store.isInUse || call.has("sweep") ? StatusFine : StatusNotSo;
}
