#include "PrivateSession.h"
#include "ThrownText.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <exception>

namespace {
/// Says what GoogleTest cannot know of an exception that is no std::exception and escapes a test.
class CEscapes : public testing::EmptyTestEventListener {
    void OnTestPartResult(const testing::TestPartResult& result) override
    {
        if (result.failed() && !result.file_name() && std::current_exception())
            std::printf("escaped: %s\n", thrownText().c_str());
    }
};
} // namespace

int main(int argc, char** argv)
{
    CPrivateSession::ensure(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    testing::UnitTest::GetInstance()->listeners().Append(new CEscapes);
    return RUN_ALL_TESTS();
}
