/// Functions of libraries that the program, not the agent, is linked with.
#pragma once

#include <atomic>
#include <dlfcn.h>

/// A function of the agent that stands in front of one of the same name; list it in gxagent.map, too.
#define GX_HOOK [[gnu::visibility("default")]]

/// One function, looked up when it is first needed. Nothing is ever loaded for it.
///
///     constinit CRealFunction<int(Display*)> s_close{"XCloseDisplay", "libX11.so.6"};
///     if (s_close) s_close(display);
///
/// Any thread.
template <class Signature> class CRealFunction;

template <class Answer, class... Arguments> class CRealFunction<Answer(Arguments...)> {
public:
    /// @param libraries  sonames of up to two libraries that have it, for programs that opened theirs by
    /// dlopen
    constexpr explicit CRealFunction(const char* name, const char* library = nullptr,
                                     const char* other = nullptr)
        : m_name(name), m_libraries{library, other}
    {
    }
    explicit operator bool() { return find() != nullptr; }
    /// Must be there.
    Answer operator()(Arguments... arguments) { return find()(arguments...); }
    Answer (*find())(Arguments...)
    {
        void* found = m_found.load(std::memory_order_acquire);
        if (!found && (found = lookUp()))
            m_found.store(found, std::memory_order_release);
        return reinterpret_cast<Answer (*)(Arguments...)>(found);
    }

private:
    void* lookUp() const
    {
        // The agent's own function of this name stands before the real one in the search order.
        if (void* const next = dlsym(RTLD_NEXT, m_name))
            return next;
        for (const char* const library : m_libraries)
            if (void* const loaded = library ? dlopen(library, RTLD_LAZY | RTLD_NOLOAD) : nullptr)
                if (void* const found = dlsym(loaded, m_name))
                    return found;
        return nullptr;
    }

    const char* m_name;
    const char* m_libraries[2];
    std::atomic<void*> m_found{nullptr};
};
