/// What the in-application side asks of the library once both are loaded into an application under test.
#pragma once

#include "include/GxGlobals.h"

extern "C" {
/// Gives the calling thread the spy port of the process, and with it a JVM and the test domain. When Java
/// code of the domain throws, its exception is pending in the thread's JNIEnv afterwards: the caller takes it
/// before the thread returns to the toolkit.
/// @param domain  name of the test domain, borrowed for the life of the process; empty for none
/// @return the spy port of the calling thread, also when it has just been made; null when there is none for
/// this thread, because another thread has it
GX_EXPORT void* infestCurrentThread(const char* domain);

/// Whether the test domain that the spy port was to get has been loaded and has its Java object. @return 1
/// or 0
GX_EXPORT int gxHasDomain();

/// Descriptors for the toolkit's main loop to watch: while a request may wait for the GUI thread, one of them
/// is readable. The caller must not read from them or close them.
/// @param room  of `out`; 2 are enough
/// @return how many were written
GX_EXPORT int gxRequestDescriptors(int* out, int room);

/// Runs what waits for the calling thread, which is the GUI thread: the request of the callback globals, and
/// those of the client messages that have arrived. Does not block. Nothing is thrown, and no Java exception
/// is left pending. On another thread than that of the spy port nothing runs.
/// @return how many ran
GX_EXPORT int gxDeliverRequests();
}
