/// Shared libraries that the process has loaded already.
#pragma once

#include <dlfcn.h>
#include <link.h>

#include <atomic>
#include <memory>

struct CLibraryClose {
    void operator()(void* handle) const noexcept { dlclose(handle); }
};
using LibraryHandle = std::unique_ptr<void, CLibraryClose>;

/// @return null when the process has not loaded it; nothing is loaded
inline LibraryHandle loadedLibrary(const char* name)
{
    return LibraryHandle(dlopen(name, RTLD_LAZY | RTLD_NOLOAD));
}

/// Another number whenever the process has loaded or unloaded a library; never 0. Asking for a library that
/// is not there has the loader map its cache file each time: until this changes, the answer need not be asked
/// for again.
inline unsigned long long libraryChanges()
{
    unsigned long long changes = 0;
    const auto read = [](dl_phdr_info* info, size_t, void* out) {
        *static_cast<unsigned long long*>(out) = info->dlpi_adds + info->dlpi_subs;
        return 1; // all libraries tell the same
    };
    dl_iterate_phdr(read, &changes);
    return changes;
}

/// Where a function may be found.
struct CFunctionSource {
    const char* library;
    const char* symbol;
};

/// A function of a library that the host may or may not have loaded. Found on first use and kept; until then
/// each call looks again, when there may be something new, and answers the neutral value. Any thread: two
/// that look at the same time find the same.
template <class Signature> class CLateFunction;

template <class Result, class... Arguments> class CLateFunction<Result(Arguments...)> {
public:
    /// @param symbol  in the first of the libraries that is loaded; when none is, anywhere in the process
    constexpr CLateFunction(const char* symbol, const char* library, const char* otherwise = nullptr)
        : CLateFunction({library, symbol}, {otherwise, symbol})
    {
    }
    constexpr CLateFunction(CFunctionSource first, CFunctionSource second) : m_sources{first, second} {}

    Result operator()(Arguments... arguments)
    {
        const auto function = find();
        return function ? function(arguments...) : Result();
    }

private:
    using Function = Result (*)(Arguments...);

    Function find()
    {
        auto function = m_function.load(std::memory_order_acquire);
        if (function)
            return function;
        const unsigned long long changes = libraryChanges();
        if (m_missingAt.load(std::memory_order_relaxed) == changes)
            return nullptr;
        function = lookUp();
        m_function.store(function, std::memory_order_release);
        if (!function)
            m_missingAt.store(changes, std::memory_order_relaxed);
        return function;
    }
    Function lookUp() const
    {
        const char* symbol = nullptr;
        for (const CFunctionSource& source : m_sources) {
            if (!source.library)
                continue;
            symbol = source.symbol;
            if (const auto library = loadedLibrary(source.library))
                return reinterpret_cast<Function>(dlsym(library.get(), symbol));
        }
        return reinterpret_cast<Function>(dlsym(RTLD_DEFAULT, symbol));
    }

    const CFunctionSource m_sources[2];
    std::atomic<Function> m_function = nullptr;
    std::atomic<unsigned long long> m_missingAt = 0; ///< of libraryChanges, when it was looked for in vain
};
