#include "HotKeyCounter.h"

#include "JniDataTypes.h"

#include <cstdint>
#include <string_view>

namespace {
/// As an argument it lives until the counter is constructed.
class CCounterName {
public:
    explicit CCounterName(std::u16string_view text)
        : m_name(reinterpret_cast<const unsigned short*>(text.data()),
                 static_cast<unsigned short>(text.size()))
    {
    }
    const ITalString& text() const { return m_name; }

private:
    CTalString m_name;
};
} // namespace

HotKeyCounter::HotKeyCounter(const ITalString& name)
{
    const CSpyHeapLock lock; // two processes that look for it at once make one
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
    const CSpyHeapLock lock;
    const int32_t value = getValue() + change;
    write(&value, sizeof value);
}

StopHotKeyCounter::StopHotKeyCounter() : HotKeyCounter(CCounterName(u"StopHotKeyCounter").text()) {}

PauseHotKeyCounter::PauseHotKeyCounter() : HotKeyCounter(CCounterName(u"PauseHotKeyCounter").text()) {}
