/// The Java object that makes the Java side of test domains.
#pragma once

#include "common/jni/BootstrapClass.h"
#include "common/jni/jniobject.h"

/// It has no more than a domain needs to be made, and no state of its own. Lives for one call.
class CTestContext : public CJniJObject {
public:
    /// A new context of the calling thread, which has a spy port. Invalid when Java does not make one, with
    /// its exception pending if it threw.
    explicit CTestContext(CBootstrap& bootstrap);
    CTestContext(const CTestContext&) = delete;

    /// Has the Java object of a domain made.
    /// @param nativeDomain  address of the domain's interface
    /// @return a local reference; null when Java throws (pending then)
    jobject getHtmlDomain(const CJniClass& javaClass, const char* domain, jlong nativeDomain);
};
