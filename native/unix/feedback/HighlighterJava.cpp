// Exported functions of com.talvern.test.gx.sys.graphical.Highlighter, and NativeScreen.highlight.
#include "com_talvern_test_gx_sys_graphical_Highlighter.h"
#include "com_talvern_test_gx_sys_graphical_NativeScreen.h"
#include "common/jni/JniEntry.h"
#include "common/jni/jniobject.h"
#include "common/window/JavaWindow.h"

#include "unix/feedback/HighlighterUnix.h"
#include "unix/window/XErrors.h"

namespace {
constexpr const char* highlighterName = "com/talvern/test/gx/sys/graphical/Highlighter";
constinit CJavaField s_handle{"handle", "J"};

/// The members of this class write no start and end lines: an engine flashes frames all the time.
constexpr const char* untraced = nullptr;

/// Runs `operation(highlighter, lock)` if the frame that the Java object names is the current one; the
/// neutral answer if not.
template <class Operation> auto withCurrent(JNIEnv* env, jobject self, Operation operation)
{
    return jniEntry(env, untraced, [&] {
        const auto window = static_cast<unsigned long>(s_handle.getLong(env, self));
        auto lock = CHighlighter::lock();
        installXlibErrorHandler(); // a frame may have been destroyed by another program
        using Answer = decltype(operation(*CHighlighter::current(window), lock));
        CHighlighter* const current = CHighlighter::current(window);
        return current ? operation(*current, lock) : Answer();
    });
}

/// By the names of its fields: any class will do that has them.
unsigned long createFrame(const CJniJObject& box, jint red, jint green, jint blue, jint thickness,
                          jint interval, jint duration)
{
    const int x = box.getInt("x");
    const int y = box.getInt("y");
    const int width = box.getInt("width");
    const int height = box.getInt("height");
    const auto lock = CHighlighter::lock();
    return (new CHighlighter(x, y, width, height, red, green, blue, thickness, interval, duration))->window();
}
} // namespace

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_Highlighter_create, jclass, jobject rectangle,
       jint red, jint green, jint blue, jint thickness, jint interval, jint duration)
{
    return jniEntry(env, untraced, [&]() -> jobject {
        if (!rectangle)
            return nullptr;
        CJniClass javaClass(env, highlighterName);
        const CJniJObject box(env, rectangle, nullptr);
        const unsigned long window = createFrame(box, red, green, blue, thickness, interval, duration);
        return javaClass.construct("(J)V", static_cast<jlong>(window));
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_Highlighter_show, jobject self)
{
    withCurrent(env, self, [](CHighlighter& frame, CHighlighter::Lock&) { frame.show(); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_Highlighter_hide, jobject self)
{
    withCurrent(env, self, [](CHighlighter& frame, CHighlighter::Lock&) { frame.hide(); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_Highlighter_move, jobject self, jint x, jint y,
       jint width, jint height)
{
    withCurrent(env, self,
                [&](CHighlighter& frame, CHighlighter::Lock&) { frame.move(x, y, width, height); });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_sys_graphical_Highlighter_isVisible, jobject self)
{
    return withCurrent(
        env, self, [](CHighlighter& frame, CHighlighter::Lock&) -> jboolean { return frame.isVisible(); });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_Highlighter_destroy, jobject self)
{
    withCurrent(env, self, [](CHighlighter& frame, CHighlighter::Lock&) { CHighlighter::remove(&frame); });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_graphical_Highlighter_joinNativeThread, jobject self)
{
    return withCurrent(env, self, [](CHighlighter& frame, CHighlighter::Lock& lock) -> jint {
        CHighlighter::join(lock, frame);
        return 0;
    });
}

GX_JNI(void, Java_com_talvern_test_gx_sys_graphical_NativeScreen_highlight, jclass, jobject rectangle)
{
    jniEntry(env, __func__, [&] {
        if (const auto rect = rectOf(env, rectangle))
            CRootWindow::highlight(*rect);
    });
}
