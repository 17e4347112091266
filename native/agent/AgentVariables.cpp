#include "agent/AgentVariables.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <iterator>
#include <unistd.h>

namespace {
/// The variables as they came, "NAME=value", in the order of AgentVariable::all. They lie where the kernel
/// put them.
char* s_entries[std::size(AgentVariable::all)];
char s_agent[4096]; ///< the agent's path as LD_PRELOAD names it
pid_t s_served = 0; ///< 0: none
bool s_follows = false;
bool s_onlyThisProcess = false;

const char* valueOf(const char* entry, const char* name)
{
    const size_t length = std::strlen(name);
    return std::strncmp(entry, name, length) == 0 && entry[length] == '=' ? entry + length + 1 : nullptr;
}

/// Takes an entry out of the environment and keeps the order of the others.
void takeOut(char** entry)
{
    do
        entry[0] = entry[1];
    while (*entry++);
}

int indexOf(const char* entry)
{
    for (size_t index = 0; index < std::size(AgentVariable::all); ++index)
        if (valueOf(entry, AgentVariable::all[index]))
            return static_cast<int>(index);
    return -1;
}

void takeVariables()
{
    for (char** entry = environ; entry && *entry;) {
        const int index = indexOf(*entry);
        if (index >= 0)
            s_entries[index] = *entry;
        if (index >= 0 && !s_follows)
            takeOut(entry);
        else
            ++entry;
    }
}

/// The launcher appended ":<agent>", or made the variable.
void restorePreload()
{
    for (char** entry = environ; entry && *entry; ++entry) {
        const char* const value = valueOf(*entry, "LD_PRELOAD");
        if (!value)
            continue;
        char* const colon = std::strrchr(*entry, ':');
        if (colon && std::strcmp(colon + 1, s_agent) == 0)
            *colon = '\0';
        else if (std::strcmp(value, s_agent) == 0)
            takeOut(entry);
        return;
    }
}
} // namespace

void CAgentVariables::enter()
{
    Dl_info own;
    if (!std::getenv(AgentVariable::pid) || dladdr(s_agent, &own) == 0)
        return; // preloaded by somebody else, who has to live with an agent that does nothing
    std::snprintf(s_agent, sizeof s_agent, "%s", own.dli_fname);
    s_follows = std::getenv(AgentVariable::follow) != nullptr;
    takeVariables();
    if (!s_follows)
        restorePreload();
    const auto asked = static_cast<pid_t>(std::atol(value(AgentVariable::pid)));
    if (s_follows || asked == getpid())
        s_served = getpid();
}

bool CAgentVariables::serves()
{
    return s_served != 0 && ((s_follows && !s_onlyThisProcess) || s_served == getpid());
}

void CAgentVariables::serveOnlyThisProcess()
{
    s_served = getpid();
    s_onlyThisProcess = true;
}

const char* CAgentVariables::value(const char* variable)
{
    for (const char* const entry : s_entries)
        if (const char* const found = entry ? valueOf(entry, variable) : nullptr)
            return found;
    return nullptr;
}

bool CAgentVariables::addsOnExec()
{
    return !s_follows && serves(); // followed programs still have the variables
}

unsigned long CAgentVariables::roomFor(char* const* environment)
{
    unsigned long count = 0;
    while (environment && environment[count])
        ++count;
    return count + std::size(AgentVariable::all) + 2; // LD_PRELOAD and the end
}

void CAgentVariables::copyOthers(char* const* environment, char** rest)
{
    for (; environment && *environment; ++environment)
        if (indexOf(*environment) < 0)
            *rest++ = *environment;
    *rest = nullptr;
}

void CAgentVariables::addVariables(char* const* environment, char** whole, char* preload)
{
    char** place = nullptr; // of LD_PRELOAD, which keeps it
    for (; environment && *environment; ++environment) {
        if (!place && valueOf(*environment, "LD_PRELOAD"))
            place = whole;
        if (indexOf(*environment) < 0)
            *whole++ = *environment;
    }
    const int length = place ? std::snprintf(preload, maxPreload, "%s:%s", *place, s_agent)
                             : std::snprintf(preload, maxPreload, "LD_PRELOAD=%s", s_agent);
    if (length < maxPreload)
        *(place ? place : whole++) = preload;
    for (char* const entry : s_entries)
        if (entry)
            *whole++ = entry;
    *whole = nullptr;
}
