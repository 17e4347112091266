#include "unix/sysv/NoticePage.h"

#include <cstring>
#include <sys/mman.h>

namespace {
std::atomic<CNoticePage*> s_page = nullptr;
void* s_left = nullptr; ///< what has taken the place of the page that was detached last
} // namespace

void CNoticePage::use(void* page, bool isNew)
{
    if (isNew)
        std::memset(page, 0, sizeof(CNoticePage));
    s_page.store(static_cast<CNoticePage*>(page), std::memory_order_release);
}

void CNoticePage::leave()
{
    CNoticePage* const page = s_page.exchange(nullptr);
    if (!page)
        return;
    if (s_left)
        munmap(s_left, sizeof(CNoticePage)); // who was about to write there has long done so
    void* const place = mmap(page, sizeof *page, PROT_READ | PROT_WRITE,
                             MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    s_left = place == MAP_FAILED ? nullptr : place;
}

CNoticePage* CNoticePage::get()
{
    return s_page.load(std::memory_order_acquire);
}
