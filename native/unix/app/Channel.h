/// The Java channel to the GUI thread, as native code sees it.
#pragma once

#include "GxGlobals.h"
#include "SpyPort.h"
#include "jniobject.h"

/// A Java ThreadChannel, or any object with a method "open".
class CChannel : public CJniJObject {
public:
    /// A new Java channel to the port's thread; invalid (traced) when Java does not make one, with its
    /// exception pending.
    CChannel(JNIEnv* env, CSpyPort* spyPort);
    /// Wraps a channel.
    CChannel(JNIEnv* env, jobject objThis);
    CChannel(const CChannel&) = delete;

    /// Calls the Java method "open", whose exception stays pending.
    /// @return whether there is such a method; traced when there is none
    bool open();
};

/// The callback that channels send: opens the channel on the calling thread. Java exceptions are traced: the
/// toolkit that the thread returns to knows nothing of them.
/// @param channel  a global reference, which is given back
/// @return whether there is a method "open"
int MsgCallback(JNIEnv* env, long channel);

/// Gives back what a request owns that will never run. Any thread that is attached to the JVM; another one
/// leaves it.
void dropMessage(JavaVM* vm, GxCallback callback, long param);
