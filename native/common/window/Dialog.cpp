// Exported functions of com.talvern.test.gx.sys.graphical.Dialog and of the dialogs derived from it.
#include "Dialog.h"

#include "JavaWindow.h"
#include "JniDataTypes.h"
#include "JniEntry.h"
#include "com_talvern_test_gx_sys_graphical_ColorDialog.h"
#include "com_talvern_test_gx_sys_graphical_Dialog.h"
#include "com_talvern_test_gx_sys_graphical_DirectoryDialog.h"
#include "com_talvern_test_gx_sys_graphical_FileDialog.h"
#include "jniobject.h"

#define DIALOG(Result, Class, method, ...)                                                                   \
    extern "C" JNIEXPORT Result JNICALL Java_com_talvern_test_gx_sys_graphical_##Class##_##method(__VA_ARGS__)

namespace {
constinit CJavaConstructor s_window{"com/talvern/test/gx/sys/graphical/NativeWindow", "(J)V",
                                    " returning NULL"};

constinit CJavaField s_handle{"handle", "J"};

template <class Kind> Kind dialogOf(JNIEnv* env, jobject self)
{
    return Kind(s_handle.getLong(env, self));
}

/// The rectangle that `read(Rect*)` fills in; null when it leaves it alone or begins left of the screen.
template <class Read> jobject rectangleOrNull(JNIEnv* env, CJniTrace& trace, Read read)
{
    Rect rect(0, -1, 0, 0);
    read(&rect);
    return rect.getLeft() < 0 ? nullptr : newRectangle(env, trace, rect);
}
} // namespace

DIALOG(jobject, Dialog, getParent, JNIEnv* env, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobject {
        const unsigned long parent = dialogOf<Dialog>(env, self).getParent();
        return parent ? s_window.make(env, trace, static_cast<jlong>(parent)) : nullptr;
    });
}

#define RECTANGLE_OF_DIALOG(Class, method)                                                                   \
    DIALOG(jobject, Class, method, JNIEnv* env, jobject self)                                                \
    {                                                                                                        \
        return jniEntry(env, __func__, [&](CJniTrace& trace) {                                               \
            const auto dialog = dialogOf<Class>(env, self);                                                  \
            return rectangleOrNull(env, trace, [&](Rect* out) { dialog.method(out); });                      \
        });                                                                                                  \
    }
RECTANGLE_OF_DIALOG(Dialog, getOKRectangle)
RECTANGLE_OF_DIALOG(Dialog, getCancelRectangle)
RECTANGLE_OF_DIALOG(FileDialog, getFileRectangle)
RECTANGLE_OF_DIALOG(DirectoryDialog, getFileRectangle)

#define SET_FILE(Class)                                                                                      \
    DIALOG(jboolean, Class, setFile, JNIEnv* env, jobject self, jstring file)                                \
    {                                                                                                        \
        return jniEntry(env, __func__, [&]() -> jboolean {                                                   \
            dialogOf<Class>(env, self).setFile(CJString(env, file));                                         \
            return JNI_TRUE;                                                                                 \
        });                                                                                                  \
    }
SET_FILE(FileDialog)
SET_FILE(DirectoryDialog)

DIALOG(void, ColorDialog, setColor, JNIEnv* env, jobject self, jint red, jint green, jint blue)
{
    jniEntry(env, __func__, [&] { dialogOf<ColorDialog>(env, self).setColor(red, green, blue); });
}
