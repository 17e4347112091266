/// Java's view of vectors in spy memory.
#pragma once

#include "common/bindings/JavaSpyMemory.h"
#include "common/spy/SpyVector.h"

/// A com.talvern.test.gx.sys.SpyVector with the native vector that its "handle" names. The native vector
/// works on a copy of the stored header: construct this and let it go under the heap mutex (see spyEntry).
class CJavaSpyVector : public CJavaSpyMemory {
public:
    CJavaSpyVector(JNIEnv* env, jobject object) : CJavaSpyVector(env, object, refOf(env, object)) {}
    explicit CJavaSpyVector(const CJniJObject& object)
        : CJavaSpyMemory(object, &m_vector), m_vector(refOf(object.env(), object))
    {
    }
    /// Wraps an object as the one of `ref`, whatever its "handle" says; null: for `create`.
    CJavaSpyVector(JNIEnv* env, jobject object, const CSpyMemRef& ref)
        : CJavaSpyMemory(env, object, &m_vector), m_vector(ref)
    {
    }

    static constexpr const char* getClassName() { return "com/talvern/test/gx/sys/SpyVector"; }

    /// See CSpyVector; on success the new vector is the one of the Java object.
    bool create(const CJString& name, int transactionId, int startSize, int increment);
    void refresh() { m_vector.refresh(); }
    void update() { m_vector.update(); }
    CSpyVector* operator->() { return &m_vector; }

private:
    CSpyVector m_vector;
};
