#include "JvmScope.h"

#include "jniobject.h"

TEST(RaisingInJava, TheFirstFailureWins)
{
    const CJvmScope jvm;
    CJniJObject::throwException(jvm, "java/lang/IllegalStateException", "first");
    CJniJObject::throwException(jvm, "java/lang/IllegalArgumentException", "second");
    EXPECT_EQ("java.lang.IllegalStateException: first", takePendingException(jvm));
}
