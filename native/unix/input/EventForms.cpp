// The Java forms of recorded events.
#include "unix/input/EventManager.h"

#include "common/jni/JniClass.h"
#include "common/jni/JniDataTypes.h"
#include "common/jni/LocalRef.h"
#include "unix/window/JavaGeometry.h"

namespace {
constexpr const char* eventClass = "com/talvern/test/gx/sys/graphical/NativeKeyMouseEvent";
constexpr const char* windowClass = "com/talvern/test/gx/sys/graphical/NativeWindow";
constexpr const char* topLevelClass = "com/talvern/test/gx/sys/graphical/NativeTopLevelWindow";

/// First argument of the constructors: which of them made the object.
enum JavaForm : jint { MouseForm = 1, StrokeForm = 3, TextForm = 4, ScrollForm = 5 };

jobject newWindow(JNIEnv* env, const char* javaClass, const CWindow& window)
{
    return CJniClass(env, javaClass).construct("(J)V", static_cast<jlong>(window.getHandle()));
}
} // namespace

jobject MouseEvent::toJavaEvent(JNIEnv* env) const
{
    CLocalFrame frame(env);
    const jobject point = newPoint(env, m_start.m_point.value_or(Point()));
    const jobject window = point ? newWindow(env, windowClass, m_start.m_window) : nullptr;
    const jobject topLevel = window ? newWindow(env, topLevelClass, m_start.m_topLevel) : nullptr;
    if (!topLevel)
        return nullptr;
    return frame.leaveWith(
        CJniClass(env, eventClass)
            .construct("(IIIILjava/awt/Point;Lcom/talvern/test/gx/sys/graphical/NativeWindow;"
                       "Lcom/talvern/test/gx/sys/graphical/NativeTopLevelWindow;)V",
                       MouseForm, static_cast<jint>(m_time), m_kind, m_modifiers, point, window, topLevel));
}

jobject KeyEvent::toJavaEvent(JNIEnv* env) const
{
    CLocalFrame frame(env);
    switch (m_kind) {
    case Press:
    case Release:
        return frame.leaveWith(strokeForm(env));
    case KeyString:
        return frame.leaveWith(textForm(env));
    default:
        return nullptr;
    }
}

jobject KeyEvent::strokeForm(JNIEnv* env) const
{
    const jobject window = newWindow(env, windowClass, m_window);
    const jobject topLevel = window ? newWindow(env, topLevelClass, m_topLevel) : nullptr;
    if (!topLevel)
        return nullptr;
    return CJniClass(env, eventClass)
        .construct("(IIIIIILcom/talvern/test/gx/sys/graphical/NativeWindow;"
                   "Lcom/talvern/test/gx/sys/graphical/NativeTopLevelWindow;)V",
                   StrokeForm, static_cast<jint>(m_time), m_kind, m_keysym, m_first, m_second, window,
                   topLevel);
}

jstring KeyEvent::javaText(JNIEnv* env) const
{
    return m_wide ? newJavaString(env, m_text16) : env->NewStringUTF(m_text.c_str());
}

jobject KeyEvent::textForm(JNIEnv* env) const
{
    const jstring text = javaText(env);
    const jobject window = text ? newWindow(env, windowClass, m_window) : nullptr;
    const jobject topLevel = window ? newWindow(env, topLevelClass, m_topLevel) : nullptr;
    if (!topLevel)
        return nullptr;
    return CJniClass(env, eventClass)
        .construct("(IIILjava/lang/String;Lcom/talvern/test/gx/sys/graphical/NativeWindow;"
                   "Lcom/talvern/test/gx/sys/graphical/NativeTopLevelWindow;)V",
                   TextForm, static_cast<jint>(m_time), m_kind, text, window, topLevel);
}

jobject ScrollEvent::toJavaEvent(JNIEnv* env) const
{
    CLocalFrame frame(env);
    const jobject window = newWindow(env, windowClass, m_window);
    if (!window)
        return nullptr;
    return frame.leaveWith(CJniClass(env, eventClass)
                               .construct("(IILcom/talvern/test/gx/sys/graphical/NativeWindow;IIII)V",
                                          ScrollForm, static_cast<jint>(m_time), window, m_data[0], m_data[1],
                                          m_data[2], m_data[3]));
}
