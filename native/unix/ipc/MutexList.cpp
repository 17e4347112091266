#include "unix/ipc/MutexList.h"

CMutexList::CMutexList()
{
    setTracing(false);
    create(Key, Size, true);
    setTracing(true);
    for (int index = 0; index < Size; ++index)
        m_mutexes[static_cast<size_t>(index)].setHandle({id(), index});
}
