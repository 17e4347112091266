#include "PrivateSession.h"

#include <gtest/gtest.h>

int main(int argc, char** argv)
{
    CPrivateSession::ensure(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
