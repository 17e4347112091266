#include "unix/input/HotKeyCounter.h"

#include "common/spy/AsciiName.h"

#include <cstdint>

HotKeyCounter::HotKeyCounter(const ITalString& name)
{
    const CSpyUnit unit; // two processes that look for it at once make one
    m_ref = CSpyMemory(name).ref();
    if (!isNull())
        return;
    constexpr int32_t none = 0;
    allocate(sizeof none, 0);
    write(&none, sizeof none);
    registerName(name); // only now can others find it
}

int HotKeyCounter::getValue()
{
    int32_t value = 0;
    read(&value, sizeof value);
    return value;
}

void HotKeyCounter::add(int change)
{
    const CSpyUnit unit;
    const int32_t value = getValue() + change;
    write(&value, sizeof value);
}

StopHotKeyCounter::StopHotKeyCounter() : HotKeyCounter(CAsciiName("StopHotKeyCounter")) {}

PauseHotKeyCounter::PauseHotKeyCounter() : HotKeyCounter(CAsciiName("PauseHotKeyCounter")) {}
