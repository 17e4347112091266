// Exported functions of com.talvern.test.gx.ui.NativeTooltipWindow.
#include "GxAssert.h"
#include "JavaWindow.h"
#include "JniDataTypes.h"
#include "JniEntry.h"
#include "com_talvern_test_gx_ui_NativeTooltipWindow.h"

#include "InfoWindow.h"

#define TOOLTIP(Result, method, ...)                                                                         \
    extern "C" JNIEXPORT Result JNICALL Java_com_talvern_test_gx_ui_NativeTooltipWindow_##method(__VA_ARGS__)

namespace {
jlong checked(jlong handle)
{
    GX_ASSERT(handle != 0, "handle != 0");
    return handle;
}

/// Runs `operation(tooltip)`; nothing for a tooltip that has been destroyed.
template <class Operation> void withTooltip(jlong handle, Operation operation)
{
    if (const auto tooltip = InfoWindows::find(checked(handle)))
        operation(*tooltip);
}
} // namespace

TOOLTIP(jlong, create, JNIEnv* env, jclass, jint x, jint y, jstring text, jboolean flag)
{
    return jniEntry(env, __func__, [&]() -> jlong {
        const CJString wanted(env, text);
        return InfoWindows::add(std::make_unique<CInfoWindow>(x, y, wanted.ansiString(), flag != JNI_FALSE));
    });
}

TOOLTIP(jboolean, move, JNIEnv* env, jclass, jlong handle, jint x, jint y)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        withTooltip(handle, [&](CInfoWindow& tooltip) {
            tooltip.hide();
            tooltip.move(x, y);
            tooltip.show();
        });
        return JNI_TRUE;
    });
}

TOOLTIP(jboolean, setText, JNIEnv* env, jclass, jlong handle, jstring text)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        const CJString wanted(env, text);
        withTooltip(handle, [&](CInfoWindow& tooltip) { tooltip.changeText(wanted.ansiString()); });
        return JNI_TRUE;
    });
}

TOOLTIP(jobject, getBounds, JNIEnv* env, jclass, jlong handle)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        Rect bounds;
        withTooltip(handle, [&](CInfoWindow& tooltip) { bounds = tooltip.getRectangle(); });
        return newRectangle(env, trace, bounds);
    });
}

TOOLTIP(void, hide, JNIEnv* env, jclass, jlong handle)
{
    jniEntry(env, __func__, [&] { withTooltip(handle, [](CInfoWindow& tooltip) { tooltip.hide(); }); });
}

TOOLTIP(void, show, JNIEnv* env, jclass, jlong handle)
{
    jniEntry(env, __func__, [&] { withTooltip(handle, [](CInfoWindow& tooltip) { tooltip.show(); }); });
}

TOOLTIP(void, destroy, JNIEnv* env, jclass, jlong handle)
{
    jniEntry(env, __func__, [&] { InfoWindows::remove(checked(handle)); });
}
