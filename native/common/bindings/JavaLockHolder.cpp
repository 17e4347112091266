#include "common/bindings/JavaLockHolder.h"

#include "common/jni/jniobject.h"
#include "common/text/Ascii.h"

jobject newLockHolder(JNIEnv* env, const std::optional<CLockHolder>& holder)
{
    if (!holder)
        return nullptr;
    // The system cuts names at 15 bytes, in the middle of a character if need be.
    CJniJObject made(env, "com/talvern/test/gx/sys/LockHolder", true);
    made.set("processId", static_cast<int>(holder->m_process));
    made.set("processName", asciiOf(holder->m_processName).c_str());
    made.set("threadId", static_cast<int>(holder->m_thread));
    made.set("threadName", asciiOf(holder->m_threadName).c_str());
    made.set("heldMillis", static_cast<long>(holder->m_forMs.value_or(-1)));
    made.set("alive", holder->m_isAlive);
    return made;
}
