// The map of spy memory against a Boost.Interprocess map in a managed shared segment, both under the heap
// mutex; and reading a large block through its reference.
#include "Compare.h"
#include "common/jni/JniDataTypes.h"
#include "common/spy/SpyMap.h"

#include <boost/interprocess/allocators/allocator.hpp>
#include <boost/interprocess/containers/map.hpp>
#include <boost/interprocess/containers/string.hpp>
#include <boost/interprocess/managed_shared_memory.hpp>

#include <cstring>
#include <string>
#include <unistd.h>
#include <vector>

namespace {
namespace ipc = boost::interprocess;
using Segment = ipc::managed_shared_memory;
template <class T> using Allocator = ipc::allocator<T, Segment::segment_manager>;
using Text = ipc::basic_string<char16_t, std::char_traits<char16_t>, Allocator<char16_t>>;
using PeerMap = ipc::map<Text, Text, std::less<Text>, Allocator<std::pair<const Text, Text>>>;

constexpr unsigned int Mebibyte = 1 << 20;
constexpr unsigned int LargeBlock =
    Mebibyte - 2048; ///< a reference reaches no whole mebibyte: a heap has headers

/// Names as tests give them to the objects of an application, told apart by a number.
std::vector<std::u16string> names(int64_t count)
{
    static const char* const kinds[] = {"button", "list",      "text field of the form",
                                        "tree",   "menu item", "tab folder"};
    std::vector<std::u16string> result;
    for (int64_t number = 0; number < count; ++number) {
        const std::string name =
            "window" + std::to_string(number / 40) + "." + kinds[number % 6] + std::to_string(number);
        result.emplace_back(name.begin(), name.end());
    }
    return result;
}

/// The peer: a map in a segment of its own.
class CPeerMap {
public:
    CPeerMap()
        : m_name("gx-bench-" + std::to_string(getpid())),
          m_segment(ipc::create_only, m_name.c_str(), 64 * Mebibyte),
          m_map(m_segment.construct<PeerMap>("map")(std::less<Text>(), m_segment.get_segment_manager()))
    {
    }
    ~CPeerMap() { ipc::shared_memory_object::remove(m_name.c_str()); }

    void put(const std::u16string& key, const std::u16string& value)
    {
        const CSpyHeapLock lock;
        m_map->insert_or_assign(text(key), text(value));
    }
    unsigned int get(const std::u16string& key)
    {
        const CSpyHeapLock lock;
        const auto found = m_map->find(text(key));
        return found == m_map->end() ? 0 : static_cast<unsigned>(2 * found->second.size());
    }

private:
    Text text(const std::u16string& units)
    {
        return Text(units.data(), units.size(), m_segment.get_segment_manager());
    }

    std::string m_name;
    Segment m_segment;
    PeerMap* m_map;
};

class COurMap {
public:
    ~COurMap() { m_map.free(); }

    void put(const std::u16string& key, const std::u16string& value)
    {
        const CTalString name(units(key), length(key)), text(units(value), length(value));
        m_map.put(name, text);
    }
    unsigned int get(const std::u16string& key)
    {
        const CSpyHeapLock lock;
        return m_map.get(CTalString(units(key), length(key))).getStringLen();
    }

private:
    static const unsigned short* units(const std::u16string& text)
    {
        return reinterpret_cast<const unsigned short*>(text.data());
    }
    static unsigned short length(const std::u16string& text)
    {
        return static_cast<unsigned short>(text.size());
    }

    CSpyMap m_map;
};

constexpr double LongestPut = 120; ///< seconds, of all keys

template <class Map> void putAll(Map& map, const std::vector<std::u16string>& keys)
{
    for (const std::u16string& key : keys)
        map.put(key, u"a value of usual length");
}

/// A heap that was in use for a while: so many free blocks that are too small for most requests.
void makeHoles(int64_t count)
{
    std::vector<CSpyMemRef> blocks;
    for (int64_t index = 0; index < 2 * count; ++index)
        blocks.push_back(CSpyHeap::getHeap(0)->allocate(40));
    for (size_t index = 0; index < blocks.size(); index += 2)
        blocks[index].free();
}

/// Puts every key into a new map: one call of the two that are compared is `keys` puts, growth included.
void putIntoNewMap(benchmark::State& state)
{
    const auto keys = names(state.range(0));
    makeHoles(state.range(1));
    compare(
        state,
        [&] {
            COurMap map;
            putAll(map, keys);
        },
        [&] {
            CPeerMap map;
            putAll(map, keys);
        });
    CSpyHeap::deleteBaseHeap();
}

/// How long a map takes that grows from nothing: one that would take minutes ends with an error.
void grow(benchmark::State& state)
{
    const auto keys = names(state.range(0));
    const auto until = std::chrono::steady_clock::now() + std::chrono::duration<double>(LongestPut);
    compare(
        state,
        [&] {
            COurMap map;
            for (const std::u16string& key : keys) {
                map.put(key, u"a value of usual length");
                if (std::chrono::steady_clock::now() > until)
                    return state.SkipWithError("it takes too long");
            }
        },
        [&] {
            CPeerMap map;
            putAll(map, keys);
        });
    state.counters["us_per_key"] = state.counters["ours_us"] / static_cast<double>(keys.size());
    CSpyHeap::deleteBaseHeap();
}

/// Gives every key of a full map its value again.
void putAgain(benchmark::State& state)
{
    const auto keys = names(state.range(0));
    makeHoles(state.range(1));
    {
        COurMap ours;
        CPeerMap peer;
        putAll(ours, keys);
        putAll(peer, keys);
        compare(
            state, [&] { putAll(ours, keys); }, [&] { putAll(peer, keys); });
    }
    CSpyHeap::deleteBaseHeap();
}

void getAll(benchmark::State& state)
{
    const auto keys = names(state.range(0));
    COurMap ours;
    CPeerMap peer;
    putAll(ours, keys);
    putAll(peer, keys);
    const auto getFrom = [&](auto& map) {
        for (const std::u16string& key : keys)
            if (map.get(key) == 0)
                state.SkipWithError("a key is missing");
    };
    compare(
        state, [&] { getFrom(ours); }, [&] { getFrom(peer); });
}

/// One reader who holds the mutex: what is left is the copy.
void readLargeBlock(benchmark::State& state)
{
    CSpyMemRef block(LargeBlock, 0);
    block.write('x', LargeBlock);
    std::vector<char> buffer(LargeBlock);
    const void* payload = block.address();
    compare(
        state, [&] { block.read(buffer.data(), LargeBlock); },
        [&] { benchmark::DoNotOptimize(std::memcpy(buffer.data(), payload, LargeBlock)); });
    block.free();
}

BENCHMARK(putIntoNewMap)
    ->ArgNames({"keys", "holes"})
    ->ArgsProduct({{100, 1000, 10000}, {0, 5000}})
    ->UseManualTime();
BENCHMARK(putAgain)
    ->ArgNames({"keys", "holes"})
    ->ArgsProduct({{100, 1000, 10000}, {0, 5000}})
    ->UseManualTime();
BENCHMARK(grow)
    ->ArgName("keys")
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Arg(100000)
    ->Iterations(1)
    ->UseManualTime();
BENCHMARK(getAll)->ArgName("keys")->Arg(100)->Arg(1000)->Arg(10000)->UseManualTime();
BENCHMARK(readLargeBlock)->UseManualTime();
} // namespace
