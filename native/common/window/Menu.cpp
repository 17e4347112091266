// Exported functions of com.talvern.test.gx.sys.graphical.Menu.
#include "unix/window/Menu.h"

#include "com_talvern_test_gx_application_MenuItems.h"
#include "com_talvern_test_gx_sys_graphical_Menu.h"
#include "common/jni/JniClass.h"
#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/jni/LocalRef.h"
#include "common/jni/jniobject.h"
#include "common/text/CodeSet.h"
#include "common/window/JavaWindow.h"

#include <string>
#include <vector>

namespace {
constinit CJavaField s_handle{"handle", "J"};
constinit CJavaField s_menuHandle{"menuHandle", "J"};

GxMenu menuOf(JNIEnv* env, jobject self)
{
    return {s_handle.getLong(env, self), s_menuHandle.getLong(env, self)};
}

/// A Java string of UTF-8 text. A character that the end of a buffer cut is left out.
jstring newText(JNIEnv* env, const char* text)
{
    std::u16string units;
    toUnits("UTF-8", text, units);
    return newJavaString(env, units);
}
} // namespace

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_sys_graphical_Menu_getItemCount,
              menuOf(env, self).getItemCount(), jobject self)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_Menu_isSystemMenu,
              menuOf(env, self).isSystemMenu(), jobject self)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_Menu_isHTMLMenu,
              menuOf(env, self).isHTMLMenu(), jobject self)

GX_JNI(jstring, Java_com_talvern_test_gx_sys_graphical_Menu_getItemText, jobject self, jint index)
{
    return jniEntry(env, __func__, [&]() -> jstring {
        char buffer[127] = "";
        const int length = menuOf(env, self).getItemText(index, buffer, sizeof buffer);
        return length > 0 ? newText(env, buffer) : nullptr;
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_Menu_getItemScreenRectangle, jobject self, jint index)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobject {
        Rect rect(-1, -1, -1, -1);
        menuOf(env, self).getItemScreenRectangle(index, &rect);
        return rect.getTop() == -1 ? nullptr : newRectangle(env, trace, rect);
    });
}

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_Menu_getScreenRectangle, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobject {
        const GxMenu menu = menuOf(env, self);
        if (menu.isNullMenu())
            return nullptr;
        Rect rect;
        menu.getScreenRectangle(&rect);
        return newRectangle(env, trace, rect);
    });
}

GX_JNI(jint, Java_com_talvern_test_gx_sys_graphical_Menu_getItemAtPoint, jobject self, jobject point)
{
    return jniEntry(env, __func__, [&]() -> jint {
        const auto at = pointOf(env, point);
        return at ? menuOf(env, self).getItemAtScreenPoint(*at) : -1;
    });
}

// The windows narrow the search on platforms where several may belong to an item; X11 has no use for them.
GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_Menu_getItemPopupMenu, jobject self, jint index,
       jobjectArray)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobject {
        trace.note(" returning ret");
        unsigned long submenu = 0, submenuHandle = 0;
        menuOf(env, self).getItemPopupMenu(index, &submenu, &submenuHandle);
        if (!submenu)
            return nullptr;
        const auto type = localRef(env, env->GetObjectClass(self));
        return CJniClass(env, type.get())
            .construct("(JJ)V", static_cast<jlong>(submenu), static_cast<jlong>(submenuHandle));
    });
}

GX_JNI(jobjectArray, Java_com_talvern_test_gx_application_MenuItems_texts, jclass, jlong menu)
{
    return jniEntry(env, __func__, [&]() -> jobjectArray {
        const std::vector<std::string> texts = GxMenu(menu, 0).getWholeItemTexts();
        const auto string = localRef(env, env->FindClass("java/lang/String"));
        const jobjectArray all = env->NewObjectArray(static_cast<jsize>(texts.size()), string.get(), nullptr);
        for (jsize index = 0; all && index < static_cast<jsize>(texts.size()); ++index)
            if (const std::string& text = texts[static_cast<size_t>(index)]; !text.empty()) {
                const auto made = localRef(env, newText(env, text.c_str()));
                env->SetObjectArrayElement(all, index, made.get());
            }
        return all;
    });
}

namespace {
void append(std::vector<jlong>& numbers, jlong state, const Rect& box, jlong submenu)
{
    numbers.insert(numbers.end(),
                   {state, box.getLeft(), box.getTop(), box.getWidth(), box.getHeight(), submenu});
}

jlong stateOf(bool shown, bool enabled, const std::optional<bool>& checked)
{
    return (shown ? com_talvern_test_gx_application_MenuItems_SHOWN : 0) |
           (enabled ? com_talvern_test_gx_application_MenuItems_ENABLED : 0) |
           (checked ? com_talvern_test_gx_application_MenuItems_CHECKABLE : 0) |
           (checked.value_or(false) ? com_talvern_test_gx_application_MenuItems_CHECKED : 0);
}
} // namespace

GX_JNI(jlongArray, Java_com_talvern_test_gx_application_MenuItems_look, jclass, jlong menu)
{
    return jniEntry(env, __func__, [&]() -> jlongArray {
        const GxMenu::View view = GxMenu(menu, 0).getView();
        std::vector<jlong> numbers;
        append(numbers, stateOf(view.shown, true, std::nullopt), view.box, static_cast<jlong>(view.id));
        for (const GxMenu::ItemView& item : view.items)
            append(numbers, stateOf(item.shown, item.enabled, item.checked), item.seenPart,
                   static_cast<jlong>(item.submenu));
        const auto count = static_cast<jsize>(numbers.size());
        const jlongArray all = env->NewLongArray(count);
        if (all)
            env->SetLongArrayRegion(all, 0, count, numbers.data());
        return all;
    });
}

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_application_MenuItems_msUntilClickIsTaken,
              GxMenu(menu, 0).msUntilClickIsTaken(), jclass, jlong menu)

GX_JNI_ANSWER(jint, Java_com_talvern_test_gx_application_MenuItems_markEvents, GxMenu::markEvents(), jclass)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_application_MenuItems_hasSeenTo, GxMenu::hasSeenTo(mark),
              jclass, jint mark)
