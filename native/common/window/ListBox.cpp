// Exported functions of com.talvern.test.gx.sys.graphical.ListBox.
#include "ListBox.h"

#include "JavaWindow.h"
#include "JniEntry.h"
#include "LocalRef.h"
#include "com_talvern_test_gx_application_ListItems.h"
#include "com_talvern_test_gx_sys_graphical_ListBox.h"
#include "jniobject.h"

#define LIST_BOX(Result, method, ...)                                                                        \
    extern "C" JNIEXPORT Result JNICALL Java_com_talvern_test_gx_sys_graphical_ListBox_##method(__VA_ARGS__)

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

// Members whose answer is `expression`, in which `list` is the list box of `this`.
#define LIST_MEMBER(Result, method, expression)                                                              \
    LIST_BOX(Result, method, JNIEnv* env, jobject self)                                                      \
    {                                                                                                        \
        return jniEntry(env, __func__, [&] {                                                                 \
            const auto list = listOf(env, self);                                                             \
            return static_cast<Result>(expression);                                                          \
        });                                                                                                  \
    }

LIST_MEMBER(jint, getCount, list.getCount())
LIST_MEMBER(jint, getTopIndex, list.getTopIndex())
LIST_MEMBER(jint, getSelCount, list.getSelCount())
LIST_MEMBER(jint, getCurSel, list.getCurSel())

LIST_BOX(jobject, listBoxAtPoint, JNIEnv* env, jclass, jobject point)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobject {
        auto at = pointOf(env, point);
        const ListBox list(at ? &*at : nullptr);
        return list.isNullWindow() ? nullptr : newListBox(env, trace, list);
    });
}

LIST_BOX(jobject, listBoxAtRectangle, JNIEnv* env, jclass, jobject rectangle)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobject {
        auto rect = rectOf(env, rectangle);
        return rect ? newListBox(env, trace, ListBox(&*rect)) : nullptr;
    });
}

LIST_BOX(jboolean, isSelected, JNIEnv* env, jobject self, jint index)
{
    return jniEntry(env, __func__, [&]() -> jboolean { return listOf(env, self).isSelected(index); });
}

LIST_BOX(jstring, getText, JNIEnv* env, jobject self, jint index)
{
    return jniEntry(env, __func__, [&] {
        char buffer[128] = "";
        listOf(env, self).getText(index, buffer, sizeof buffer);
        buffer[sizeof buffer - 1] = '\0';
        return newCutText(env, buffer, sizeof buffer - 1);
    });
}

LIST_BOX(jobject, getRectangle, JNIEnv* env, jobject self, jint index)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) {
        Rect rect;
        listOf(env, self).getRectangle(index, &rect);
        return newRectangle(env, trace, rect);
    });
}

LIST_BOX(jint, getItemAtPoint, JNIEnv* env, jobject self, jobject point)
{
    return jniEntry(env, __func__, [&]() -> jint {
        auto at = pointOf(env, point);
        return listOf(env, self).getItemAtPoint(at ? &*at : nullptr);
    });
}

extern "C" JNIEXPORT jobjectArray JNICALL Java_com_talvern_test_gx_application_ListItems_texts(JNIEnv* env,
                                                                                               jclass,
                                                                                               jlong window)
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

extern "C" JNIEXPORT jintArray JNICALL Java_com_talvern_test_gx_application_ListItems_selection(JNIEnv* env,
                                                                                                jclass,
                                                                                                jlong window)
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
