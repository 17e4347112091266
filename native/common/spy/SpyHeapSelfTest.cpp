// The self test that support has run on a machine in question.
#include "common/spy/SpyMemory.h"
#include "common/trace/CTracer.h"
#include "common/trace/FilePlace.h"
#include "include/SpyHeap.h"

#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <vector>

namespace {
constexpr UNIQUEID TestTransaction = 2;
constexpr unsigned int TestBlocks = 30;
constexpr unsigned int LargestTestBlock = 4096;
/// The largest request for which the small pool is searched first.
constexpr unsigned int SmallTestBlock = 1023;

struct CWritten {
    CSpyMemRef m_ref;
    std::vector<char> m_bytes;
};

std::vector<char> randomBytes(unsigned int size)
{
    std::vector<char> bytes(size);
    for (char& byte : bytes)
        byte = static_cast<char>(std::rand());
    return bytes;
}

/// The numbered tests of one run. Hold the heap mutex.
class CHeapSelfTest {
public:
    explicit CHeapSelfTest(FILE* out) : m_out(out) {}

    void run()
    {
        std::fputs("<< ------- Low Level heap tests ------ >>\n\n", m_out);
        std::fprintf(m_out, "<< Test %d: Allocate max blocks.\n", ++m_number);
        conclude(&CHeapSelfTest::fillPools);
        std::fprintf(m_out, "<< Test %d: Allocate and write to blocks of random sizes.\n", ++m_number);
        conclude(&CHeapSelfTest::writeBlocks);
        std::fprintf(m_out, "<< Test %d: Verify previous blocks and free alternate blocks.\n", ++m_number);
        conclude(&CHeapSelfTest::freeBlocks);
        std::fprintf(m_out, "<< Test %d: Attempt block overrun.\n", ++m_number);
        conclude(&CHeapSelfTest::overrun);
        std::fputs("<< ------- End Low Level heap tests ------ >>\n\n", m_out);
    }

private:
    void conclude(bool (CHeapSelfTest::*test)())
    {
        if (passes(test))
            std::fprintf(m_out, "<< Test %d: Passed.\n", m_number);
        else
            std::fprintf(m_out, "<< Test %d: Failed.\n", m_number);
    }

    bool passes(bool (CHeapSelfTest::*test)())
    {
        try {
            return (this->*test)();
        } catch (const COutOfSpyMemory&) {
            std::fprintf(m_out, "!! Out of spy memory  trying to allocate %d bytes\n",
                         static_cast<int>(m_requested));
        } catch (const CSpyHeapException& e) {
            std::fprintf(m_out, "!! %s\n", e.message());
        } catch (...) {
            std::fputs("!! Exception \n", m_out);
        }
        return false;
    }

    CSpyMemRef allocate(unsigned int size, CSpyHeap& heap)
    {
        m_requested = size;
        return heap.allocate(size);
    }

    /// Fills the first heap of the test's transaction, until a block lands in an overflow heap.
    bool fillPools()
    {
        // Somebody may use this transaction: the heap is one of its own, and what it leads to.
        CSpyHeap* tested = CSpyHeap::createHeap(TestTransaction);
        if (!tested)
            throw COutOfSpyMemory();
        const HEAPID heap = tested->id();
        bool large = false;
        try {
            large = fill(*tested);
        } catch (...) {
            CSpyHeap::dropHeap(heap);
            throw;
        }
        CSpyHeap::dropHeap(heap);
        return large && !CSpyHeap::getHeap(heap);
    }

    bool fill(CSpyHeap& tested)
    {
        const bool large = allocate(tested.header()->m_poolBlockSize.load(), tested).heapId() == tested.id();
        while (allocate(SmallTestBlock, tested).heapId() == tested.id()) {
        }
        std::fputs(" -- Heap after filling heap pools --", m_out);
        tested.walk(m_out);
        return large;
    }

    bool writeBlocks()
    {
        for (unsigned int count = 0; count < TestBlocks; ++count) {
            const unsigned int size = 1 + static_cast<unsigned int>(std::rand()) % LargestTestBlock;
            CSpyMemRef ref = allocate(size, m_base);
            m_written.push_back({ref, randomBytes(ref.size())});
            ref.write(m_written.back().m_bytes.data(), ref.size());
        }
        return true;
    }

    bool freeBlocks()
    {
        bool intact = true;
        for (const CWritten& each : m_written)
            intact = CSpyHeap::verifySpyMemory(each.m_bytes.data(), each.m_ref) && intact;
        freeEverySecond(0);
        std::fputs("**** After first set of frees ****\n\n", m_out);
        CSpyHeap::getHeap(0)->walk(m_out);
        for (size_t index = 1; index < m_written.size(); index += 2)
            intact =
                CSpyHeap::verifySpyMemory(m_written[index].m_bytes.data(), m_written[index].m_ref) && intact;
        freeEverySecond(1);
        std::fputs("**** After final  set of frees ****\n\n", m_out);
        CSpyHeap::getHeap(0)->walk(m_out);
        return intact;
    }

    void freeEverySecond(size_t first)
    {
        for (size_t index = first; index < m_written.size(); index += 2)
            m_written[index].m_ref.free();
    }

    /// Writes more than a block holds: the block behind it must not change.
    bool overrun()
    {
        CSpyMemRef written = allocate(SmallTestBlock, m_base);
        CSpyMemRef witness = allocate(SmallTestBlock, m_base);
        const std::vector<char> kept = randomBytes(witness.size());
        witness.write(kept.data(), witness.size());
        bool intact = true;
        try {
            const std::vector<char> tooMuch = randomBytes(2 * written.size() + 16);
            written.write(tooMuch.data(), static_cast<unsigned int>(tooMuch.size()));
            intact = CSpyHeap::verifySpyMemory(kept.data(), witness);
            std::fputs(intact ? "<<Overwrite test passed" : ">>Overwrite test failed!", m_out);
        } catch (...) {
            std::fputs(">>Overwrite test generated exception!\n", m_out);
        }
        witness.free();
        written.free();
        return intact;
    }

    FILE* m_out;
    CSpyHeap& m_base = *CSpyHeap::getHeap(0);
    int m_number = 0;
    unsigned int m_requested = 0;
    std::vector<CWritten> m_written;
};
} // namespace

void CSpyHeap::heaptest(const char* file)
{
    const char* const path = file ? file : "HeapTest.Log";
    const ScopedFile out(openStream(path, O_APPEND));
    if (!out) {
        CTracer::debugTrace("Could not open file %s", path);
        return;
    }
    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    const CSpyUnit unit;
    CHeapSelfTest(out.get()).run();
}
