#include "common/trace/CTracer.h"

#include "common/text/CutText.h"
#include "common/trace/GxDebug.h"

#include <algorithm>

namespace {
/// How much of a line goes into one message. No character of UTF-8 is cut.
size_t partOf(std::string_view line)
{
    constexpr size_t most = 500;
    return line.size() > most ? wholeInUtf8(line.substr(0, most)) : line.size();
}
} // namespace

bool CTracer::isOn() noexcept
{
    return GenericNative.isTraced(2);
}

void CTracer::debugTrace(const char* format, ...) noexcept
{
    va_list arguments;
    va_start(arguments, format);
    GenericNative.vDebug(format, arguments);
    va_end(arguments);
}

void CTracer::traceFailure(const GxDebug& component, std::string_view text) noexcept
{
    while (!text.empty()) {
        const std::string_view line = text.substr(0, text.find('\n'));
        const size_t size = partOf(line);
        component.Error("%.*s", static_cast<int>(size), line.data());
        text.remove_prefix(std::min(text.size(), size + (size == line.size())));
    }
}
