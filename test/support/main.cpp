#include "ThrownText.h"
#include "session/PrivateSession.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <exception>

namespace {
/// Says what GoogleTest cannot know of an exception that is no std::exception and escapes a test, and in one
/// line which case is skipped and why, for the summary of scripts/test.
class CReport : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult& result) override
    {
        if (result.failed() && !result.file_name() && std::current_exception())
            std::printf("escaped: %s\n", thrownText().c_str());
    }
    void OnTestEnd(const testing::TestInfo& test) override
    {
        const testing::TestResult& result = *test.result();
        for (int i = 0; i < result.total_part_count(); ++i)
            if (const auto& part = result.GetTestPartResult(i); part.skipped())
                std::printf("skipped: %s.%s: %s\n", test.test_suite_name(), test.name(), part.message());
    }
};
} // namespace

#ifdef __SANITIZE_THREAD__
extern "C" {
/// SIGTERM frees mailslots where it arrives, and an alarm ends the process should it have come in between.
__attribute__((visibility("default"))) const char* __tsan_default_options()
{
    return "report_signal_unsafe=0";
}
/// What a process that ends leaves to threads that still write is a copy or an empty page: half of a write in
/// it is read by nobody.
__attribute__((visibility("default"))) const char* __tsan_default_suppressions()
{
    return "race:CUnixSharedMemory::leave\nrace:CNoticePage::leave\n";
}
}
#endif

int main(int argc, char** argv)
{
    CPrivateSession::ensure(argc, argv);
    if (const char* const home = getenv("HOME"))
        setenv("TMP", home, 1); // dumps of heaps that are full or damaged go there
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new CReport);
    return RUN_ALL_TESTS();
}
