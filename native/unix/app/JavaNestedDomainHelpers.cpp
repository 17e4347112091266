// The native method of NestedDomainHelpers.
#include "com_talvern_test_gx_domain_NestedDomainHelpers.h"
#include "common/jni/JniDataTypes.h"
#include "common/jni/JniEntry.h"
#include "common/trace/GxAssert.h"
#include "unix/app/HtmlDomainImplementation.h"

namespace {
/// Null for a null string and for one that the locale's code set cannot express.
const char* ansiOrNull(const CJString& text)
try {
    return text.ansiString();
} catch (const CJStringNotInCodePageException&) {
    return nullptr;
}
} // namespace

GX_JNI(jlong, Java_com_talvern_test_gx_domain_NestedDomainHelpers_loadHtmlDomain, jobject, jlong windowHandle,
       jstring domain)
{
    return jniEntry(env, __func__, [&]() -> jlong {
        GX_ASSERT(windowHandle != 0, "windowHandle != 0");
        const CJString name(env, domain);
        const char* const text = ansiOrNull(name);
        return text ? reinterpret_cast<jlong>(CHtmlDomainImplementation::getNativeHtmlDomain(env, text)) : 0;
    });
}
