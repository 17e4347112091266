#include "Environment.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <list>
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

/// Adds an entry behind all others. The C library would move the array and free the old one, which threads
/// that read a variable at this moment walk over. Here every array stays.
void append(char* entry)
{
    static auto& arrays = *new std::list<std::vector<char*>>(1);
    size_t count = 0;
    while (environ && environ[count])
        ++count;
    if (environ != arrays.back().data() || count + 2 > arrays.back().size()) {
        std::vector<char*>& larger = arrays.emplace_back(2 * count + 32);
        std::copy_n(environ, count, larger.begin());
        std::atomic_ref(environ).store(larger.data());
    }
    std::atomic_ref(environ[count]).store(entry);
}

bool put(const char* name, std::string_view value)
{
    char* const entry = kept(std::string(name).append("=").append(value));
    if (std::getenv(name))
        return putenv(entry) == 0;
    append(entry);
    return true;
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
