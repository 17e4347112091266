/// The Java virtual machine of the process.
#pragma once

#include <jni.h>

namespace JavaMachine {
/// The JVM that the program has, else a new one, with the calling thread attached. The new one leaves the
/// program's signals, locale, limits and output alone, and keeps a small heap; GuestHooks.h says how. Its
/// class path is gxsys.jar, then CLASSPATH.
/// @param isOwn  set: the JVM was made here, so that its standard output is nobody's
/// @return null when there is none to be had, which has been said then
JNIEnv* bring(bool& isOwn);

/// Class and message of the pending exception, which is cleared.
void takeException(JNIEnv* env, char* text, unsigned long size);
} // namespace JavaMachine
