// The exported functions by which the Java player sets up playback.
#include "EventManager.h"

#include "JniEntry.h"

#include "com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer.h"

extern "C" {
JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer_nativeSetDelays(
    JNIEnv* env, jclass, jint mouseDown, jint mouseUp, jint mouseMove, jint keyDown, jint keyUp,
    jint windowActivate)
{
    jniEntry(env, __func__,
             [&] { Event::setDelays(mouseDown, mouseUp, mouseMove, keyDown, keyUp, windowActivate); });
}

JNIEXPORT void JNICALL
Java_com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer_nativeSetMouseMoveInterpolationPx(JNIEnv* env,
                                                                                              jclass, jint px)
{
    jniEntry(env, __func__, [&] { MouseEvent::setMouseMoveInterpolationPx(px); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer_nativeSetLowLevelPlayback(
    JNIEnv* env, jclass, jboolean lowLevel)
{
    jniEntry(env, __func__, [&] { Event::setIsLowLevelPlayback(lowLevel != JNI_FALSE); });
}
}
