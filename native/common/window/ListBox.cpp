// Exported functions of com.talvern.test.gx.sys.graphical.ListBox.
#include "unix/window/ListBox.h"

#include "com_talvern_test_gx_application_ListItems.h"
#include "com_talvern_test_gx_sys_graphical_ListBox.h"
#include "common/jni/JniEntry.h"
#include "common/jni/LocalRef.h"
#include "common/jni/jniobject.h"
#include "common/window/JavaWindow.h"

namespace {
constinit CJavaField s_handle{"handle", "J"};
constinit CJavaConstructor s_listBox{"com/talvern/test/gx/sys/graphical/ListBox", "(J)V", " returning NULL"};

ListBox listOf(JNIEnv* env, jobject self)
{
    return ListBox(s_handle.getLong(env, self));
}

jobject newListBox(JNIEnv* env, CJniTrace& trace, const ListBox& list)
{
    return s_listBox.make(env, trace, static_cast<jlong>(list.getHandle()));
}
} // namespace

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_ListBox_getCount, listOf(env, self).getCount(),
              jobject self)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_ListBox_getTopIndex,
              listOf(env, self).getTopIndex(), jobject self)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_ListBox_getSelCount,
              listOf(env, self).getSelCount(), jobject self)
GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_ListBox_getCurSel, listOf(env, self).getCurSel(),
              jobject self)

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_ListBox_listBoxAtPoint, jclass, jobject point)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobject {
        auto at = pointOf(env, point);
        const ListBox list(at ? &*at : nullptr);
        return list.isNullWindow() ? nullptr : newListBox(env, trace, list);
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_ListBox_listBoxAtRectangle, jclass, jobject rectangle)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobject {
        auto rect = rectOf(env, rectangle);
        return rect ? newListBox(env, trace, ListBox(&*rect)) : nullptr;
    });
}

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_ListBox_isSelected,
              listOf(env, self).isSelected(index), jobject self, jint index)

GX_JNI(jstring, Java_com_talvern_test_gx_sys_graphical_ListBox_getText, jobject self, jint index)
{
    return jniEntry(env, __func__, [&] {
        char buffer[128] = "";
        listOf(env, self).getText(index, buffer, sizeof buffer);
        buffer[sizeof buffer - 1] = '\0';
        return newCutText(env, buffer, sizeof buffer - 1);
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_ListBox_getRectangle, jobject self, jint index)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        Rect rect;
        listOf(env, self).getRectangle(index, &rect);
        return newRectangle(env, trace, rect);
    });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_graphical_ListBox_getItemAtPoint, jobject self, jobject point)
{
    return jniEntry(env, __func__, [&]() -> jint {
        auto at = pointOf(env, point);
        return listOf(env, self).getItemAtPoint(at ? &*at : nullptr);
    });
}

GX_JNI(jobjectArray, Java_com_talvern_test_gx_application_ListItems_texts, jclass, jlong window)
{
    return jniEntry(env, __func__, [&]() -> jobjectArray {
        const std::vector<std::string> texts = ListBox(window).getWholeTexts();
        const auto string = localRef(env, env->FindClass("java/lang/String"));
        const jobjectArray all = env->NewObjectArray(static_cast<jsize>(texts.size()), string.get(), nullptr);
        for (jsize index = 0; all && index < static_cast<jsize>(texts.size()); ++index) {
            const std::string& text = texts[static_cast<size_t>(index)];
            const auto made = localRef(env, newCutText(env, text, text.size() + 1));
            env->SetObjectArrayElement(all, index, made.get());
        }
        return all;
    });
}

GX_JNI(jintArray, Java_com_talvern_test_gx_application_ListItems_selection, jclass, jlong window)
{
    return jniEntry(env, __func__, [&]() -> jintArray {
        const std::vector<int> indexes = ListBox(window).getSelection();
        const auto count = static_cast<jsize>(indexes.size());
        const jintArray all = env->NewIntArray(count);
        if (all)
            env->SetIntArrayRegion(all, 0, count, indexes.data());
        return all;
    });
}
