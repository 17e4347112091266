#include "unix/window/gtkfuncs.h"

namespace {
bool isLoaded(const char* library)
{
    return loadedLibrary(library) != nullptr;
}

/// How the GDK that is loaded finds the window of an X window; finds none where no GDK is.
struct CWindowLookup {
    _GdkDrawable* (*gtk2)(unsigned long) = nullptr;
    _GdkDrawable* (*gtk3)(void*, unsigned long) = nullptr;
    void* (*gtk3Display)() = nullptr;

    _GdkDrawable* operator()(unsigned long xid) const
    {
        if (gtk2)
            return gtk2(xid);
        return gtk3 && gtk3Display ? gtk3(gtk3Display(), xid) : nullptr;
    }
};

template <class Function> void find(Function& function, const LibraryHandle& library, const char* name)
{
    function = reinterpret_cast<Function>(dlsym(library.get(), name));
}

CWindowLookup windowLookup()
{
    CWindowLookup lookup;
    if (const auto gdk2 = loadedLibrary(late::GDK2)) {
        find(lookup.gtk2, gdk2, "gdk_window_lookup");
    } else if (const auto gdk3 = loadedLibrary(late::GDK3)) {
        find(lookup.gtk3, gdk3, "gdk_x11_window_lookup_for_display");
        find(lookup.gtk3Display, gdk3, "gdk_display_get_default");
    }
    return lookup;
}
} // namespace

bool isGTK()
{
    static const bool s_loaded = isLoaded(late::GTK12);
    return s_loaded;
}

bool isGTK2()
{
    static const bool s_loaded = isLoaded(late::GDK2);
    return s_loaded;
}

bool isGTK3()
{
    static const bool s_loaded = isLoaded(late::GDK3);
    return s_loaded;
}

bool isGTK2or3()
{
    return isGTK2() || isGTK3();
}

bool isAnyGTK()
{
    return isGTK2or3() || isGTK();
}

_GdkDrawable* _gdk_window_lookup(unsigned long xid)
{
    static constinit thread_local CWindowLookup t_lookup;
    static constinit thread_local unsigned long long t_changes = 0;
    if (const unsigned long long changes = libraryChanges(); changes != t_changes) {
        t_lookup = windowLookup();
        t_changes = changes;
    }
    return t_lookup(xid);
}

unsigned _gtk_timeout_add(unsigned milliseconds, int (*function)(void*), void* data)
{
    return isGTK3() ? late::g_timeout_add(milliseconds, function, data)
                    : late::gtk_timeout_add(milliseconds, function, data);
}

int _gtk_timeout_remove(int timeout)
{
    if (!isGTK3())
        late::gtk_timeout_remove(timeout);
    return 0;
}

bool isGtkInstance(const void* object, unsigned long type)
{
    // A GObject starts with the address of its class, and a class with its type.
    return object && _g_type_is_a(**static_cast<const unsigned long* const*>(object), type);
}
