// Libraries of test domains, one for each way in which a domain can be given: see CMakeLists.txt.
#include "unix/app/IHtmlDomain.h"

#include <cstdio>

namespace {
constexpr enum { html, null, refusing } Kind = DOMAIN_KIND;

class CDomain : public IHtmlDomain {
    void created(JNIEnv* env, jobject domain) override
    {
        if (Kind == refusing)
            env->ThrowNew(env->FindClass("java/lang/IllegalStateException"), "not this application");
        else
            std::printf("created %d\n", env->GetObjectRefType(domain) != JNIInvalidRefType);
    }
};
} // namespace

extern "C" [[gnu::visibility("default")]] IHtmlDomain* DOMAIN_ENTRY()
{
    static CDomain s_domain;
    return Kind == null ? nullptr : &s_domain;
}
