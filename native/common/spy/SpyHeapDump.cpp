// What a heap tells about itself: figures, dumps, snapshots.
#include "common/spy/SpyHeapWalk.h"
#include "common/spy/SpyMemRef.h"
#include "common/trace/CTracer.h"
#include "common/trace/FilePlace.h"
#include "common/trace/GxAssert.h"
#include "include/SpyHeap.h"
#include "unix/sysv/SharedMemory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <vector>

namespace {
constexpr char Line[] = "---------------------------------\n";
constexpr char Indent[] = "\n            ";
constexpr size_t PerRow = 32; ///< words of a dumped payload in a row, of which there are two

std::string defaultDumpFile()
{
    const char* directory = std::getenv("TMP");
    if (!directory)
        directory = std::getenv("TEMP");
    std::string path = directory ? directory : "/tmp";
    if (path.empty() || (path.back() != '/' && path.back() != '\\'))
        path += '/';
    return path + "Heapdump.log";
}

char shown(unsigned char byte)
{
    return byte >= ' ' && byte <= '~' ? static_cast<char>(byte) : '.';
}

void writeWords(FILE* out, const unsigned char* bytes, size_t words)
{
    for (size_t index = 0; index < words; ++index) {
        uint16_t word;
        std::memcpy(&word, bytes + index * sizeof word, sizeof word);
        if (index == PerRow)
            std::fputs(Indent, out);
        std::fprintf(out, "%04x ", word);
    }
}

void writeCharacters(FILE* out, const unsigned char* bytes, size_t count)
{
    for (size_t index = 0; index < count; ++index) {
        if (index % (PerRow * 2) == 0)
            std::fputs(Indent, out);
        std::fputc(shown(bytes[index]), out);
    }
}

void writePayload(FILE* out, const unsigned char* payload, size_t size)
{
    const size_t words = std::min(size / 2, PerRow * 2);
    std::fputs(" contains:  ", out);
    writeWords(out, payload, words);
    writeCharacters(out, payload, words * 2);
    std::fputs("\n\n", out);
}

void addTo(uint32_t& bytes, uint32_t& blocks, uint32_t& largest, uint32_t size)
{
    bytes += size;
    ++blocks;
    largest = std::max(largest, size);
}

void writeFreeBlocks(FILE* out, const CSpyHeap& heap, const CSpyHeap::CHeapBlock& pool)
{
    std::fputs(Line, out);
    std::fprintf(out, "First free block: 0x%08x\n", pool.m_next.load());
    CSpyHeapWalk(heap).forEachFree(pool, [&](const CSpyHeap::CBlockCopy& found) {
        std::fprintf(out, "Block Id: 0x%08x", found.m_offset);
        std::fprintf(out, " size = %d\n", static_cast<int>(found.m_size));
    });
    std::fputs(Line, out);
}

CHeapStats statsOfAll()
try {
    CHeapStats stats;
    for (HEAPID id = 0; id <= MaxHeap; ++id)
        if (CSpyHeap* heap = CSpyHeap::getHeap(id); heap && heap->inUse()) {
            ++stats.numberOfActiveHeaps;
            heap->updateStats(stats);
        }
    return stats;
} catch (...) {
    CTracer::debugTrace("Unknown Exception");
    throw;
}
} // namespace

CHeapStats CSpyHeap::getStats()
try {
    GX_ASSERT(getHeap(0), "heapZero != 0");
    const CSpyHeapLock lock;
    return statsOfAll();
} catch (const CSpyHeapLockedException&) {
    return {};
}

void CSpyHeap::updateStats(CHeapStats& stats) const
{
    CSpyHeapWalk(*this).forEachBlock([&](const CBlockCopy& found) {
        if (found.isUsed())
            addTo(stats.numberBytesAllocated, stats.numberUsedBlocks, stats.largestUsedBlock, found.m_size);
        else
            addTo(stats.numberBytesFree, stats.numberFreeBlocks, stats.largestFreeBlock, found.m_size);
    });
}

void CSpyHeap::dump(const char* file, bool append) const
{
    const std::string path = file ? file : defaultDumpFile();
    const ScopedFile out(openStream(path.c_str(), append ? O_APPEND : O_TRUNC));
    if (!out) {
        CTracer::debugTrace("Tried to dump heap but could not open file %s", path.c_str());
        return;
    }
    walk(out.get());
    walkAll(out.get());
}

void CSpyHeap::walk(FILE* out) const
{
    std::fprintf(out, "----------- Dump of CSpyHeap #%d  -----------\n", static_cast<int>(m_id));
    std::fputs("Large block free pool\n", out);
    writeFreeBlocks(out, *this, header()->m_largePool);
    std::fputs("Small block free pool\n", out);
    writeFreeBlocks(out, *this, header()->m_smallPool);
}

void CSpyHeap::walkAll(FILE* out) const
{
    std::fputs("---------------------------------", out);
    std::fputs("Walking all blocks: \n", out);
    CSpyHeapWalk(*this).forEachBlock([&](const CBlockCopy& found) {
        std::fprintf(out, "Block Id: 0x%08x %s\n", found.m_offset, found.isUsed() ? " used" : " free ");
        std::fprintf(out, " UID: 0x%08x\n", found.m_uid);
        std::fprintf(out, " size: %d\n", static_cast<int>(found.m_size));
        std::fprintf(out, " next: 0x%08x\n", found.m_next);
        writePayload(out, blockAt(found.m_offset)->payload(), found.m_size);
    });
}

void CSpyHeap::snapShot(const char* file) const
{
    m_pSharedMem->dump(file, 0, m_size);
}

void CSpyHeap::snapShotAllHeaps(const char* file)
{
    for (HEAPID id = 0; id <= MaxHeap; ++id)
        if (const CSpyHeap* heap = getHeap(id); heap && heap->inUse())
            heap->snapShot(file);
}

bool CSpyHeap::verifySpyMemory(const char* expected, CSpyMemRef ref)
{
    const unsigned int size = ref.size();
    std::vector<char> found(size);
    try {
        ref.read(found.data(), size);
    } catch (...) {
        std::printf("Exception calling CSpyMemRef.read( blockId =0x%04x, size = %d  bytes)\n", ref.blockId(),
                    static_cast<int>(size));
        return false;
    }
    const bool matched = std::memcmp(found.data(), expected, size) == 0;
    if (!matched)
        std::printf("Bad data read from buffer: BlockId =%0x04x\n", ref.blockId());
    return matched;
}
