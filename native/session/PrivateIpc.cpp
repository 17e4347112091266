#include "session/PrivateIpc.h"

#include "include/Retried.h"
#include "include/Within.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <sched.h>
#include <sstream>
#include <stdexcept>
#include <sys/file.h>
#include <sys/msg.h>
#include <sys/sem.h>
#include <sys/shm.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace std::chrono_literals;

namespace {
constexpr int directoryKey = 0x6D; // the store's, and the first of those it hands out
// The tests' own keys are below, too; those that ftok makes for other programs are not.
constexpr int lastKey = 0xFFFF;

void writeTo(const char* path, const std::string& text)
{
    std::ofstream(path) << text;
}

std::string mapping(unsigned inside, unsigned outside)
{
    return std::to_string(inside) + " " + std::to_string(outside) + " 1";
}

/// A file of its own for each IPC namespace, which users share: opened for reading it can be locked by
/// everybody.
std::string turnFile()
{
    struct stat status {};
    stat("/proc/self/ns/ipc", &status);
    return "/tmp/gx-session-" + std::to_string(status.st_ino) + ".lock";
}

int openTurnFile()
{
    const std::string path = turnFile();
    int file;
    do {
        file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
        if (file < 0 && errno == ENOENT)
            file = open(path.c_str(), O_RDONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0644);
    } while (file < 0 && errno == EEXIST);
    if (file < 0)
        throw std::runtime_error(path + ": " + std::strerror(errno));
    return file;
}

int takeTurn()
{
    const int file = openTurnFile();
    if (flock(file, LOCK_EX | LOCK_NB) == 0)
        return file;
    std::fprintf(stderr,
                 "private session: waits for another one to end, since both are in one IPC namespace\n");
    if (retried([&] { return flock(file, LOCK_EX); }) != 0)
        throw std::runtime_error(std::string("flock: ") + std::strerror(errno));
    return file;
}

CSystemVObject objectOf(CSystemVObject::Kind kind, const std::vector<long>& columns)
{
    const auto column = [&](size_t index) { return static_cast<int>(columns.at(index)); };
    switch (kind) {
    case CSystemVObject::Segment:
        return {kind, column(0), column(1), static_cast<uid_t>(column(9)), column(6), column(4)};
    case CSystemVObject::Set:
        return {kind, column(0), column(1), static_cast<uid_t>(column(6))};
    default:
        return {kind, column(0), column(1), static_cast<uid_t>(column(9))};
    }
}

void addObjects(std::vector<CSystemVObject>& objects, CSystemVObject::Kind kind, const char* table)
{
    std::ifstream file(table);
    std::string line;
    std::getline(file, line); // the heading
    while (std::getline(file, line)) {
        std::istringstream words(line);
        std::vector<long> columns;
        for (long number; words >> number;)
            columns.push_back(number);
        objects.push_back(objectOf(kind, columns));
    }
}

bool inUse(const CSystemVObject& segment)
{
    return segment.attached > 0 ||
           (segment.makerProcess > 0 && (kill(segment.makerProcess, 0) == 0 || errno != ESRCH));
}

void remove(const CSystemVObject& object)
{
    switch (object.kind) {
    case CSystemVObject::Segment:
        shmctl(object.id, IPC_RMID, nullptr);
        break;
    case CSystemVObject::Set:
        semctl(object.id, 0, IPC_RMID);
        break;
    case CSystemVObject::Queue:
        msgctl(object.id, IPC_RMID, nullptr);
    }
}

/// Who else is at the store; empty when nobody is. A directory that its processes left is taken over by the
/// library.
std::string holderOfTheStore()
{
    for (const auto& object : systemVObjects()) {
        if (object.kind != CSystemVObject::Segment || object.key != directoryKey)
            continue;
        if (object.maker != geteuid())
            return "the store in this IPC namespace belongs to another user (" +
                   std::to_string(object.maker) + ")";
        if (object.attached > 0)
            return "somebody else's process uses the store in this IPC namespace (made by process " +
                   std::to_string(object.makerProcess) + ")";
    }
    return {};
}
} // namespace

PrivateIpc enterPrivateIpc(bool asRoot)
{
    const auto uid = geteuid();
    const auto gid = getegid();
    if (unshare(CLONE_NEWIPC) == 0)
        return PrivateIpc::Plain;
    if (unshare(CLONE_NEWUSER | CLONE_NEWIPC) != 0)
        return PrivateIpc::None;
    writeTo("/proc/self/setgroups", "deny");
    writeTo("/proc/self/uid_map", mapping(asRoot ? 0 : uid, uid));
    writeTo("/proc/self/gid_map", mapping(asRoot ? 0 : gid, gid));
    return PrivateIpc::InUserNamespace;
}

std::vector<CSystemVObject> systemVObjects()
{
    std::vector<CSystemVObject> objects;
    addObjects(objects, CSystemVObject::Segment, "/proc/sysvipc/shm");
    addObjects(objects, CSystemVObject::Set, "/proc/sysvipc/sem");
    addObjects(objects, CSystemVObject::Queue, "/proc/sysvipc/msg");
    return objects;
}

CSessionIpc::CSessionIpc(bool takesTurns)
    : m_private(enterPrivateIpc() != PrivateIpc::None), m_turn(m_private || !takesTurns ? -1 : takeTurn()),
      m_before(systemVObjects())
{
}

std::string CSessionIpc::obstacle() const
{
    std::string holder;
    if (m_turn) // a process of the session before may still be on its way out
        within(10s, [&] { return (holder = holderOfTheStore()).empty(); });
    return holder;
}

bool CSessionIpc::isLeft(const CSystemVObject& object) const
{
    const auto same = [&](const CSystemVObject& old) {
        return old.kind == object.kind && old.id == object.id;
    };
    return std::none_of(m_before.begin(), m_before.end(), same) &&
           (m_private || (object.maker == geteuid() && object.key >= directoryKey && object.key <= lastKey));
}

int CSessionIpc::removeLeft()
{
    if (!m_private && !m_turn)
        return 0;
    std::vector<CSystemVObject> left;
    const auto listLeft = [&] {
        left = systemVObjects();
        left.erase(
            std::remove_if(left.begin(), left.end(), [&](const auto& object) { return !isLeft(object); }),
            left.end());
    };
    listLeft();
    if (!m_private) // what ends with the session's display may take a moment
        within(10s, [&] { return listLeft(), std::none_of(left.begin(), left.end(), inUse); });
    for (const auto& object : left) {
        const char* const kinds[] = {"segment", "semaphore set", "message queue"};
        const bool kept = m_private || inUse(object);
        std::fprintf(stderr, "private session: %s %d with key 0x%x was left behind%s\n", kinds[object.kind],
                     object.id, static_cast<unsigned>(object.key),
                     m_private ? ""
                     : kept    ? " in use: it stays"
                               : ": removed");
        if (!kept)
            remove(object);
    }
    return static_cast<int>(left.size());
}
