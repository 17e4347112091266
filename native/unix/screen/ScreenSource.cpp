#include "unix/screen/ScreenSource.h"

#include "include/NeverDestroyed.h"
#include "include/ScopedFile.h"

#include <algorithm>
#include <mutex>
#include <sys/mman.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>
#include <vector>

namespace {
constexpr size_t mostKept = 2;

struct CKept {
    std::mutex mutex;
    std::vector<std::unique_ptr<CScreenSource>> sources;
};

/// Never destroyed: a thread may take a picture while the process ends.
CKept& kept()
{
    static CNeverDestroyed<CKept> s_kept;
    return *s_kept;
}

std::unique_ptr<CScreenSource> takeKept()
{
    const std::lock_guard lock(kept().mutex);
    if (kept().sources.empty())
        return nullptr;
    auto source = std::move(kept().sources.back());
    kept().sources.pop_back();
    return source;
}

/// Descriptors go over sockets of this machine only; on others they would break the connection.
bool isLocal(xcb_connection_t* connection)
{
    sockaddr_storage address{};
    socklen_t size = sizeof address;
    const int descriptor = xcb_get_file_descriptor(connection);
    getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &size);
    return address.ss_family == AF_UNIX;
}
} // namespace

std::unique_ptr<CScreenSource> CScreenSource::take()
{
    while (auto source = takeKept())
        if (source->connection().awaitEvent(0); source->connection().lives())
            return source;
    return std::make_unique<CScreenSource>();
}

void CScreenSource::keep(std::unique_ptr<CScreenSource> source)
{
    const std::lock_guard lock(kept().mutex);
    if (source->connection().lives() && kept().sources.size() < mostKept)
        kept().sources.push_back(std::move(source));
}

void CScreenSource::dropKept()
{
    std::vector<std::unique_ptr<CScreenSource>> sources;
    const std::lock_guard lock(kept().mutex);
    std::swap(sources, kept().sources);
}

void CScreenSource::CUnmap::operator()(uint8_t* memory) const noexcept
{
    munmap(memory, size);
}

CScreenSource::~CScreenSource()
{
    unshare();
}

bool CScreenSource::takesMemory()
{
    if (m_server == Unknown && m_connection.lives() && isLocal(m_connection) &&
        m_connection.has(xcb_shm_id)) {
        const auto version =
            answer(m_connection, xcb_shm_query_version(m_connection), xcb_shm_query_version_reply);
        if (version && (version->major_version > 1 || version->minor_version >= 2))
            m_server = Takes;
    }
    if (m_server == Unknown)
        m_server = Refuses;
    return m_server == Takes;
}

void CScreenSource::unshare()
{
    if (m_memory && m_connection.lives())
        xcb_shm_detach(m_connection, m_segment);
    m_memory.reset();
    m_size = 0;
}

void CScreenSource::share(size_t size)
{
    CDescriptor memory(memfd_create("gx-picture", MFD_CLOEXEC));
    if (!memory || ftruncate(memory.get(), static_cast<off_t>(size)) != 0)
        return;
    void* const mapped = mmap(nullptr, size, PROT_READ, MAP_SHARED | MAP_POPULATE, memory.get(), 0);
    if (mapped == MAP_FAILED)
        return;
    m_memory = {static_cast<uint8_t*>(mapped), CUnmap{size}};
    m_segment = xcb_generate_id(m_connection);
    // XCB closes it.
    const auto attached = xcb_shm_attach_fd_checked(m_connection, m_segment, memory.release(), 0);
    if (const MallocPtr<xcb_generic_error_t> error{xcb_request_check(m_connection, attached)}) {
        m_memory.reset();
        m_server = Refuses;
        return;
    }
    m_size = size;
}

const uint8_t* CScreenSource::memory(size_t size)
{
    if (!takesMemory())
        return nullptr;
    if (size > m_size) {
        unshare();
        share(size);
    }
    return m_memory.get();
}
