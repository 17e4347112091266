#include "include/GxGlobals.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <future>
#include <memory>
#include <string>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
using CNoLeakCheck = __lsan::ScopedDisabler;
#else
struct CNoLeakCheck {
    CNoLeakCheck() {} // not trivial: an object of it counts as used
};
#endif

namespace {
struct CUnload {
    void operator()(void* library) const { dlclose(library); }
};

/// A copy of the library that is loaded now, with the environment of now, and unloaded by its destructor.
std::unique_ptr<void, CUnload> loadLibrary()
{
    // What the library builds once for the life of the process is out of reach when a copy of it is unloaded.
    const CNoLeakCheck noLeakCheck;
    void* const library = dlopen(GX_LIBRARY, RTLD_NOW | RTLD_LOCAL);
    EXPECT_NE(nullptr, library) << dlerror();
    return std::unique_ptr<void, CUnload>(library);
}

template <class T> T& global(const std::unique_ptr<void, CUnload>& library, const char* name)
{
    return *static_cast<T*>(dlsym(library.get(), name));
}

int openSockets()
{
    int sockets = 0;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;
        if (std::filesystem::read_symlink(entry, gone).string().rfind("socket:", 0) == 0)
            ++sockets;
    }
    return sockets;
}
} // namespace

TEST(LibraryEntry, OpensItsConnectionWhenLoadedAndClosesItWhenUnloaded)
{
    const int before = openSockets();
    std::promise<void> end;
    const auto other = std::async(std::launch::async, [&] { end.get_future().wait(); });
    {
        const auto library = loadLibrary();
        EXPECT_NE(nullptr, global<void*>(library, "g_display"));
        EXPECT_LT(before, openSockets());
    }
    EXPECT_EQ(before, openSockets());
    end.set_value();
}

TEST(LibraryEntry, LoadsWithoutAServer)
{
    const std::string display = std::getenv("DISPLAY");
    for (const char* absent : {"", ":999", "no host at all"}) {
        setenv("DISPLAY", absent, 1);
        const int before = openSockets();
        const auto library = loadLibrary();
        EXPECT_EQ(nullptr, global<void*>(library, "g_display")) << absent;
        EXPECT_EQ(before, openSockets());
    }
    setenv("DISPLAY", display.c_str(), 1);
}

TEST(LibraryEntry, EachGlobalHasACompanionThatPointsToIt)
{
    const auto library = loadLibrary();
    for (const char* name :
         {"g_display", "gx_app_display", "gx_MarloSUT", "gx_MarloRecordMode", "GlobalRunCallback",
          "GlobalMessageCallback", "GlobalParam", "accelerate_on_linux", "GlobalThreadId"}) {
        const std::string companion = std::string(name) + "P";
        EXPECT_EQ(dlsym(library.get(), name), global<void*>(library, companion.c_str())) << name;
    }
}
