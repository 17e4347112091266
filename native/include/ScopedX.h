/// Owners of what Xlib and XCB hand out. Include it after everything else that is not an X header.
#pragma once

#include <cstdlib>
#include <memory>

#include <X11/Xlib.h>

struct CXFree {
    void operator()(void* memory) const noexcept { XFree(memory); }
};
template <class T>
using XPtr = std::unique_ptr<T, CXFree>;  ///< memory that Xlib handed out

struct CFree {
    void operator()(void* memory) const noexcept { std::free(memory); }
};
template <class T>
using MallocPtr = std::unique_ptr<T, CFree>;  ///< memory from malloc: replies and errors of XCB
