#include "Environment.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <pthread.h>
#include <set>
#include <string_view>
#include <unistd.h>

namespace {
constinit std::mutex s_lock;
using Guard = std::lock_guard<std::mutex>;

[[maybe_unused]] const int s_keptAcrossFork =
    pthread_atfork([] { s_lock.lock(); }, [] { s_lock.unlock(); }, [] { s_lock.unlock(); });

bool isName(const char* name)
{
    return name && *name && !std::strchr(name, '=');
}

/// The same text at an address that stays: putenv makes it part of the environment. Never freed, for exit
/// handlers read the environment too.
char* kept(std::string entry)
{
    static auto& texts = *new std::set<std::string>;
    return const_cast<char*>(texts.insert(std::move(entry)).first->c_str());
}

std::optional<std::string> valueOf(const char* name)
{
    const char* value = name ? std::getenv(name) : nullptr;
    return value ? std::optional<std::string>(value) : std::nullopt;
}

bool put(const char* name, std::string_view value)
{
    return putenv(kept(std::string(name).append("=").append(value))) == 0;
}
} // namespace

std::optional<std::string> CEnvironment::get(const char* name)
{
    const Guard guard(s_lock);
    return valueOf(name);
}

bool CEnvironment::set(const char* name, const char* value)
{
    if (!isName(name) || !value)
        return false;
    const Guard guard(s_lock);
    return put(name, value);
}

void CEnvironment::unset(const char* name)
{
    const Guard guard(s_lock);
    if (isName(name))
        unsetenv(name);
}

std::optional<std::string> CEnvironment::takeList(const char* name)
{
    const Guard guard(s_lock);
    std::optional<std::string> list = valueOf(name);
    if (!list)
        return list;
    const size_t end = list->find(':', std::min(list->find_first_not_of(':'), list->size()));
    if (end != std::string::npos)
        put(name, std::string_view(*list).substr(0, end));
    return list;
}

std::vector<char*> CEnvironment::entries()
{
    const Guard guard(s_lock);
    std::vector<char*> all;
    for (char** entry = environ; entry && *entry; ++entry)
        all.push_back(*entry);
    return all;
}
