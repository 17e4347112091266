// The exported functions of the Java keyboard.
#include "unix/input/Keyboard.h"

#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "unix/input/InputStatus.h"

#include "com_talvern_test_gx_sys_graphical_Keyboard.h"

GX_JNI(jint, Java_com_talvern_test_gx_sys_graphical_Keyboard_getKeyCode, jobject, jstring text)
{
    return jniEntry(env, __func__, [&]() -> jint {
        const CJString characters(env, text);
        return GetKeyCode(characters.ansiString());
    });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_graphical_Keyboard_isKeyDown, jobject, jint keysym)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        return withStatus(env, g_keyboard_status, nullptr, [&] { return Keyboard::isKeyDown(keysym); });
    });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_graphical_Keyboard_getKeyState, jobject, jint keysym)
{
    return jniEntry(env, __func__, [&]() -> jint {
        return withStatus(env, g_keyboard_status, nullptr, [&] { return Keyboard::getKeyState(keysym); });
    });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_graphical_Keyboard_getPressedKey, jobject)
{
    return jniEntry(env, __func__, [&]() -> jint {
        return withStatus(env, g_keyboard_status, nullptr, [] { return Keyboard::getPressedKey(); });
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_Keyboard_setModifierKeys, jobject, jint modifiers)
{
    jniEntry(env, __func__, [&] {
        withStatus(env, g_keyboard_status, nullptr,
                   [&] { Keyboard::setModifierKeys(static_cast<unsigned>(modifiers)); });
    });
}
