// The exported functions of the Java player: how playback is set up, and the hot keys that stop or pause it.
#include "unix/input/EventManager.h"

#include "common/jni/JniEntry.h"
#include "unix/input/Player.h"

#include "com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer.h"
#include "com_talvern_test_gx_sys_graphical_NativePlayerThread.h"

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_startPlayback, jobject)
{
    jniEntry(env, __func__, [] {
        Player& player = Player::get();
        if (player.isStarted())
            return;
        player.start();
        player.start64();
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_endPlayback, jobject)
{
    jniEntry(env, __func__, [] {
        Player::get().end();
        Player::get().end64();
    });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_getNextEvent, jobject)
{
    return jniEntry(env, __func__, []() -> jint {
        Player& player = Player::get();
        return player.isStarted() ? player.getNextEvent() : Player::PlaybackEnded;
    });
}

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_pauseHooks,
              Player::get().pauseHooks(), jobject)

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativePlayerThread_resumeHooks,
              Player::get().resumeHooks(), jobject)

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer_nativeSetHotKeys, jclass,
       jint stopKeysym, jint pauseKeysym)
{
    jniEntry(env, __func__, [&] {
        Player::get().setStopHotKey(stopKeysym);
        Player::get().setPauseHotKey(pauseKeysym);
    });
}

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer_nativeSetDelays,
              Event::setDelays(mouseDown, mouseUp, mouseMove, keyDown, keyUp, windowActivate), jclass,
              jint mouseDown, jint mouseUp, jint mouseMove, jint keyDown, jint keyUp, jint windowActivate)

GX_JNI_ANSWER(void,
              Java_com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer_nativeSetMouseMoveInterpolationPx,
              MouseEvent::setMouseMoveInterpolationPx(px), jclass, jint px)

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeLowLevelPlayer_nativeSetLowLevelPlayback,
              Event::setIsLowLevelPlayback(lowLevel != JNI_FALSE), jclass, jboolean lowLevel)
