/// Java's view of vectors in spy memory.
#pragma once

#include "common/bindings/JavaSpyMemory.h"
#include "common/spy/SpyVector.h"

/// A com.talvern.test.gx.sys.SpyVector.
class CJavaSpyVector : public CJavaSpyContainer<CSpyVector> {
public:
    using CJavaSpyContainer::CJavaSpyContainer;

    static constexpr const char* getClassName() { return "com/talvern/test/gx/sys/SpyVector"; }

    /// See CSpyVector; on success the new vector is the one of the Java object.
    bool create(const CJString& name, int transactionId, int startSize, int increment);
    void update() { m_container.update(); }
};
