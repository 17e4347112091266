#include "unix/widget/WidgetFacts.h"

#include "JvmScope.h"
#include "common/jni/JniDataTypes.h"
#include "common/jni/LocalRef.h"

#include <string>
#include <vector>

namespace {
/// What `object` answers to a method without arguments; fails the test when Java throws.
template <class T> LocalRef<T> ask(JNIEnv* env, jobject object, const char* method, const char* signature)
{
    const auto javaClass = localRef(env, env->GetObjectClass(object));
    const jmethodID id = env->GetMethodID(javaClass.get(), method, signature);
    auto answer = localRef(env, id ? static_cast<T>(env->CallObjectMethod(object, id)) : nullptr);
    EXPECT_EQ("", takePendingException(env));
    return answer;
}

std::vector<std::string> componentsOf(JNIEnv* env, const char* record)
{
    const auto recordClass = localRef(env, env->FindClass(record));
    const auto components = ask<jobjectArray>(env, recordClass.get(), "getRecordComponents",
                                              "()[Ljava/lang/reflect/RecordComponent;");
    std::vector<std::string> names;
    for (jsize index = 0; index < env->GetArrayLength(components.get()); ++index) {
        const auto component = localRef(env, env->GetObjectArrayElement(components.get(), index));
        const auto name = ask<jstring>(env, component.get(), "getName", "()Ljava/lang/String;");
        names.emplace_back(CJString(env, name.get()).ansiString());
    }
    return names;
}
} // namespace

TEST(WidgetFactsTest, JavaTakesThemInTheOrderInWhichTheyAreSent)
{
    const CJvmScope jvm;
    std::vector<std::string> taken = componentsOf(jvm, "com/talvern/test/gx/engine/WidgetView");
    EXPECT_EQ(1u, std::erase(taken, "seen"));
#define GX_NAME(component, statement) #component,
    EXPECT_EQ((std::vector<std::string>{GX_WIDGET_FACTS(GX_NAME)}), taken);
#undef GX_NAME
}
