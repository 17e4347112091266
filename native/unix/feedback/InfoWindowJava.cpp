// Exported functions of com.talvern.test.gx.ui.NativeTooltipWindow.
#include "com_talvern_test_gx_ui_NativeTooltipWindow.h"
#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/trace/GxAssert.h"
#include "common/window/JavaWindow.h"

#include "unix/feedback/InfoWindow.h"

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

GX_JNI(jlong, Java_com_talvern_test_gx_ui_NativeTooltipWindow_create, jclass, jint x, jint y, jstring text,
       jboolean flag)
{
    return jniEntry(env, __func__, [&]() -> jlong {
        const CJString wanted(env, text);
        return InfoWindows::add(std::make_unique<CInfoWindow>(x, y, wanted.ansiString(), flag != JNI_FALSE));
    });
}

GX_JNI(jboolean, Java_com_talvern_test_gx_ui_NativeTooltipWindow_move, jclass, jlong handle, jint x, jint y)
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

GX_JNI(jboolean, Java_com_talvern_test_gx_ui_NativeTooltipWindow_setText, jclass, jlong handle, jstring text)
{
    return jniEntry(env, __func__, [&]() -> jboolean {
        const CJString wanted(env, text);
        withTooltip(handle, [&](CInfoWindow& tooltip) { tooltip.changeText(wanted.ansiString()); });
        return JNI_TRUE;
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_ui_NativeTooltipWindow_getBounds, jclass, jlong handle)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        Rect bounds;
        withTooltip(handle, [&](CInfoWindow& tooltip) { bounds = tooltip.getRectangle(); });
        return newRectangle(env, trace, bounds);
    });
}

GX_JNI(void, Java_com_talvern_test_gx_ui_NativeTooltipWindow_hide, jclass, jlong handle)
{
    jniEntry(env, __func__, [&] { withTooltip(handle, [](CInfoWindow& tooltip) { tooltip.hide(); }); });
}

GX_JNI(void, Java_com_talvern_test_gx_ui_NativeTooltipWindow_show, jclass, jlong handle)
{
    jniEntry(env, __func__, [&] { withTooltip(handle, [](CInfoWindow& tooltip) { tooltip.show(); }); });
}

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_ui_NativeTooltipWindow_destroy,
              InfoWindows::remove(checked(handle)), jclass, jlong handle)
