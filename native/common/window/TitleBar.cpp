// Exported functions of com.talvern.test.gx.sys.graphical.NativeTopLevelWindow.
#include "com_talvern_test_gx_sys_graphical_NativeTopLevelWindow.h"
#include "common/jni/JniClass.h"
#include "common/jni/JniEntry.h"
#include "common/jni/jniobject.h"
#include "common/window/JavaWindow.h"
#include "unix/window/WindowManager.h"

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

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_isMaximized,
              windowOf(env, self).isMaximized(), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_maximize,
              windowOf(env, self).maximize(), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_restore,
              windowOf(env, self).restore(), jobject self)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_isIconified,
              windowOf(env, self).isIconified(), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_iconify,
              windowOf(env, self).iconify(), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_deiconify,
              windowOf(env, self).deiconify(), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_close,
              windowOf(env, self).close(), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_assertDisabledWindow,
              windowOf(env, self).assertDisabledWindow(), jobject self)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_moveWindow,
              windowOf(env, self).moveWindow(x, y, width, height), jobject self, jint x, jint y, jint width,
              jint height)

GX_JNI(jobjectArray, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_topLevelWindowsAtRectangle,
       jclass, jobject rectangle)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobjectArray {
        const auto rect = rectOf(env, rectangle);
        return rect ? newWindowArray(env, trace, s_windows, TopLevelWindow::topLevelWindowsAt(*rect))
                    : nullptr;
    });
}

GX_JNI(jobjectArray, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_getOwnedWindows,
       jobject self)
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
GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_getTitleBarRectangle,
              newRectangle(env, trace, Rect()), jobject)
GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_getCloseIconRectangle,
              newRectangle(env, trace, Rect()), jobject)
GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_getMinimizeIconRectangle,
              newRectangle(env, trace, Rect()), jobject)
GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_getMaximizeIconRectangle,
              newRectangle(env, trace, Rect()), jobject)
GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_getHelpIconRectangle,
              newRectangle(env, trace, Rect()), jobject)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_isPointInCloseIcon,
              JNI_FALSE, jobject, jobject)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_isPointInMinimizeIcon,
              JNI_FALSE, jobject, jobject)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_isPointInMaximizeIcon,
              JNI_FALSE, jobject, jobject)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_isPointInHelpIcon,
              JNI_FALSE, jobject, jobject)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeTopLevelWindow_isPointInSystemMenu,
              JNI_FALSE, jobject, jobject)
