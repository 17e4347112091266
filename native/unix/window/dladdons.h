/// What the dynamic loader knows about the process. Any thread. Nothing is loaded but, for the moment of the
/// question, the loader's own library where the system keeps it apart.
#pragma once

struct link_map;

/// Asks the loader about a handle of dlopen.
/// @param request  2, the link map; nothing else is served
/// @param out      receives a `link_map*`: load address and path of the module, and the next one
/// @return 0 when `out` was filled; -1 for another request, which leaves it alone; else the loader's own
/// failure
int rtdlinfo(void* handle, int request, void* out);

/// The first module of the process whose path contains `name`, in load order, the program itself first.
/// @return owned by the loader; null when there is none
link_map* GetModuleHandle(const char* name);
