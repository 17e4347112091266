#include "unix/window/dladdons.h"

#include "unix/window/LoadedLibrary.h"

#include <cstring>
#include <link.h>

static_assert(RTLD_DI_LINKMAP == 2);

int rtdlinfo(void* handle, int request, void* out)
{
    if (request != RTLD_DI_LINKMAP)
        return -1;
    // Where there is no such library any more, a handle is the link map's entry itself.
    const LibraryHandle loader(dlopen("libdl.so", RTLD_LAZY));
    const auto inform = loader ? reinterpret_cast<decltype(&dlinfo)>(dlsym(loader.get(), "dlinfo")) : nullptr;
    if (!inform) {
        *static_cast<void**>(out) = handle;
        return 0;
    }
    const int failure = inform(handle, request, out);
    if (failure != 0)
        dlerror();
    return failure;
}

link_map* GetModuleHandle(const char* name)
{
    const LibraryHandle program(dlopen(nullptr, RTLD_LAZY));
    link_map* module = nullptr;
    if (!name || !program || rtdlinfo(program.get(), RTLD_DI_LINKMAP, &module) != 0)
        return nullptr;
    while (module && !std::strstr(module->l_name, name))
        module = module->l_next;
    return module;
}
