#include "common/jni/KnownClass.h"

#include "common/jni/JniClass.h"
#include "common/jni/LocalRef.h"

jclass CKnownClass::lookUp(JNIEnv* env)
{
    const auto found = localRef(env, CJniClass(env, m_name).getclass());
    const auto made = static_cast<jclass>(found ? env->NewGlobalRef(found.get()) : nullptr);
    jclass kept = nullptr;
    if (!made || m_class.compare_exchange_strong(kept, made, std::memory_order_acq_rel))
        return made;
    env->DeleteGlobalRef(made); // another thread was first
    return kept;
}

jclass CJavaConstructor::find(JNIEnv* env, CJniTrace& trace)
{
    const jclass found = m_class.find(env);
    if (!found) {
        trace.note(m_missingNote);
        return nullptr;
    }
    if (method())
        return found;
    m_method.store(CJniClass(env, found).methodId("<init>", m_signature), std::memory_order_relaxed);
    if (!method())
        trace.note(" mid == NULL");
    return method() ? found : nullptr;
}
