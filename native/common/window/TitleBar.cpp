// Exported functions of com.talvern.test.gx.sys.graphical.NativeTopLevelWindow.
#include "JavaWindow.h"
#include "JniClass.h"
#include "JniEntry.h"
#include "WindowManager.h"
#include "com_talvern_test_gx_sys_graphical_NativeTopLevelWindow.h"
#include "jniobject.h"

#define TOP_LEVEL_WINDOW(Result, method, ...)                                                                \
    extern "C" JNIEXPORT Result JNICALL                                                                      \
        Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_##method(__VA_ARGS__)

namespace {
// Not the field of NativeWindow: the class may as well declare one of its own.
constinit CJavaField s_handle{"handle", "J"};
constinit CJavaConstructor s_windows{"com/talvern/test/gx/sys/graphical/NativeTopLevelWindow", "(J)V",
                                     " returning NULL"};

TopLevelWindow windowOf(JNIEnv* env, jobject self)
{
    return TopLevelWindow(s_handle.getLong(env, self));
}
} // namespace

// Members whose answer is `expression`, in which `window` is the window of `this`.
#define WINDOW_MEMBER(Result, method, expression)                                                            \
    TOP_LEVEL_WINDOW(Result, method, JNIEnv* env, jobject self)                                              \
    {                                                                                                        \
        return jniEntry(env, __func__, [&] {                                                                 \
            const auto window = windowOf(env, self);                                                         \
            return static_cast<Result>(expression);                                                          \
        });                                                                                                  \
    }

WINDOW_MEMBER(jboolean, isMaximized, window.isMaximized())
WINDOW_MEMBER(void, maximize, window.maximize())
WINDOW_MEMBER(void, restore, window.restore())
WINDOW_MEMBER(jboolean, isIconified, window.isIconified())
WINDOW_MEMBER(void, iconify, window.iconify())
WINDOW_MEMBER(void, deiconify, window.deiconify())
WINDOW_MEMBER(void, close, window.close())
WINDOW_MEMBER(void, assertDisabledWindow, window.assertDisabledWindow())

TOP_LEVEL_WINDOW(jboolean, moveWindow, JNIEnv* env, jobject self, jint x, jint y, jint width, jint height)
{
    return jniEntry(env, __func__,
                    [&]() -> jboolean { return windowOf(env, self).moveWindow(x, y, width, height); });
}

TOP_LEVEL_WINDOW(jobjectArray, topLevelWindowsAtRectangle, JNIEnv* env, jclass, jobject rectangle)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobjectArray {
        const auto rect = rectOf(env, rectangle);
        return rect ? newWindowArray(env, trace, s_windows, TopLevelWindow::topLevelWindowsAt(*rect))
                    : nullptr;
    });
}

TOP_LEVEL_WINDOW(jobjectArray, getOwnedWindows, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobjectArray {
        const auto type = localRef(env, env->GetObjectClass(self));
        const jmethodID constructor = CJniClass(env, type.get()).methodId("<init>", "(J)V");
        if (constructor)
            return newWindowArray(env, type.get(), constructor, TopLevelWindow::ownedWindows());
        trace.note(" mid == NULL");
        return nullptr;
    });
}

// Where a window manager draws its title bar and icons is its own business: X11 does not tell.
#define NO_RECTANGLE(method)                                                                                 \
    TOP_LEVEL_WINDOW(jobject, method, JNIEnv* env, jobject)                                                  \
    {                                                                                                        \
        return jniEntry(env, __func__, [&](CJniTrace& trace) { return newRectangle(env, trace, Rect()); });  \
    }
NO_RECTANGLE(getTitleBarRectangle)
NO_RECTANGLE(getCloseIconRectangle)
NO_RECTANGLE(getMinimizeIconRectangle)
NO_RECTANGLE(getMaximizeIconRectangle)
NO_RECTANGLE(getHelpIconRectangle)

#define POINT_IN_NO_ICON(method)                                                                             \
    TOP_LEVEL_WINDOW(jboolean, method, JNIEnv* env, jobject, jobject)                                        \
    {                                                                                                        \
        return jniEntry(env, __func__, []() -> jboolean { return JNI_FALSE; });                              \
    }
POINT_IN_NO_ICON(isPointInCloseIcon)
POINT_IN_NO_ICON(isPointInMinimizeIcon)
POINT_IN_NO_ICON(isPointInMaximizeIcon)
POINT_IN_NO_ICON(isPointInHelpIcon)
POINT_IN_NO_ICON(isPointInSystemMenu)
