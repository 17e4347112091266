// The exported functions of the Java player: how playback is set up, and the hot keys that stop or pause it.
#include "EventManager.h"

#include "JniEntry.h"
#include "Player.h"

#include "com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer.h"
#include "com_talvern_test_gx_sys_graphical_NativePlayerThread.h"

extern "C" {
JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_startPlayback(JNIEnv* env,
                                                                                               jobject)
{
    jniEntry(env, __func__, [] {
        Player& player = Player::get();
        if (player.isStarted())
            return;
        player.start();
        player.start64();
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_endPlayback(JNIEnv* env,
                                                                                             jobject)
{
    jniEntry(env, __func__, [] {
        Player::get().end();
        Player::get().end64();
    });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_getNextEvent(JNIEnv* env,
                                                                                              jobject)
{
    return jniEntry(env, __func__, []() -> jint {
        Player& player = Player::get();
        return player.isStarted() ? player.getNextEvent() : Player::PlaybackEnded;
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_pauseHooks(JNIEnv* env,
                                                                                            jobject)
{
    jniEntry(env, __func__, [] { Player::get().pauseHooks(); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_resumeHooks(JNIEnv* env,
                                                                                             jobject)
{
    jniEntry(env, __func__, [] { Player::get().resumeHooks(); });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer_nativeSetHotKeys(
    JNIEnv* env, jclass, jint stopKeysym, jint pauseKeysym)
{
    jniEntry(env, __func__, [&] {
        Player::get().setStopHotKey(stopKeysym);
        Player::get().setPauseHotKey(pauseKeysym);
    });
}

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
