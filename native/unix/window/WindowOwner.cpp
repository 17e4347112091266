#include "unix/window/WindowOwner.h"

#include "com_talvern_test_gx_engine_AgentSearch.h"
#include "common/jni/JniEntry.h"

#include <algorithm>
#include <map>
#include <memory>
#include <unistd.h>

#include "include/ScopedX.h"
#include <xcb/res.h>

namespace {
constexpr int maxDepth = 4; ///< window managers put a window into up to three of theirs

/// Asks the server about windows and processes, on a connection of its own.
class CQuestions {
public:
    CQuestions() : m_connection(xcb_connect(nullptr, nullptr), xcb_disconnect) {}

    bool knowsProcesses()
    {
        const auto* const extension = xcb_get_extension_data(get(), &xcb_res_id); // null without a server
        if (xcb_connection_has_error(get()) || !extension || !extension->present)
            return false;
        answer(get(), xcb_res_query_version(get(), 1, 2), xcb_res_query_version_reply);
        return processOf(xcb_generate_id(get())) == getpid();
    }

    /// The process that made a window or another resource; 0 when the server does not say. Asked once a
    /// client.
    int processOf(uint32_t resource)
    {
        const uint32_t client = resource & ~xcb_get_setup(get())->resource_id_mask;
        const auto [known, isNew] = m_processes.try_emplace(client, 0);
        if (isNew)
            known->second = askProcessOf(resource);
        return known->second;
    }

    std::vector<uint32_t> childrenOf(uint32_t window)
    {
        const auto tree = answer(get(), xcb_query_tree(get(), window), xcb_query_tree_reply);
        if (!tree)
            return {};
        const uint32_t* const first = xcb_query_tree_children(tree.get());
        return {first, first + tree->length};
    }

    bool isSeen(uint32_t window)
    {
        const auto state =
            answer(get(), xcb_get_window_attributes(get(), window), xcb_get_window_attributes_reply);
        const auto box = answer(get(), xcb_get_geometry(get(), window), xcb_get_geometry_reply);
        return state && box && state->_class == XCB_WINDOW_CLASS_INPUT_OUTPUT &&
               state->map_state == XCB_MAP_STATE_VIEWABLE && box->width > 1 && box->height > 1;
    }

    std::vector<uint32_t> roots()
    {
        std::vector<uint32_t> roots;
        for (auto screen = xcb_setup_roots_iterator(xcb_get_setup(get())); screen.rem > 0;
             xcb_screen_next(&screen))
            roots.push_back(screen.data->root);
        return roots;
    }

private:
    xcb_connection_t* get() const { return m_connection.get(); }

    int askProcessOf(uint32_t resource)
    {
        const xcb_res_client_id_spec_t spec{resource, XCB_RES_CLIENT_ID_MASK_LOCAL_CLIENT_PID};
        const auto ids =
            answer(get(), xcb_res_query_client_ids(get(), 1, &spec), xcb_res_query_client_ids_reply);
        if (!ids)
            return 0;
        auto id = xcb_res_query_client_ids_ids_iterator(ids.get());
        return id.rem > 0 && xcb_res_client_id_value_value_length(id.data) > 0
                   ? static_cast<int>(*xcb_res_client_id_value_value(id.data))
                   : 0;
    }

    std::unique_ptr<xcb_connection_t, decltype(&xcb_disconnect)> m_connection;
    std::map<uint32_t, int> m_processes; ///< by the first id of each client
};

/// Calls `visit` for each window of the processes that is seen, until it answers true. @return whether it did
template <class Visit>
bool visitSeenBelow(CQuestions& server, uint32_t window, const std::vector<int>& processes, int depth,
                    const Visit& visit)
{
    for (const uint32_t child : server.childrenOf(window)) {
        const bool isTheirs = std::ranges::find(processes, server.processOf(child)) != processes.end();
        if (isTheirs ? server.isSeen(child) && visit(child)
                     : depth > 1 && visitSeenBelow(server, child, processes, depth - 1, visit))
            return true;
    }
    return false;
}

template <class Visit> bool visitSeen(const std::vector<int>& processes, const Visit& visit)
{
    CQuestions server;
    if (!server.knowsProcesses())
        return false;
    return std::ranges::any_of(server.roots(), [&](uint32_t root) {
        return visitSeenBelow(server, root, processes, maxDepth, visit);
    });
}
} // namespace

bool WindowOwner::showsWindow(const std::vector<int>& processes)
{
    return visitSeen(processes, [](uint32_t) { return true; });
}

std::vector<uint32_t> WindowOwner::windowsOf(const std::vector<int>& processes)
{
    std::vector<uint32_t> windows;
    visitSeen(processes, [&](uint32_t window) {
        windows.push_back(window);
        return false;
    });
    return windows;
}

std::vector<int> WindowOwner::processesOf(const std::vector<unsigned long>& windows)
{
    std::vector<int> processes(windows.size());
    CQuestions server;
    if (server.knowsProcesses())
        std::ranges::transform(windows, processes.begin(), [&](unsigned long window) {
            return server.processOf(static_cast<uint32_t>(window));
        });
    return processes;
}

GX_JNI(jboolean, Java_com_talvern_test_gx_engine_AgentSearch_showsWindow, jclass, jlongArray processes)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        if (!processes)
            return JNI_FALSE;
        std::vector<jlong> ids(static_cast<size_t>(env->GetArrayLength(processes)));
        env->GetLongArrayRegion(processes, 0, static_cast<jsize>(ids.size()), ids.data());
        return WindowOwner::showsWindow({ids.begin(), ids.end()});
    });
}
