// Random sequences of operations on vectors, maps and mapped pairs against plain models, in one process and
// in four that share the containers.
#include "ChildProcess.h"
#include "Seed.h"
#include "SpyName.h"
#include "StoreCheck.h"
#include "common/spy/IVariantIterator.h"

#include <cstdlib>
#include <map>
#include <random>
#include <thread>

namespace {
// A sanitizer finds in fewer operations what is to be found, and takes many times as long for each.
constexpr int Operations = GX_SANITIZED ? 150000 : 400000; // other ones in each run
constexpr int OperationsOfEachProcess = 10000;
constexpr int Processes = 4;
constexpr int BetweenChecks = 1000;
constexpr UNIQUEID MapTransaction = 6;

/// A value of a model: a text, or else a number.
struct CValue {
    bool isText = false;
    std::string text;
    long number = 0;

    CSpyVariant inHeap(HEAPID heap) const
    {
        return isText ? CSpyVariant(CName(text), heap) : CSpyVariant(number);
    }
    bool is(const CSpyVariant& value) const
    {
        return isText ? value == CName(text) : value == CSpyVariant(number);
    }
};

class CWalk {
public:
    /// @param process  number of the process among those that share the containers; below 0: it has them
    /// alone
    CWalk(unsigned seed, int process) : m_random(seed), m_process(process) {}

protected:
    bool isAlone() const { return m_process < 0; }
    unsigned dice(unsigned sides) { return static_cast<unsigned>(m_random() % sides); }
    bool once(unsigned in) { return dice(in) == 0; }
    std::string text(size_t most)
    {
        return std::string(dice(static_cast<unsigned>(most)), static_cast<char>('A' + dice(26)));
    }
    /// No value equals a key: in a chain it would hide the key.
    CValue value()
    {
        return once(2) ? CValue{true, once(10) ? "" : "=" + text(60), 0} : CValue{false, "", dice(50)};
    }
    /// A key that only this process uses.
    std::string key()
    {
        const unsigned number = dice(600);
        return std::to_string(m_process) + std::string(number % 40, static_cast<char>('a' + number % 26)) +
               std::to_string(number);
    }

    std::mt19937 m_random;
    int m_process;
};

/// Every process has a vector of its own.
class CVectorWalk : public CWalk {
public:
    using CWalk::CWalk;
    void begin()
    {
        CSpyVector vector;
        vector.create(dice(2) * 5, 1 + dice(8), 1 + dice(5));
        m_ref = vector.ref();
        m_model.clear();
    }
    void step()
    {
        const CSpyHeapLock lock;
        CSpyVector vector(m_ref);
        const unsigned size = vector.size();
        ASSERT_EQ(m_model.size(), size);
        const auto index = static_cast<int>(dice(size + 4));
        switch (dice(10)) {
        case 0:
        case 1:
        case 2:
            add(vector);
            break;
        case 3:
            set(vector, index);
            break;
        case 4:
            insert(vector, index);
            break;
        case 5:
        case 6:
            remove(vector, once(10) ? static_cast<int>(size + 3) : index);
            break;
        case 7:
            find(vector);
            break;
        case 8:
            compare(vector, index);
            break;
        default:
            if (once(300))
                clear(vector);
        }
    }
    void add(CReachable& reachable) const { reachable.addVector(m_ref); }
    void end() { CSpyVector(m_ref).free(); }

private:
    CSpyVariant store(const CValue& value) { return value.inHeap(m_ref.heapId()); }
    void add(CSpyVector& vector)
    {
        if (m_model.size() > 200)
            return;
        const CValue next = value();
        m_model.push_back(next);
        vector.addElement(store(next));
    }
    void set(CSpyVector& vector, int index)
    {
        const auto at = static_cast<size_t>(index);
        const CValue next = value();
        CSpyVariant previous = vector.set(index, store(next));
        if (at >= m_model.size())
            m_model.resize(at + 1);
        ASSERT_TRUE(m_model[at].is(previous));
        m_model[at] = next;
        previous.free();
    }
    void insert(CSpyVector& vector, int index)
    {
        const CValue next = value();
        CSpyVariant stored = store(next);
        vector.insertElement(stored, index);
        if (static_cast<size_t>(index) <= m_model.size())
            m_model.insert(m_model.begin() + index, next);
    }
    void remove(CSpyVector& vector, int index)
    {
        CSpyVariant dropped = vector.lastElement();
        CSpyVariant removed = vector.remove(index);
        if (m_model.empty())
            return;
        if (static_cast<size_t>(index) < m_model.size()) {
            ASSERT_TRUE(m_model[static_cast<size_t>(index)].is(removed));
            m_model.erase(m_model.begin() + index);
            removed.free();
        } else {
            ASSERT_TRUE(removed.isEmpty());
            m_model.pop_back();
            dropped.free();
        }
    }
    void find(CSpyVector& vector)
    {
        const CValue wanted = value();
        const unsigned start = dice(4);
        const auto first = m_model.begin() + static_cast<long>(std::min<size_t>(start, m_model.size()));
        const auto found = std::find_if(first, m_model.end(), [&](const CSlot& slot) {
            return !slot.empty && slot.value.isText == wanted.isText && slot.value.text == wanted.text &&
                   slot.value.number == wanted.number;
        });
        CSpyVariant sought = store(wanted);
        const unsigned expected =
            found == m_model.end() ? CSpyVector::NotFound : static_cast<unsigned>(found - m_model.begin());
        ASSERT_EQ(expected, vector.indexOf(sought, static_cast<int>(start)));
        sought.free();
    }
    void compare(const CSpyVector& vector, int index)
    {
        const CSpyVariant found = vector.get(index);
        ASSERT_TRUE(static_cast<size_t>(index) < m_model.size()
                        ? m_model[static_cast<size_t>(index)].is(found)
                        : found.isEmpty());
    }
    void clear(CSpyVector& vector)
    {
        vector.removeAllElements();
        m_model.clear();
        if (!once(3))
            return;
        vector.free();
        begin();
    }

    /// An element: a value, or the empty one that fills gaps.
    struct CSlot {
        bool empty = true;
        CValue value;
        CSlot() = default;
        CSlot(const CValue& value) : empty(false), value(value) {}
        bool is(const CSpyVariant& found) const { return empty ? found.isEmpty() : value.is(found); }
    };
    CSpyMemRef m_ref;
    std::vector<CSlot> m_model;
};

class CMapWalk : public CWalk {
public:
    using CWalk::CWalk;
    void begin()
    {
        CSpyMap map((CSpyMemRef()));
        map.create(CName(""), MapTransaction, static_cast<int>(1 + dice(150)));
        use(map.ref());
        m_model.clear();
        m_missed = 0;
    }
    CSpyMemRef ref() const { return m_ref; }
    void use(const CSpyMemRef& ref) { m_ref = ref; }
    void step()
    {
        const CSpyHeapLock lock;
        CSpyMap map(m_ref);
        const std::string name = key();
        switch (dice(8)) {
        case 0:
        case 1:
        case 2:
            put(map, name);
            break;
        case 3:
        case 4:
            remove(map, name);
            break;
        case 5:
        case 6:
            compare(map, name);
            break;
        default:
            if (isAlone() && once(500))
                clear(map);
        }
        const auto expected = static_cast<unsigned>(m_model.size()) - m_missed;
        ASSERT_TRUE(!isAlone() || expected == map.size()) << expected << " are not " << map.size();
    }
    void add(CReachable& reachable) const { reachable.addMap(m_ref); }
    /// Keys and values of a walk are those of the model.
    void compareAll()
    {
        const CSpyHeapLock lock;
        CSpyMap map(m_ref);
        if (isAlone() && m_missed == 0) {
            size_t found = 0;
            const auto keys = map.keys(), values = map.elements();
            for (; keys->hasMoreElements(); ++found) {
                const CSpyVariant key = keys->nextElement(), value = values->nextElement();
                const std::u16string units(reinterpret_cast<const char16_t*>(key.getString()),
                                           key.getStringLen() / 2);
                const auto expected = m_model.find(std::string(units.begin(), units.end()));
                ASSERT_TRUE(expected != m_model.end() && expected->second.is(value));
            }
            ASSERT_EQ(m_model.size(), found);
        }
        for (const auto& [name, value] : m_model)
            ASSERT_TRUE(value.is(map.get(CName(name)))) << name;
    }
    void removeAllKeys()
    {
        const CSpyHeapLock lock;
        CSpyMap map(m_ref);
        while (!m_model.empty())
            remove(map, m_model.begin()->first);
    }

private:
    void put(CSpyMap& map, const std::string& name)
    {
        const CValue next = value();
        CSpyVariant previous = map.get(CName(name));
        const uint32_t before = table(map);
        ASSERT_TRUE(map.put(CName(name), next.inHeap(m_ref.heapId())));
        if (before != table(map))
            m_missed = 0; // a new table is counted anew
        m_model[name] = next;
        // A bucket frees the value that is replaced, a chain leaves it to those who know it.
        if (CSpyMemRef block = previous.ref();
            previous.isa(CSpyVariant::SpyString) && !!block &&
            CSpyHeap::getHeap(block.heapId())->verifyBlock(block.blockId(), block.uid()))
            previous.free();
    }
    static uint32_t table(const CSpyMap& map)
    {
        CSpyMapHdr stored;
        map.ref().read(&stored, sizeof stored);
        return stored.m_data.uid();
    }
    void remove(CSpyMap& map, const std::string& name)
    {
        const auto known = m_model.find(name);
        if (known == m_model.end() && !isAlone())
            return; // the size that the others count on would fall
        const unsigned before = map.size();
        CSpyVariant removed = map.remove(CName(name));
        if (known == m_model.end()) {
            ASSERT_TRUE(removed.isEmpty());
            m_missed += before - map.size();
            return;
        }
        ASSERT_TRUE(known->second.is(removed));
        m_model.erase(known);
        removed.free();
    }
    void compare(const CSpyMap& map, const std::string& name)
    {
        const auto known = m_model.find(name);
        ASSERT_EQ(known != m_model.end(), map.containsKey(CName(name)));
        const CSpyVariant found = map.get(CName(name));
        ASSERT_TRUE(known == m_model.end() ? found.isEmpty() : known->second.is(found));
    }
    /// Ends with a new map in a new heap: outgrown tables and chains go with the old one.
    void clear(CSpyMap& map)
    {
        if (once(2)) {
            map.removeAll();
            ASSERT_EQ(0U, map.size());
            ASSERT_FALSE(map.keys()->hasMoreElements());
        }
        map.free();
        CSpyMemory::free(MapTransaction);
        begin();
        map.setRef(m_ref);
        map.refresh();
    }

    CSpyMemRef m_ref;
    std::map<std::string, CValue> m_model;
    unsigned m_missed = 0; ///< removals of unknown keys that lowered the size
};

class CPairWalk : public CWalk {
public:
    using CWalk::CWalk;
    void begin()
    {
        CSpyMappedPair pair;
        pair.create(dice(2) * 7);
        use(pair.ref());
        m_model.clear();
    }
    CSpyMemRef ref() const { return m_ref; }
    void use(const CSpyMemRef& ref) { m_ref = ref; }
    void step()
    {
        const CSpyHeapLock lock;
        CSpyMappedPair pair(m_ref);
        const std::string name = key().substr(0, 3);
        switch (dice(4)) {
        case 0:
            put(pair, name);
            break;
        case 1:
            remove(pair, name);
            break;
        case 2:
            compare(pair, name);
            break;
        default:
            if (isAlone() && once(500))
                clear(pair);
        }
        ASSERT_TRUE(!isAlone() || m_model.size() == pair.size());
    }
    void add(CReachable& reachable) const { reachable.addPair(m_ref); }
    void removeAllKeys()
    {
        const CSpyHeapLock lock;
        CSpyMappedPair pair(m_ref);
        while (!m_model.empty())
            remove(pair, m_model.begin()->first);
    }

private:
    void put(CSpyMappedPair& pair, const std::string& name)
    {
        const std::pair<CValue, int> next(value(), static_cast<int>(m_random()));
        ASSERT_TRUE(pair.put(CName(name), next.first.inHeap(m_ref.heapId()), next.second));
        m_model[name] = next;
    }
    void remove(CSpyMappedPair& pair, const std::string& name)
    {
        const auto known = m_model.find(name);
        CSpyVariant removed = pair.remove(CName(name));
        if (known == m_model.end()) {
            ASSERT_TRUE(removed.isEmpty());
            return;
        }
        ASSERT_TRUE(known->second.first.is(removed));
        m_model.erase(known);
        removed.free();
    }
    void compare(const CSpyMappedPair& pair, const std::string& name)
    {
        const auto known = m_model.find(name);
        CSpyVariant found;
        int number = 77;
        pair.get(CName(name), found, number);
        ASSERT_EQ(known != m_model.end(), pair.containsKey(CName(name)));
        ASSERT_TRUE(known == m_model.end() ? found.isEmpty() : known->second.first.is(found));
        ASSERT_EQ(known == m_model.end() ? 0 : known->second.second, number);
    }
    void clear(CSpyMappedPair& pair)
    {
        pair.removeAll();
        ASSERT_FALSE(pair.put(CName("no"), CName("data vector"), 1));
        ASSERT_EQ(0U, pair.size());
        pair.free();
        begin();
    }

    CSpyMemRef m_ref;
    std::map<std::string, std::pair<CValue, int>> m_model;
};

/// The walks over the containers of one process.
class CStoreWalk {
public:
    CStoreWalk(unsigned seed, int process)
        : m_random(seed), m_isAlone(process < 0), vector(seed, process), map(seed + 100, process),
          pair(seed + 200, process)
    {
    }
    void walk(int operations)
    {
        for (int count = 1; count <= operations && !testing::Test::HasFatalFailure(); ++count) {
            switch (m_random() % 3) {
            case 0:
                vector.step();
                break;
            case 1:
                map.step();
                break;
            default:
                pair.step();
            }
            if (count % BetweenChecks != 0)
                continue;
            map.compareAll();
            if (m_isAlone)
                checkLosses();
        }
    }
    /// Nothing is lost, save for the two blocks of each chain of a table that was outgrown.
    void checkLosses() const
    {
        const CSpyHeapLock lock;
        CReachable reachable;
        vector.add(reachable);
        map.add(reachable);
        pair.add(reachable);
        ASSERT_EQ(0U, reachable.strangers() % 2);
    }

private:
    std::mt19937 m_random;
    bool m_isAlone;

public:
    CVectorWalk vector;
    CMapWalk map;
    CPairWalk pair;
};

class SpyContainerModelTest : public testing::Test {
protected:
    SpyContainerModelTest() : m_owner(seed(), -1)
    {
        m_owner.vector.begin();
        m_owner.map.begin();
        m_owner.pair.begin();
    }
    ~SpyContainerModelTest() override { CSpyHeap::deleteBaseHeap(); }

    /// Works on the map and the mapped pair of the owner, and on a vector of its own, and leaves them empty.
    void share(int participant)
    {
        CStoreWalk walk(seed() + static_cast<unsigned>(participant), participant);
        walk.vector.begin();
        walk.map.use(m_owner.map.ref());
        walk.pair.use(m_owner.pair.ref());
        walk.walk(OperationsOfEachProcess);
        walk.map.removeAllKeys();
        walk.pair.removeAllKeys();
        walk.vector.end();
    }
    void expectEmptyContainers()
    {
        EXPECT_EQ(0U, CSpyMap(m_owner.map.ref()).size());
        EXPECT_EQ(0U, CSpyMappedPair(m_owner.pair.ref()).size());
        m_owner.checkLosses();
    }

    CStoreWalk m_owner;
};

TEST_F(SpyContainerModelTest, AgreesWithModelsOverRandomOperations)
{
    m_owner.walk(Operations);
}

TEST_F(SpyContainerModelTest, AgreesWithTheModelsOfFourProcessesThatShareTheContainers)
{
    std::vector<std::unique_ptr<CChildProcess>> children;
    for (int number = 0; number < Processes; ++number)
        children.push_back(std::make_unique<CChildProcess>([=, this](CChildProcess& parent) {
            share(number);
            parent.pass();
            parent.wait(); // a heap goes with the last process that has it attached
        }));
    for (const auto& child : children)
        ASSERT_TRUE(child->wait(std::chrono::minutes(4)));
    expectEmptyContainers();
}

TEST_F(SpyContainerModelTest, AgreesWithTheModelsOfTwoThreadsThatShareTheContainers)
{
    std::thread other([this] { share(1); });
    share(2);
    other.join();
    expectEmptyContainers();
}
} // namespace
