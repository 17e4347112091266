/// A com.talvern.test.gx.sys.LockHolder.
#pragma once

#include "unix/sysv/LockHolder.h"

#include <jni.h>

/// @return a new local reference; null for none
jobject newLockHolder(JNIEnv* env, const std::optional<CLockHolder>& holder);
