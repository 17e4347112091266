// Waiting for who receives what was played, for an engine that plays at a pace that programs can follow.
#include "JniEntry.h"
#include "KeyReceiver.h"
#include "com_talvern_test_gx_engine_UserInput.h"

extern "C" JNIEXPORT void JNICALL Java_com_talvern_test_gx_engine_UserInput_awaitClickTaken(JNIEnv* env,
                                                                                            jclass)
{
    jniEntry(env, __func__, [] { CKeyReceiver::awaitClickTaken(); });
}

extern "C" JNIEXPORT void JNICALL Java_com_talvern_test_gx_engine_UserInput_awaitKeysTaken(JNIEnv* env,
                                                                                           jclass)
{
    jniEntry(env, __func__, [] { CKeyReceiver::awaitKeysTaken(); });
}
