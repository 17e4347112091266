// Exported functions of com.talvern.test.gx.sys.graphical.NativeWindow and NativeScreen, and of engine.Windows.
#include "unix/window/WindowManager.h"

#include "com_talvern_test_gx_engine_Windows.h"
#include "com_talvern_test_gx_sys_graphical_NativeScreen.h"
#include "com_talvern_test_gx_sys_graphical_Captions.h"
#include "com_talvern_test_gx_sys_graphical_NativeWindow.h"
#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/jni/jniobject.h"
#include "common/window/JavaWindow.h"
#include "unix/window/Toolkit.h"
#include "unix/window/gtkfuncs.h"

namespace {
constinit CJavaField s_handle{"handle", "J"};
constinit CJavaConstructor s_window{"com/talvern/test/gx/sys/graphical/NativeWindow", "(J)V",
                                    " wndClass == NULL"};
constinit CJavaConstructor s_menu{"com/talvern/test/gx/sys/graphical/Menu", "(JJ)V", " returning NULL"};
constinit CJavaConstructor s_windows{"com/talvern/test/gx/sys/graphical/NativeWindow", "(J)V",
                                     " returning NULL"};

CWindow windowOf(JNIEnv* env, jobject self)
{
    return CWindow(s_handle.getLong(env, self));
}

jobject newWindow(JNIEnv* env, CJniTrace& trace, const CWindow& window)
{
    return s_window.make(env, trace, static_cast<jlong>(window.getHandle()));
}

/// @param noWindowNote  for the trace when the answer is null because there is no window
jobject windowOrNull(JNIEnv* env, CJniTrace& trace, const CWindow& window, const char* noWindowNote)
{
    if (!window.isNullWindow())
        return newWindow(env, trace, window);
    trace.note(noWindowNote);
    return nullptr;
}

/// @param menu  window of a menu bar or pane; 0 for none
jobject menuOrNull(JNIEnv* env, CJniTrace& trace, unsigned long menu)
{
    if (menu)
        return s_menu.make(env, trace, static_cast<jlong>(menu), jlong{0});
    trace.note(" returning NULL");
    return nullptr;
}

/// Runs an operation that X11 may not support and raises the Java exception when it does not.
template <class Operation> auto ifSupported(JNIEnv* env, Operation operation)
{
    struct CRaise {
        JNIEnv* env;
        ~CRaise()
        {
            if (g_window_status == 1)
                CJniJObject::throwException(env, "com/talvern/test/gx/NotSupportedOnUnixException", nullptr);
        }
    };
    g_window_status = 0;
    const CRaise raise{env};
    return operation();
}

/// A Java string of what `read(buffer, size)` writes.
template <class Read> jstring newText(JNIEnv* env, Read read)
{
    char buffer[128] = "";
    constexpr int size = sizeof buffer - 1;
    read(buffer, size);
    buffer[size] = '\0';
    return newCutText(env, buffer, size - 1);
}
} // namespace

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeIsShowing,
              windowOf(env, self).isShowing(), jobject self)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeisWinVisible,
              windowOf(env, self).isWinVisible(), jobject self)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeIsEnabled,
              windowOf(env, self).isEnabled(), jobject self)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeIsPopup,
              windowOf(env, self).isPopup(), jobject self)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeIsMenu,
              windowOf(env, self).isMenu(), jobject self)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeIsComboListBox,
              windowOf(env, self).isComboListBox(), jobject self)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeIsFileDialog,
              windowOf(env, self).isFileDialog(), jobject self)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeNativeActivate,
              windowOf(env, self).activate(), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeSetForeground,
              windowOf(env, self).setForeground(), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeBringToTop,
              windowOf(env, self).bringToTop(), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeSetFocus,
              windowOf(env, self).setFocus(), jobject self)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetCtrlId,
              windowOf(env, self).getCtrlId(), jobject self)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetPid,
              ifSupported(env, [&] { return windowOf(env, self).getPid(); }), jobject self)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetTid,
              ifSupported(env, [&] { return windowOf(env, self).getTid(); }), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeSetStyleTopMost,
              ifSupported(env, [&] { windowOf(env, self).setStyleTopMost(); }), jobject self)
GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeClearStyleTopMost,
              ifSupported(env, [&] { windowOf(env, self).clearStyleTopMost(); }), jobject self)

// Members without a meaning on X11.
GX_JNI_ANSWER(jlong, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeWindowHandleFromComponent, 0,
              jobject)
GX_JNI_ANSWER(jlong, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeComponentFromWindowHandle, 0,
              jobject)
GX_JNI_ANSWER(jlong, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeAXUIElementCreateWithHIObject,
              0, jobject)
GX_JNI_ANSWER(jlong, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeAXUIElementGetHIObject, 0,
              jobject)

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeWindowAtPoint, jclass,
       jobject point)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        auto at = pointOf(env, point);
        return windowOrNull(env, trace, CWindow(at ? &*at : nullptr), " w.getHandle == NULL");
    });
}

GX_JNI(jobjectArray, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeWindowsAtRectangle, jclass,
       jobject rectangle)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobjectArray {
        const auto rect = rectOf(env, rectangle);
        return rect ? newWindowArray(env, trace, s_windows, CWindow::windowsAt(*rect)) : nullptr;
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetParentWindow, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        CWindow parent;
        windowOf(env, self).getParent(&parent);
        return windowOrNull(env, trace, parent, " parent.getHandle == 0");
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetOwnerWindow, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        CWindow owner;
        windowOf(env, self).getOwner(&owner);
        return windowOrNull(env, trace, owner, " owner.getHandle == 0");
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetGwWinOwner, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        const CWindow owner(static_cast<long>(windowOf(env, self).getGwOwner()));
        return windowOrNull(env, trace, owner, " owner.getHandle == 0");
    });
}

GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetMenuBar,
              menuOrNull(env, trace, windowOf(env, self).getMenuBar()), jobject self)

GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetPopupMenu,
              menuOrNull(env, trace, windowOf(env, self).getHandle()), jobject self)

GX_JNI_ANSWER(jobjectArray, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetPopupWindows,
              newWindowArray(env, trace, s_windows, CWindow::getPopupWindows()), jclass)

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetTopContextMenu, jclass)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        const CWindow menu(static_cast<long>(CWindow::getTopContextMenu()));
        return windowOrNull(env, trace, menu, " w.getHandle == NULL");
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetMenuParentWindow, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        const CWindow owner(static_cast<long>(windowOf(env, self).getMenuParentWindow()));
        return windowOrNull(env, trace, owner, " parent.getHandle == 0");
    });
}

GX_JNI_ANSWER(jlong, Java_com_talvern_test_gx_engine_Windows_frameOf,
              static_cast<jlong>(CWindow(window).getTopLevelHandle()), jclass, jlong window)

GX_JNI_ANSWER(jobjectArray, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeEnumChildWindows,
              newWindowArray(env, trace, s_windows, windowOf(env, self).childWindows()), jobject self)

GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetForeground,
              newWindow(env, trace, CWindow::getForeground()), jclass)

GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetFocus,
              newWindow(env, trace, CWindow::getFocus()), jclass)

GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetRootNativeWindow,
              newWindow(env, trace, CRootWindow()), jclass)

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetMainWindowForProcessId, jclass,
       jlong processId)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        const CWindow window(static_cast<long>(CWindow::getMainWindowForProcessId(processId)));
        return windowOrNull(env, trace, window, " w.getHandle == NULL");
    });
}

GX_JNI(jstring, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetWindowCaption, jobject self)
{
    return jniEntry(env, __func__, [&] {
        const CWindow window = windowOf(env, self);
        return newText(env, [&](char* buffer, int size) { window.getWindowCaption(buffer, size); });
    });
}

GX_JNI_ANSWER(jstring, Java_com_talvern_test_gx_sys_graphical_Captions_nameOf,
              CJString(env, CWindow(window).name().c_str()), jclass, jlong window)

GX_JNI(jstring, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetWindowClassname, jobject self)
{
    return jniEntry(env, __func__, [&] {
        const CWindow window = windowOf(env, self);
        return newText(env, [&](char* buffer, int size) { window.getWindowClassname(buffer, size); });
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetRectangle, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        Rect rect;
        windowOf(env, self).getRectangle(&rect);
        return newRectangle(env, trace, rect);
    });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetScrollPosition, jobject self,
       jint bar)
{
    return jniEntry(env, __func__, [&]() -> jint {
        const CWindow window = windowOf(env, self);
        return bar == 1 ? window.getHScrollPosition() : bar == 2 ? window.getVScrollPosition() : 0;
    });
}

namespace {
struct CScrollRange {
    int low = -1; // what is answered as long as no range is known
    int high = -1;
};

CScrollRange scrollRange(const CWindow& window, jint bar)
{
    CScrollRange range;
    if (bar == 1)
        window.getHScrollRange(&range.low, &range.high);
    else
        window.getVScrollRange(&range.low, &range.high);
    return range;
}
} // namespace

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetScrollMin,
              scrollRange(windowOf(env, self), bar).low, jobject self, jint bar)

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGetScrollMax,
              scrollRange(windowOf(env, self), bar).high, jobject self, jint bar)

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeCloseAllPopupWindows,
              CWindow::closeAllPopupWindows(), jclass)

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeCleanupResource, jclass)
{
    jniEntry(env, __func__, [] {});
}

GX_JNI_ANSWER(jlong, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeXtWindow,
              CToolkit::xtWindow(static_cast<unsigned long>(widget)), jclass, jlong widget)

GX_JNI_ANSWER(jlong, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGTK_1WIDGET_1WINDOW,
              CToolkit::gtkWidgetWindow(static_cast<unsigned long>(widget)), jclass, jlong widget)

GX_JNI_ANSWER(jlong, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeGDK_1WINDOW_1XID,
              CToolkit::gdkWindowXid(static_cast<unsigned long>(window)), jclass, jlong window)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_NativeWindow_nativeIsGTK, isAnyGTK(), jclass)

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_NativeScreen_getPixelsFromPoints, points, jclass,
              jint points)
