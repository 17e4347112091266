/// Owners of open files.
#pragma once

#include <cstdio>
#include <memory>
#include <unistd.h>
#include <utility>

struct CFileClose {
    void operator()(FILE* file) const noexcept { std::fclose(file); }
};
using ScopedFile = std::unique_ptr<FILE, CFileClose>;

/// A file descriptor; -1 is none.
class CDescriptor {
public:
    explicit CDescriptor(int descriptor = -1) noexcept : m_descriptor(descriptor) {}
    CDescriptor(CDescriptor&& other) noexcept : m_descriptor(other.release()) {}
    CDescriptor& operator=(CDescriptor&& other) noexcept
    {
        std::swap(m_descriptor, other.m_descriptor);
        return *this;
    }
    ~CDescriptor()
    {
        if (m_descriptor >= 0)
            close(m_descriptor);
    }
    int get() const noexcept { return m_descriptor; }
    int release() noexcept { return std::exchange(m_descriptor, -1); }
    explicit operator bool() const noexcept { return m_descriptor >= 0; }

private:
    int m_descriptor;
};
