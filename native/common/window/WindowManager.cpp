// Exported functions of com.talvern.test.gx.sys.graphical.NativeWindow and NativeScreen.
#include "WindowManager.h"

#include "JavaWindow.h"
#include "JniDataTypes.h"
#include "JniEntry.h"
#include "Toolkit.h"
#include "com_talvern_test_gx_engine_Windows.h"
#include "com_talvern_test_gx_sys_graphical_NativeScreen.h"
#include "com_talvern_test_gx_sys_graphical_NativeWindow.h"
#include "jniobject.h"

#define NATIVE_WINDOW(Result, method, ...)                                                                   \
    extern "C" JNIEXPORT Result JNICALL Java_com_talvern_test_gx_sys_graphical_NativeWindow_##method(        \
        __VA_ARGS__)

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

// Members that ask or change the window of `this`: their answer is `expression`, in which `window` is that
// window.
#define WINDOW_MEMBER(Result, method, expression)                                                            \
    NATIVE_WINDOW(Result, method, JNIEnv* env, jobject self)                                                 \
    {                                                                                                        \
        return jniEntry(env, __func__, [&] {                                                                 \
            [[maybe_unused]] const auto window = windowOf(env, self);                                        \
            return static_cast<Result>(expression);                                                          \
        });                                                                                                  \
    }

WINDOW_MEMBER(jboolean, nativeIsShowing, window.isShowing())
WINDOW_MEMBER(jboolean, nativeisWinVisible, window.isWinVisible())
WINDOW_MEMBER(jboolean, nativeIsEnabled, window.isEnabled())
WINDOW_MEMBER(jboolean, nativeIsPopup, window.isPopup())
WINDOW_MEMBER(jboolean, nativeIsMenu, window.isMenu())
WINDOW_MEMBER(jboolean, nativeIsComboListBox, window.isComboListBox())
WINDOW_MEMBER(jboolean, nativeIsFileDialog, window.isFileDialog())
WINDOW_MEMBER(jint, nativeNativeActivate, window.activate())
WINDOW_MEMBER(void, nativeSetForeground, window.setForeground())
WINDOW_MEMBER(void, nativeBringToTop, window.bringToTop())
WINDOW_MEMBER(void, nativeSetFocus, window.setFocus())
WINDOW_MEMBER(jint, nativeGetCtrlId, window.getCtrlId())
WINDOW_MEMBER(jint, nativeGetPid, ifSupported(env, [&] { return window.getPid(); }))
WINDOW_MEMBER(jint, nativeGetTid, ifSupported(env, [&] { return window.getTid(); }))
WINDOW_MEMBER(void, nativeSetStyleTopMost, ifSupported(env, [&] { window.setStyleTopMost(); }))
WINDOW_MEMBER(void, nativeClearStyleTopMost, ifSupported(env, [&] { window.clearStyleTopMost(); }))

// Members without a meaning on X11.
WINDOW_MEMBER(jlong, nativeWindowHandleFromComponent, 0)
WINDOW_MEMBER(jlong, nativeComponentFromWindowHandle, 0)
WINDOW_MEMBER(jlong, nativeAXUIElementCreateWithHIObject, 0)
WINDOW_MEMBER(jlong, nativeAXUIElementGetHIObject, 0)

NATIVE_WINDOW(jobject, nativeWindowAtPoint, JNIEnv* env, jclass, jobject point)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        auto at = pointOf(env, point);
        return windowOrNull(env, trace, CWindow(at ? &*at : nullptr), " w.getHandle == NULL");
    });
}

NATIVE_WINDOW(jobjectArray, nativeWindowsAtRectangle, JNIEnv* env, jclass, jobject rectangle)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobjectArray {
        const auto rect = rectOf(env, rectangle);
        return rect ? newWindowArray(env, trace, s_windows, CWindow::windowsAt(*rect)) : nullptr;
    });
}

NATIVE_WINDOW(jobject, nativeGetParentWindow, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        CWindow parent;
        windowOf(env, self).getParent(&parent);
        return windowOrNull(env, trace, parent, " parent.getHandle == 0");
    });
}

NATIVE_WINDOW(jobject, nativeGetOwnerWindow, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        CWindow owner;
        windowOf(env, self).getOwner(&owner);
        return windowOrNull(env, trace, owner, " owner.getHandle == 0");
    });
}

NATIVE_WINDOW(jobject, nativeGetGwWinOwner, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        const CWindow owner(static_cast<long>(windowOf(env, self).getGwOwner()));
        return windowOrNull(env, trace, owner, " owner.getHandle == 0");
    });
}

NATIVE_WINDOW(jobject, nativeGetMenuBar, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        return menuOrNull(env, trace, windowOf(env, self).getMenuBar());
    });
}

NATIVE_WINDOW(jobject, nativeGetPopupMenu, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        return menuOrNull(env, trace, windowOf(env, self).getHandle());
    });
}

NATIVE_WINDOW(jobjectArray, nativeGetPopupWindows, JNIEnv* env, jclass)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        return newWindowArray(env, trace, s_windows, CWindow::getPopupWindows());
    });
}

NATIVE_WINDOW(jobject, nativeGetTopContextMenu, JNIEnv* env, jclass)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        const CWindow menu(static_cast<long>(CWindow::getTopContextMenu()));
        return windowOrNull(env, trace, menu, " w.getHandle == NULL");
    });
}

NATIVE_WINDOW(jobject, nativeGetMenuParentWindow, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        const CWindow owner(static_cast<long>(windowOf(env, self).getMenuParentWindow()));
        return windowOrNull(env, trace, owner, " parent.getHandle == 0");
    });
}

NATIVE_WINDOW(jobjectArray, nativeEnumChildWindows, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        return newWindowArray(env, trace, s_windows, windowOf(env, self).childWindows());
    });
}

NATIVE_WINDOW(jobject, nativeGetForeground, JNIEnv* env, jclass)
{
    return jniEntry(env, __func__,
                    [&](CJniTrace& trace) { return newWindow(env, trace, CWindow::getForeground()); });
}

NATIVE_WINDOW(jobject, nativeGetFocus, JNIEnv* env, jclass)
{
    return jniEntry(env, __func__,
                    [&](CJniTrace& trace) { return newWindow(env, trace, CWindow::getFocus()); });
}

NATIVE_WINDOW(jobject, nativeGetRootNativeWindow, JNIEnv* env, jclass)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) { return newWindow(env, trace, CRootWindow()); });
}

NATIVE_WINDOW(jobject, nativeGetMainWindowForProcessId, JNIEnv* env, jclass, jlong processId)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        const CWindow window(static_cast<long>(CWindow::getMainWindowForProcessId(processId)));
        return windowOrNull(env, trace, window, " w.getHandle == NULL");
    });
}

NATIVE_WINDOW(jstring, nativeGetWindowCaption, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&] {
        const CWindow window = windowOf(env, self);
        return newText(env, [&](char* buffer, int size) { window.getWindowCaption(buffer, size); });
    });
}

extern "C" JNIEXPORT jstring JNICALL Java_com_talvern_test_gx_engine_Windows_nameOf(JNIEnv* env, jclass,
                                                                                    jlong window)
{
    return jniEntry(env, __func__,
                    [&]() -> jstring { return CJString(env, CWindow(window).name().c_str()); });
}

NATIVE_WINDOW(jstring, nativeGetWindowClassname, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&] {
        const CWindow window = windowOf(env, self);
        return newText(env, [&](char* buffer, int size) { window.getWindowClassname(buffer, size); });
    });
}

NATIVE_WINDOW(jobject, nativeGetRectangle, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        Rect rect;
        windowOf(env, self).getRectangle(&rect);
        return newRectangle(env, trace, rect);
    });
}

NATIVE_WINDOW(jint, nativeGetScrollPosition, JNIEnv* env, jobject self, jint bar)
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

NATIVE_WINDOW(jint, nativeGetScrollMin, JNIEnv* env, jobject self, jint bar)
{
    return jniEntry(env, __func__, [&]() -> jint { return scrollRange(windowOf(env, self), bar).low; });
}

NATIVE_WINDOW(jint, nativeGetScrollMax, JNIEnv* env, jobject self, jint bar)
{
    return jniEntry(env, __func__, [&]() -> jint { return scrollRange(windowOf(env, self), bar).high; });
}

NATIVE_WINDOW(void, nativeCloseAllPopupWindows, JNIEnv* env, jclass)
{
    jniEntry(env, __func__, [] { CWindow::closeAllPopupWindows(); });
}

NATIVE_WINDOW(void, nativeCleanupResource, JNIEnv* env, jclass)
{
    jniEntry(env, __func__, [] {});
}

NATIVE_WINDOW(jlong, nativeXtWindow, JNIEnv* env, jclass, jlong widget)
{
    return jniEntry(env, __func__, [&] {
        return static_cast<jlong>(CToolkit::xtWindow(static_cast<unsigned long>(widget)));
    });
}

NATIVE_WINDOW(jlong, nativeGTK_1WIDGET_1WINDOW, JNIEnv* env, jclass, jlong widget)
{
    return jniEntry(env, __func__, [&] {
        return static_cast<jlong>(CToolkit::gtkWidgetWindow(static_cast<unsigned long>(widget)));
    });
}

NATIVE_WINDOW(jlong, nativeGDK_1WINDOW_1XID, JNIEnv* env, jclass, jlong window)
{
    return jniEntry(env, __func__, [&] {
        return static_cast<jlong>(CToolkit::gdkWindowXid(static_cast<unsigned long>(window)));
    });
}

NATIVE_WINDOW(jboolean, nativeIsGTK, JNIEnv* env, jclass)
{
    return jniEntry(env, __func__, []() -> jboolean { return CToolkit::isGTK(); });
}

extern "C" JNIEXPORT jint JNICALL
Java_com_talvern_test_gx_sys_graphical_NativeScreen_getPixelsFromPoints(JNIEnv* env, jclass, jint points)
{
    return jniEntry(env, __func__, [&] { return points; });
}
