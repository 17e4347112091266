/// A native test domain in the application under test: the library of the domain and its Java object.
#pragma once

#include "common/jni/jniobject.h"
#include "unix/app/IHtmlDomain.h"

#include <memory>

class CBootstrap;

/// The domain library stays loaded: its code may run as long as the process.
class CHtmlDomainImplementation : public CJniJObject {
public:
    /// Loads the domain and has its Java object made on the calling thread, which has a spy port. Invalid
    /// when something is missing (traced), or when Java throws (pending then).
    CHtmlDomainImplementation(JNIEnv* env, const char* domain);
    CHtmlDomainImplementation(const CHtmlDomainImplementation&) = delete;

    /// The interface of a domain without a Java object of its own: for domains inside of another one.
    /// @return owned by the domain library; null when there is no such domain
    static IHtmlDomain* getNativeHtmlDomain(JNIEnv* env, const char* domain);

private:
    explicit CHtmlDomainImplementation(JNIEnv* env);
    bool load(const char* domain);
    bool findInterface(const char* domain);
    void makeJavaDomain(const char* domain);
    jobject askContext(CBootstrap& bootstrap, const char* domain);

    void* m_library = nullptr; ///< of dlopen
    IHtmlDomain* m_interface = nullptr;
    std::unique_ptr<CJniClass> m_javaClass;
};
