#include "common/bindings/JavaLockHolder.h"

#include "common/jni/jniobject.h"

#include <algorithm>

namespace {
/// The system cuts names at 15 bytes, in the middle of a character if need be: what is not ASCII shows as
/// question marks.
std::string shown(std::string name)
{
    std::replace_if(
        name.begin(), name.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; }, '?');
    return name;
}
} // namespace

jobject newLockHolder(JNIEnv* env, const std::optional<CLockHolder>& holder)
{
    if (!holder)
        return nullptr;
    CJniJObject made(env, "com/talvern/test/gx/sys/LockHolder", true);
    made.set("processId", static_cast<int>(holder->m_process));
    made.set("processName", shown(holder->m_processName).c_str());
    made.set("threadId", static_cast<int>(holder->m_thread));
    made.set("threadName", shown(holder->m_threadName).c_str());
    made.set("heldMillis", static_cast<long>(holder->m_forMs.value_or(-1)));
    made.set("alive", holder->m_isAlive);
    return made;
}
