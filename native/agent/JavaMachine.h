/// The Java virtual machine of the process.
#pragma once

#include <jni.h>

#include <string>

namespace JavaMachine {
/// The JVM that the program has, else a new one, with the calling thread attached. Takes its time. The new
/// one leaves the program's signals, locale, limits and output alone, and keeps a small heap; GuestHooks.h
/// says how. Its class path is gxsys.jar, then CLASSPATH.
/// @param isOwn  set: the JVM was made here, so that its standard output is nobody's
/// @return null when there is none to be had, which has been said then
JNIEnv* bring(bool& isOwn);

/// Class and message of the pending exception, which is cleared.
std::string takeException(JNIEnv* env);
/// A Java string in UTF-8; empty for null.
std::string textOf(JNIEnv* env, jstring text);
} // namespace JavaMachine
