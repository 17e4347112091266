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

/// An event whose constructor takes the two windows behind the other arguments; null when Java cannot make it.
template <class... Arguments>
jobject newEvent(JNIEnv* env, const char* signature, const CWindow& window, const CWindow& topLevel,
                 Arguments... arguments)
{
    const jobject javaWindow = newWindow(env, windowClass, window);
    const jobject javaTopLevel = javaWindow ? newWindow(env, topLevelClass, topLevel) : nullptr;
    return javaTopLevel
               ? CJniClass(env, eventClass).construct(signature, arguments..., javaWindow, javaTopLevel)
               : nullptr;
}
} // namespace

jobject MouseEvent::toJavaEvent(JNIEnv* env) const
{
    CLocalFrame frame(env);
    const jobject point = newPoint(env, m_start.m_point.value_or(Point()));
    if (!point)
        return nullptr;
    return frame.leaveWith(newEvent(env,
                                    "(IIIILjava/awt/Point;Lcom/talvern/test/gx/sys/graphical/NativeWindow;"
                                    "Lcom/talvern/test/gx/sys/graphical/NativeTopLevelWindow;)V",
                                    m_start.m_window, m_start.m_topLevel, MouseForm,
                                    static_cast<jint>(m_time), m_kind, m_modifiers, point));
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
    return newEvent(env,
                    "(IIIIIILcom/talvern/test/gx/sys/graphical/NativeWindow;"
                    "Lcom/talvern/test/gx/sys/graphical/NativeTopLevelWindow;)V",
                    m_window, m_topLevel, StrokeForm, static_cast<jint>(m_time), m_kind, m_keysym, m_first,
                    m_second);
}

jstring KeyEvent::javaText(JNIEnv* env) const
{
    return m_wide ? newJavaString(env, m_text16) : env->NewStringUTF(m_text.c_str());
}

jobject KeyEvent::textForm(JNIEnv* env) const
{
    const jstring text = javaText(env);
    if (!text)
        return nullptr;
    return newEvent(env,
                    "(IIILjava/lang/String;Lcom/talvern/test/gx/sys/graphical/NativeWindow;"
                    "Lcom/talvern/test/gx/sys/graphical/NativeTopLevelWindow;)V",
                    m_window, m_topLevel, TextForm, static_cast<jint>(m_time), m_kind, text);
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
