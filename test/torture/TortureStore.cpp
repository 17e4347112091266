#include "TortureStore.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

CReport& CReport::at(const char* path)
{
    const int file = open(path, O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (file == -1 || ftruncate(file, sizeof(CReport)) == -1)
        std::abort();
    void* const place = mmap(nullptr, sizeof(CReport), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
    close(file);
    return *static_cast<CReport*>(place);
}

CContainers::CContainers()
{
    const CSpyUnit unit;
    const CSpyMemory known(CName("torture.pair"));
    if (known.isNull()) {
        CSpyMap newMap((CSpyMemRef()));
        newMap.create(CName("torture.map"), 0, 1000);
        CSpyVector newVector;
        newVector.create(CName("torture.vector"), 0, 8, 8);
        CSpyMappedPair newPair;
        newPair.create(CName("torture.pair"), 0);
    }
    map = CSpyMemory(CName("torture.map")).ref();
    vector = CSpyMemory(CName("torture.vector")).ref();
    pair = CSpyMemory(CName("torture.pair")).ref();
}

void CContainers::change(std::mt19937& random) const
{
    const CSpyUnit unit;
    // A bucket each: a map that grows leaves chains that nobody names.
    const CName name(std::string(1, static_cast<char>('a' + random() % 26)));
    CSpyMap itsMap(map);
    switch (random() % 6) {
    case 0:
        if (itsMap.containsKey(name)) // else it counts one entry less
            itsMap.remove(name).free();
        break;
    case 1:
        if (!itsMap.containsKey(name)) // the value that it replaces in a chain would stay allocated
            itsMap.put(name, name);
        break;
    case 2:
        CSpyVector(vector).addElement(CSpyVariant(name, vector.heapId()));
        break;
    case 3:
        if (const unsigned size = CSpyVector(vector).size(); size > 20)
            CSpyVector(vector).remove(static_cast<int>(random() % size)).free();
        break;
    case 4:
        CSpyMappedPair(pair).put(name, name, 1);
        break;
    default:
        CSpyMappedPair(pair).remove(name).free();
    }
}
