// What Java code opens in an application under test, kept from the programs that the application starts.
#include "com_talvern_test_gx_application_Descriptors.h"
#include "common/jni/JniEntry.h"
#include "include/NeverDestroyed.h"

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <map>
#include <memory>
#include <poll.h>
#include <string>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>
#include <vector>

namespace {
struct CDirectoryClose {
    void operator()(DIR* directory) const noexcept { closedir(directory); }
};

std::vector<int> openDescriptors()
{
    std::vector<int> all;
    const std::unique_ptr<DIR, CDirectoryClose> directory(opendir("/proc/self/fd"));
    while (const dirent* const entry = directory ? readdir(directory.get()) : nullptr)
        if (entry->d_name[0] != '.')
            all.push_back(std::atoi(entry->d_name));
    return all;
}

/// The file behind a descriptor; empty for what has none.
std::string fileOf(int descriptor)
{
    char path[4096];
    const std::string link = "/proc/self/fd/" + std::to_string(descriptor);
    const ssize_t length = readlink(link.c_str(), path, sizeof path);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

/// The name that a socket was bound to, or that of the socket it was accepted from; empty for what has none.
std::string socketNameOf(int descriptor)
{
    sockaddr_un address{};
    socklen_t length = sizeof address;
    const bool isNamed = getsockname(descriptor, reinterpret_cast<sockaddr*>(&address), &length) == 0 &&
                         address.sun_family == AF_UNIX && length > offsetof(sockaddr_un, sun_path);
    return isNamed ? std::string(address.sun_path, strnlen(address.sun_path, sizeof address.sun_path))
                   : std::string();
}

/// Half of a pair of local sockets, whose other half is closed: Java puts it in the place of a socket that it
/// closes.
bool isLoneSocket(int descriptor)
{
    int domain = 0;
    socklen_t size = sizeof domain;
    pollfd state{descriptor, 0, 0};
    return getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX &&
           socketNameOf(descriptor).empty() && poll(&state, 1, 0) == 1 && (state.revents & POLLHUP) != 0;
}

bool isOfJvm(int descriptor)
{
    const std::string file = fileOf(descriptor);
    return file == "/dev/random" || file == "/dev/urandom" || isLoneSocket(descriptor);
}

void closeOnExec(int descriptor)
{
    fcntl(descriptor, F_SETFD, FD_CLOEXEC);
}

/// A socket keeps the name that it was bound to when its file is renamed.
void closeOnExec(const std::string& path)
{
    for (const int descriptor : openDescriptors())
        if (fileOf(descriptor) == path || socketNameOf(descriptor) == path)
            closeOnExec(descriptor);
}
} // namespace

GX_JNI(void, Java_com_talvern_test_gx_application_Descriptors_closeOnExec, jclass, jstring path)
{
    jniEntry(env, __func__, [&] {
        const char* const text = path ? env->GetStringUTFChars(path, nullptr) : nullptr;
        if (!text)
            return;
        const std::string copy = text;
        env->ReleaseStringUTFChars(path, text);
        closeOnExec(copy);
    });
}

namespace {
/// What the process had open before the JVM opened more. A number may be another file's by now.
std::map<int, std::string>& before()
{
    static CNeverDestroyed<std::map<int, std::string>> s_before;
    return *s_before;
}
} // namespace

GX_JNI(void, Java_com_talvern_test_gx_application_Descriptors_noteOpen, jclass)
{
    jniEntry(env, __func__, [] {
        for (const int descriptor : openDescriptors())
            before()[descriptor] = fileOf(descriptor);
    });
}

GX_JNI(void, Java_com_talvern_test_gx_application_Descriptors_closeOwnOnExec, jclass)
{
    jniEntry(env, __func__, [] {
        for (const int descriptor : openDescriptors()) {
            const auto known = before().find(descriptor);
            const bool wasThere = known != before().end() && known->second == fileOf(descriptor);
            if (!wasThere && isOfJvm(descriptor))
                closeOnExec(descriptor);
        }
    });
}
