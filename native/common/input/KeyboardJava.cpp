// The exported functions of the Java keyboard.
#include "Keyboard.h"

#include "InputStatus.h"
#include "JniDataTypes.h"
#include "JniEntry.h"

#include "com_talvern_test_gx_sys_graphical_Keyboard.h"

extern "C" {
JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_graphical_Keyboard_getKeyCode(JNIEnv* env, jobject,
                                                                                  jstring text)
{
    return jniEntry(env, __func__, [&]() -> jint {
        const CJString characters(env, text);
        return GetKeyCode(characters.ansiString());
    });
}

JNIEXPORT jboolean JNICALL Java_com_talvern_test_gx_sys_graphical_Keyboard_isKeyDown(JNIEnv* env, jobject,
                                                                                     jint keysym)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        return withStatus(env, g_keyboard_status, nullptr, [&] { return Keyboard::isKeyDown(keysym); });
    });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_graphical_Keyboard_getKeyState(JNIEnv* env, jobject,
                                                                                   jint keysym)
{
    return jniEntry(env, __func__, [&]() -> jint {
        return withStatus(env, g_keyboard_status, nullptr, [&] { return Keyboard::getKeyState(keysym); });
    });
}

JNIEXPORT jint JNICALL Java_com_talvern_test_gx_sys_graphical_Keyboard_getPressedKey(JNIEnv* env, jobject)
{
    return jniEntry(env, __func__, [&]() -> jint {
        return withStatus(env, g_keyboard_status, nullptr, [] { return Keyboard::getPressedKey(); });
    });
}

JNIEXPORT void JNICALL Java_com_talvern_test_gx_sys_graphical_Keyboard_setModifierKeys(JNIEnv* env, jobject,
                                                                                       jint modifiers)
{
    jniEntry(env, __func__, [&] {
        withStatus(env, g_keyboard_status, nullptr,
                   [&] { Keyboard::setModifierKeys(static_cast<unsigned>(modifiers)); });
    });
}
}
