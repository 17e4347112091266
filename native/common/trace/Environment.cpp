#include "common/trace/Environment.h"

#include "include/NeverDestroyed.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <list>
#include <map>
#include <mutex>
#include <pthread.h>
#include <string_view>
#include <unistd.h>
#include <utility>

namespace {
constinit std::mutex s_lock;
using Guard = std::lock_guard<std::mutex>;

[[maybe_unused]] const int s_keptAcrossFork =
    pthread_atfork([] { s_lock.lock(); }, [] { s_lock.unlock(); }, [] { s_lock.unlock(); });

bool isName(const char* name)
{
    return name && *name && !std::strchr(name, '=');
}

/// The texts "NAME=value" of one variable. A text that was replaced may still be read by somebody who asked
/// the C library for it, so its memory is written to again only some changes later, and never freed: exit
/// handlers read the environment, too.
class CTexts {
public:
    /// A text that putenv can make part of the environment.
    char* make(std::string_view name, std::string_view value)
    {
        const size_t needed = name.size() + value.size() + 2;
        if (m_texts.size() < kept)
            m_texts.emplace_back(needed);
        std::vector<char>& text = m_texts[m_next++ % kept];
        if (text.size() < needed)
            m_outgrown.push_back(std::exchange(text, std::vector<char>(2 * needed)));
        char* end = std::copy(name.begin(), name.end(), text.data());
        *end++ = '=';
        *std::copy(value.begin(), value.end(), end) = '\0';
        return text.data();
    }

private:
    static constexpr size_t kept = 64;

    std::vector<std::vector<char>> m_texts;
    std::vector<std::vector<char>> m_outgrown; ///< together no more than what took their places
    size_t m_next = 0;
};

CTexts& textsOf(std::string_view name)
{
    static CNeverDestroyed<std::map<std::string, CTexts, std::less<>>> all;
    const auto known = all->find(name);
    return known != all->end() ? known->second : (*all)[std::string(name)];
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
    static CNeverDestroyed<std::list<std::vector<char*>>> arrays(1);
    size_t count = 0;
    while (environ && environ[count])
        ++count;
    if (environ != arrays->back().data() || count + 2 > arrays->back().size()) {
        std::vector<char*>& larger = arrays->emplace_back(2 * count + 32);
        std::copy_n(environ, count, larger.begin());
        std::atomic_ref(environ).store(larger.data());
    }
    std::atomic_ref(environ[count]).store(entry);
}

bool put(const char* name, std::string_view value)
{
    const char* const present = std::getenv(name);
    if (present && present == value)
        return true;
    char* const entry = textsOf(name).make(name, value);
    if (present)
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
