#include "JvmScope.h"

#include "common/jni/BootstrapClass.h"

TEST(Bootstrap, LoadsClassesByNamesWithSlashes)
{
    const CJvmScope jvm;
    CBootstrap bootstrap(jvm, "java/util/ArrayList");
    const std::unique_ptr<CJniClass> loaded(bootstrap.loadClass("com/talvern/test/gx/bootstrap/Bootstrap"));
    ASSERT_NE(nullptr, loaded);
    EXPECT_STREQ("com/talvern/test/gx/bootstrap/Bootstrap", *loaded);

    const std::string longName(100'000, 'x');
    for (const char* absent : {"no/such/Thing", "", static_cast<const char*>(nullptr), longName.c_str()})
        EXPECT_EQ(nullptr, bootstrap.loadClass(absent));
}
