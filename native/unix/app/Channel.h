/// The Java channel to the GUI thread, as native code sees it.
#pragma once

#include "common/jni/jniobject.h"
#include "include/GxGlobals.h"
#include "unix/app/SpyPort.h"

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

/// The channel whose tasks wait to be run: those of all channels are in one queue, so the last to be sent
/// stands for all. A request that takes its place in the callback globals takes nothing from them.
class CWaitingChannel {
public:
    /// Any thread that is attached to the JVM. @param channel  of any class; only a ThreadChannel has tasks
    static void put(JNIEnv* env, jobject channel);
    /// Opens the channel, if one waits still. On the GUI thread. @return how many were opened
    static int open(JNIEnv* env);
    /// Whoever opens a channel runs all tasks.
    static void forget(JNIEnv* env);
};

/// Gives back what a request owns that will never run. Any thread that is attached to the JVM; another one
/// leaves it.
void dropMessage(JavaVM* vm, GxCallback callback, long param);
