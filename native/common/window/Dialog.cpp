// Exported functions of com.talvern.test.gx.sys.graphical.Dialog and of the dialogs derived from it.
#include "unix/window/Dialog.h"

#include "com_talvern_test_gx_sys_graphical_ColorDialog.h"
#include "com_talvern_test_gx_sys_graphical_Dialog.h"
#include "com_talvern_test_gx_sys_graphical_DirectoryDialog.h"
#include "com_talvern_test_gx_sys_graphical_FileDialog.h"
#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/jni/jniobject.h"
#include "common/window/JavaWindow.h"

namespace {
constinit CJavaConstructor s_window{"com/talvern/test/gx/sys/graphical/NativeWindow", "(J)V",
                                    " returning NULL"};

constinit CJavaField s_handle{"handle", "J"};

template <class Kind> Kind dialogOf(JNIEnv* env, jobject self)
{
    return Kind(s_handle.getLong(env, self));
}

/// The rectangle that `read(Rect*)` of a dialog fills in; null when it leaves it alone or begins left of the
/// screen.
template <class Kind>
jobject rectangleOrNull(JNIEnv* env, CJniTrace& trace, jobject self, void (Kind::*read)(Rect*) const)
{
    Rect rect(0, -1, 0, 0);
    (dialogOf<Kind>(env, self).*read)(&rect);
    return rect.getLeft() < 0 ? nullptr : newRectangle(env, trace, rect);
}

template <class Kind> jboolean setFile(JNIEnv* env, jobject self, jstring file)
{
    dialogOf<Kind>(env, self).setFile(CJString(env, file));
    return JNI_TRUE;
}
} // namespace

GX_JNI(jobject, Java_com_talvern_test_gx_sys_graphical_Dialog_getParent, jobject self)
{
    return jniEntry(env, __func__, [&](CJniTrace& trace) -> jobject {
        const unsigned long parent = dialogOf<Dialog>(env, self).getParent();
        return parent ? s_window.make(env, trace, static_cast<jlong>(parent)) : nullptr;
    });
}

GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_Dialog_getOKRectangle,
              rectangleOrNull(env, trace, self, &Dialog::getOKRectangle), jobject self)
GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_Dialog_getCancelRectangle,
              rectangleOrNull(env, trace, self, &Dialog::getCancelRectangle), jobject self)
GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_FileDialog_getFileRectangle,
              rectangleOrNull(env, trace, self, &FileDialog::getFileRectangle), jobject self)
GX_JNI_ANSWER(jobject, Java_com_talvern_test_gx_sys_graphical_DirectoryDialog_getFileRectangle,
              rectangleOrNull(env, trace, self, &DirectoryDialog::getFileRectangle), jobject self)

GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_FileDialog_setFile,
              setFile<FileDialog>(env, self, file), jobject self, jstring file)
GX_JNI_ANSWER(jboolean, Java_com_talvern_test_gx_sys_graphical_DirectoryDialog_setFile,
              setFile<DirectoryDialog>(env, self, file), jobject self, jstring file)

GX_JNI_ANSWER(void, Java_com_talvern_test_gx_sys_graphical_ColorDialog_setColor,
              dialogOf<ColorDialog>(env, self).setColor(red, green, blue), jobject self, jint red, jint green,
              jint blue)
