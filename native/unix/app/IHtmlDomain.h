/// What a library of a native test domain offers. It is named after its domain (xyzhtml gives libhtml.so),
/// lies beside this library, and exports
///
///     extern "C" IHtmlDomain* GetHtmlDomain();
///
/// which answers the same object at every call, or null when the domain cannot serve this process.
#pragma once

#include <jni.h>

/// The smallest interface that lets a domain come to life. Owned by its library, used on the thread of the
/// spy port.
class IHtmlDomain {
public:
    virtual ~IHtmlDomain() = default;
    /// The Java object of the domain has been made: the place to bind native methods or to refuse, by a Java
    /// exception that is then pending.
    /// @param domain  a local reference
    virtual void created(JNIEnv* env, jobject domain) = 0;
};
