// Key strings come from test scripts: whatever stands in them, they end, with a result of the list.
#include "../test/unix/input/RecordingSink.h"
#include "common/trace/GxAssert.h"
#include "unix/input/processkey.h"

#include <algorithm>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    constexpr int results[] = {KeysPlayed,        KeysNoBrace,       KeysUnknownName,
                               KeysNoParenthesis, KeysCountOverflow, KeysNoCount};
    std::u16string text;
    for (size_t i = 0; i + 1 < size; i += 2)
        text += static_cast<char16_t>(data[i] | data[i + 1] << 8);
    for (const bool parse : {true, false}) {
        CRecordingSink sink({}, true, 1000);
        const int result = SendKeys(text.c_str(), parse, sink);
        GX_ASSERT(std::find(std::begin(results), std::end(results), result) != std::end(results),
                  "known result");
        GX_ASSERT(parse || result == KeysPlayed, "plain text never fails");
    }
    return 0;
}
