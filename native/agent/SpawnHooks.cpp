// The C library's way to start a child without fork: where the children are followed, it must not hand the
// launcher's variables to programs with other rights.
#include "agent/AgentVariables.h"
#include "agent/OtherRights.h"
#include "agent/RealFunction.h"

#include <spawn.h>

namespace {
using Strings = char* const*;
using Spawn = int(pid_t*, const char*, const posix_spawn_file_actions_t*, const posix_spawnattr_t*, Strings,
                  Strings);
constinit CRealFunction<Spawn> s_spawn{"posix_spawn"};
constinit CRealFunction<Spawn> s_spawnp{"posix_spawnp"};

/// Before main: between fork and exec nothing may be looked up.
[[gnu::constructor]] void lookUpReal()
{
    s_spawn.find();
    s_spawnp.find();
}
} // namespace

extern "C" {
GX_HOOK int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                        const posix_spawnattr_t* attributes, Strings arguments, Strings environment)
{
    return CAgentVariables::spawn(environment, OtherRights::ofFile(path), [&](Strings whole) {
        return s_spawn(child, path, actions, attributes, arguments, whole);
    });
}

GX_HOOK int posix_spawnp(pid_t* child, const char* file, const posix_spawn_file_actions_t* actions,
                         const posix_spawnattr_t* attributes, Strings arguments, Strings environment)
{
    return CAgentVariables::spawn(environment, OtherRights::inPath(file), [&](Strings whole) {
        return s_spawnp(child, file, actions, attributes, arguments, whole);
    });
}
}
