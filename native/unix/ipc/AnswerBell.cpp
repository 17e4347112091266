#include "unix/ipc/AnswerBell.h"

#include "include/Pause.h"
#include "unix/sysv/NoticePage.h"

#include <chrono>
#include <climits>
#include <ctime>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

CAnswerBell::CAnswerBell(const CSpyMemRef& request)
{
    if (CNoticePage* const page = CNoticePage::get())
        m_bell = &page->m_bells[(request.word() ^ request.uid()) % CNoticePage::Bells];
}

uint32_t CAnswerBell::rings() const
{
    return m_bell ? m_bell->load() : 0;
}

void CAnswerBell::await(uint32_t rings) const
{
    constexpr timespec moment{0, 1000000};
    if (m_bell)
        syscall(SYS_futex, m_bell, FUTEX_WAIT, rings, &moment, nullptr, 0);
    else
        pauseFor(std::chrono::milliseconds(1));
}

void CAnswerBell::ring() const
{
    if (!m_bell)
        return;
    m_bell->fetch_add(1);
    syscall(SYS_futex, m_bell, FUTEX_WAKE, INT_MAX, nullptr, nullptr, 0);
}
