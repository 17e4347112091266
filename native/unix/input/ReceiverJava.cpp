// What an engine asks that plays at a pace that programs can follow: who receives what was played, and which
// keys there are.
#include "com_talvern_test_gx_engine_UserInput.h"
#include "common/jni/JniEntry.h"
#include "unix/input/KeyReceiver.h"
#include "unix/input/Keyboard.h"

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_engine_UserInput_awaitClickTaken,
              CKeyReceiver::awaitClickTaken(), jclass)

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_engine_UserInput_awaitClickPassedOn,
              CKeyReceiver::awaitClickPassedOn(), jclass)

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_engine_UserInput_awaitFrame, CKeyReceiver::awaitFrame(), jclass)

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_engine_UserInput_awaitKeysTaken, CKeyReceiver::awaitKeysTaken(),
              jclass)

GX_JNI(jint, Java_com_talvern_test_gx_engine_UserInput_firstWithoutKey, jclass, jintArray keysyms)
{
    return jniEntry(env, __func__, [&]() -> jint {
        if (!keysyms)
            return 0;
        std::vector<jint> wanted(static_cast<size_t>(env->GetArrayLength(keysyms)));
        env->GetIntArrayRegion(keysyms, 0, static_cast<jsize>(wanted.size()), wanted.data());
        return static_cast<jint>(Keyboard::firstWithoutKey({wanted.begin(), wanted.end()}));
    });
}
