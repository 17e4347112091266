/// Owners of what Xlib and XCB hand out. Include it after everything else that is not an X header.
#pragma once

#include <cstdlib>
#include <memory>

#include <X11/Xlib.h>
#include <xcb/xcb.h>

struct CXFree {
    void operator()(void* memory) const noexcept { XFree(memory); }
};
template <class T> using XPtr = std::unique_ptr<T, CXFree>; ///< memory that Xlib handed out

struct CFree {
    void operator()(void* memory) const noexcept { std::free(memory); }
};
template <class T>
using MallocPtr = std::unique_ptr<T, CFree>; ///< memory from malloc: replies and errors of XCB

/// The answer of a request, or null when it failed: xcb functions of the form xcb_..._reply.
template <class Reply, class Cookie>
MallocPtr<Reply> answer(xcb_connection_t* connection, Cookie cookie,
                        Reply* (*reply)(xcb_connection_t*, Cookie, xcb_generic_error_t**))
{
    return MallocPtr<Reply>(reply(connection, cookie, nullptr));
}
