/// Where pictures come from: a connection, and memory that the X server writes pixels into.
#pragma once

#include "unix/screen/ScreenConnection.h"

#include <cstddef>
#include <cstdint>
#include <memory>

#include <xcb/shm.h>

/// To connect and to share memory takes as long as a picture does, so both are kept for the next one. One
/// thread at a time.
class CScreenSource {
public:
    /// One that is kept and whose server still answers, else a new one, which may have no server. Any thread.
    static std::unique_ptr<CScreenSource> take();
    /// Keeps it, if fewer than two are. Any thread.
    static void keep(std::unique_ptr<CScreenSource> source);
    /// Gives back what is kept: connections and memory. Any thread.
    static void dropKept();

    CScreenSource() = default;
    ~CScreenSource();
    CScreenSource(const CScreenSource&) = delete;
    CScreenSource& operator=(const CScreenSource&) = delete;

    CScreenConnection& connection() { return m_connection; }
    const CScreenConnection& connection() const { return m_connection; }
    /// Memory that the server has mapped as well, as large as the largest that was asked for (MIT-SHM 1.2;
    /// System V segments would be another's where the server is in another IPC namespace).
    /// @return null when the server takes none
    const uint8_t* memory(size_t size);
    xcb_shm_seg_t segment() const { return m_segment; } ///< what the server calls it

private:
    struct CUnmap {
        void operator()(uint8_t* memory) const noexcept;
        size_t size;
    };

    bool takesMemory();
    void share(size_t size);
    void unshare();

    CScreenConnection m_connection;
    std::unique_ptr<uint8_t, CUnmap> m_memory;
    size_t m_size = 0;
    xcb_shm_seg_t m_segment = 0;
    enum { Unknown, Takes, Refuses } m_server = Unknown;
};
