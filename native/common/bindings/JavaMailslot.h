/// Java's view of mailslots.
#pragma once

#include "common/bindings/JavaSpyMemory.h"
#include "unix/ipc/Mailslot.h"

/// A com.talvern.test.gx.sys.Mailslot with the native mailslot that its "handle" names. The other fields,
/// "sendMessageQueue", "postMessageQueue", "name" and "eventHandle" (the id of the semaphore set), are copies
/// of what the record says.
class CJavaMailslot : public CJavaSpyMemory {
public:
    /// @throws CInvalidSpyMemRef  the mailslot was freed
    CJavaMailslot(JNIEnv* env, jobject object);
    /// Makes a new Java object, a local reference, with all its fields. @throws as above
    CJavaMailslot(JNIEnv* env, const CSpyMemRef& ref);

    static constexpr const char* getClassName() { return "com/talvern/test/gx/sys/Mailslot"; }

    /// Makes a mailslot on the two queues of the Java object, which then names it; see CMailslot.
    bool create(const CJString& name);
    CMailslot* operator->() { return &m_mailslot; }

    /// Make the Java exception of that failure pending and copy its message to the trace.
    static void throwMailslotGone(JNIEnv* env, const char* message);
    static void throwInvalidMailslot(JNIEnv* env, const char* message);

private:
    void setQueues(const CSpyMemRef& sendQueue, const CSpyMemRef& postQueue);

    CMailslot m_mailslot;
};

/// Makes the Java objects of variants of kind 16.
class CMailslotFactory {
public:
    static CJniJObject createObject(JNIEnv* env, const CSpyMemRef& ref) { return CJavaMailslot(env, ref); }
};
