/// Limits of System V IPC, set for real.
#pragma once

#include <fstream>
#include <gtest/gtest.h>
#include <string>

/// Lowers a limit of the private IPC namespace while it lives; see CPrivateSession. Needs to be root there.
class CKernelLimit {
public:
    /// @param name  file in /proc/sys/kernel, such as "shmmni"
    CKernelLimit(const char* name, const std::string& value) : m_path(std::string("/proc/sys/kernel/") + name)
    {
        std::getline(std::ifstream(m_path), m_before);
        std::ofstream(m_path) << value;
        std::string now;
        std::getline(std::ifstream(m_path), now);
        EXPECT_NE(m_before, now) << m_path << " cannot be changed: run this test as root";
    }
    ~CKernelLimit() { std::ofstream(m_path) << m_before; }
    CKernelLimit(const CKernelLimit&) = delete;

private:
    std::string m_path;
    std::string m_before;
};
