/// Java objects that name an object of spy memory by their field "handle".
#pragma once

#include "common/jni/JniDataTypes.h"
#include "common/jni/jniobject.h"
#include "common/spy/SpyMemory.h"

/// A com.talvern.test.gx.sys.SpyMemory, or an object of a class derived from it. The long field "handle"
/// holds the two words of the reference, the block id in its low half; 0 names nothing.
///
/// Like all wrappers it lives on the stack of one call. It takes no lock, and owns no spy memory. A class
/// derived from this one has a container as the native object; else that is a plain CSpyMemory.
class CJavaSpyMemory : public CJniJObject {
public:
    /// Wraps an existing object and takes the reference over from "handle".
    /// @param javaClass  see CJniJObject
    CJavaSpyMemory(JNIEnv* env, jobject object, CJniClass* javaClass = nullptr);
    explicit CJavaSpyMemory(const CJniJObject& object);
    /// Makes a new Java object, a local reference, that names `ref`. Invalid when Java cannot make it.
    /// @param className  with slashes; has a constructor without arguments
    CJavaSpyMemory(JNIEnv* env, const CSpyMemRef& ref, const char* className);
    /// The block that is registered under `name`, without a Java object.
    explicit CJavaSpyMemory(const CJString& name);
    CJavaSpyMemory(const CJavaSpyMemory&) = delete;
    CJavaSpyMemory& operator=(const CJavaSpyMemory&) = delete;

    static constexpr const char* getClassName() { return "com/talvern/test/gx/sys/SpyMemory"; }
    /// What "handle" of an object holds; null for a null object.
    static CSpyMemRef refOf(JNIEnv* env, jobject object);

    /// Writes "handle". @return whether there is an object with that field
    bool attach(const CSpyMemRef& ref);
    /// The reference; the one in "handle" when the native object has none.
    const CSpyMemRef& memRef();
    /// Makes `ref` the reference of both, the native object and the Java one.
    void memRef(const CSpyMemRef& ref);
    CSpyMemory* operator->() { return m_native; }

    /// A new com.talvern.test.gx.sys.SpyMemoryStatistics over all heaps; all zero when the heap is busy.
    static CJniJObject getStats(JNIEnv* env);

    /// Make the Java exception of that failure pending. Without an environment the native kind is thrown
    /// instead.
    /// @param message  null stands for "out of Spy Memory"
    static void throwOutOfMemory(JNIEnv* env, const char* message);
    static void throwInvalidReference(JNIEnv* env, const char* message);
    static void throwHeapLocked(JNIEnv* env);

protected:
    /// For CJavaSpyContainer, whose native object is a member that is constructed later.
    CJavaSpyMemory(JNIEnv* env, jobject object, CSpyMemory* container);
    CJavaSpyMemory(const CJniJObject& object, CSpyMemory* container);

private:
    CSpyMemory m_memory;
    CSpyMemory* m_native;
};

/// A Java object of a class of containers with the native container that its "handle" names. That works on a
/// copy of the stored header: construct this and let it go under the heap mutex (see spyEntry).
template <class Container> class CJavaSpyContainer : public CJavaSpyMemory {
public:
    CJavaSpyContainer(JNIEnv* env, jobject object) : CJavaSpyContainer(env, object, refOf(env, object)) {}
    explicit CJavaSpyContainer(const CJniJObject& object)
        : CJavaSpyMemory(object, &m_container), m_container(refOf(object.env(), object))
    {
    }
    /// Wraps an object as the one of `ref`, whatever its "handle" says; null: for `create`.
    CJavaSpyContainer(JNIEnv* env, jobject object, const CSpyMemRef& ref)
        : CJavaSpyMemory(env, object, &m_container), m_container(ref)
    {
    }

    void refresh() { m_container.refresh(); }
    Container* operator->() { return &m_container; }

protected:
    Container m_container;
};
