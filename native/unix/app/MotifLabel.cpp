// What Motif's labels show, for the views that an engine gets of an application's menus.
#include "JniDataTypes.h"
#include "JniEntry.h"
#include "XtGuard.h"
#include "com_talvern_test_gx_application_MotifLabel.h"

#include <Xm/Label.h>
#include <Xm/LabelG.h>
#include <Xm/Xm.h>

namespace {
/// A copy of the label, in the code set of the application's locale; null for a widget that shows no text.
char* textOf(Widget item)
{
    if (!item || (!XtIsSubclass(item, xmLabelWidgetClass) && !XtIsSubclass(item, xmLabelGadgetClass)))
        return nullptr;
    unsigned char type = XmPIXMAP;
    XmString label = nullptr;
    XtVaGetValues(item, XmNlabelType, &type, XmNlabelString, &label, nullptr);
    char* const text = static_cast<char*>(
        XmStringUnparse(label, nullptr, XmCHARSET_TEXT, XmCHARSET_TEXT, nullptr, 0, XmOUTPUT_ALL));
    XmStringFree(label);
    return type == XmSTRING ? text : nullptr;
}
} // namespace

extern "C" JNIEXPORT jstring JNICALL Java_com_talvern_test_gx_application_MotifLabel_ofMenuItem(JNIEnv* env,
                                                                                                jclass,
                                                                                                jlong menu,
                                                                                                jint index)
{
    return jniEntry(env, __func__, [&]() -> jstring {
        char* found = nullptr;
        askWidget(static_cast<Window>(menu), [&found, index](Widget widget) {
            found = textOf(itemsOf(widget).at(index));
            return found != nullptr;
        });
        const XtPtr<char> text(found);
        return text ? static_cast<jstring>(CJString(env, text.get())) : nullptr;
    });
}
